/// @file
/// Threading: locks, and what a thread does to itself.
#pragma once

#include "ORVA/Threading/CurrentThread.h"
#include "ORVA/Threading/Locks.h"
