/// @file
/// Lookup: hash tables from 64-bit keys to handles.
#pragma once

#include "ORVA/Lookup/HashTable.h"
#include "ORVA/Lookup/KeyTable.h"
