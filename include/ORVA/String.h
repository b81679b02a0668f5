/// @file
/// Text: codecs, holders, character functions, the string pool and the pooled string.
#pragma once

#include "ORVA/String/CodePage1252.h"
#include "ORVA/String/Codecs.h"
#include "ORVA/String/Encoders.h"
#include "ORVA/String/Holders.h"
#include "ORVA/String/Pool.h"
#include "ORVA/String/PoolMaintenance.h"
#include "ORVA/String/PoolString.h"
#include "ORVA/String/PoolTables.h"
#include "ORVA/String/Record.h"
#include "ORVA/String/StringArray.h"
#include "ORVA/String/StringInfo.h"
#include "ORVA/String/Submitter.h"
#include "ORVA/String/Submitters.h"
#include "ORVA/String/WideText.h"
