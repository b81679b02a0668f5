/// @file
/// Files: files and directories, paths, and file URLs.
#pragma once

#include "ORVA/Files/DirectoryEnumerator.h"
#include "ORVA/Files/File.h"
#include "ORVA/Files/FileSystem.h"
#include "ORVA/Files/FindData.h"
#include "ORVA/Files/Path.h"
#include "ORVA/Files/Url.h"
