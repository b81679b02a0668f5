/// @file
/// The version of the library whose headers these are. A build takes its version from here too.
///
/// A program runs with any library of the same major version that is not older than the headers it was compiled with.
#pragma once

/// Changes where programs have to be compiled again, or changed.
#define ORVA_VERSION_MAJOR 1

/// Changes where something is added.
#define ORVA_VERSION_MINOR 0

/// Changes where something is repaired.
#define ORVA_VERSION_PATCH 0

/// All three in one number, to compare with: version 1.2.3 is 10203.
#define ORVA_VERSION (ORVA_VERSION_MAJOR * 10000 + ORVA_VERSION_MINOR * 100 + ORVA_VERSION_PATCH)
