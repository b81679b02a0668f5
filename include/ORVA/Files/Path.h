/// @file
/// Analysis of paths as text: which part of a path is what. The disk is not asked, except by `FU_CreatePath`.
///
/// Slash and backslash are separators alike. Texts end at their first character of 0.
///
/// Thread-safety: any thread; the functions have no state. Ownership: texts are the caller's, and the parts of a path
/// are pointers into it.
#pragma once

#include "ORVA/Core/Export.h"
#include "ORVA/Core/Types.h"

namespace ORVA::Files
{

/// The parts of a path. Each goes from its start up to, and without, its end; one that is absent has a null start.
///
/// | path | prefix | drive | server | directory | name | extension |
/// |---|---|---|---|---|---|---|
/// | `C:\dir\file.txt` | | `C:` | | `\dir\` | `file` | `.txt` |
/// | `//srv/a/file` | | | `//srv` | `/a/` | `file` | |
/// | `abc://srv/a/file` | | `abc:` | `//srv` | `/a/` | `file` | |
/// | `\\?\UNC\srv\file` | `\\?\UNC\` | | | `srv\` | `file` | |
/// | `\\.\COM1` | `\\.\` | | | | `COM1` | |
/// | `a.b.c` | | | | | `a.b` | `.c` |
/// | `a.` | | | | | `a.` | |
/// | `dir/a.` | | | | `dir/` | `a` | `.` |
/// | `.a` | | | | | empty | `.a` |
struct tagCPATHPARSEINFO
{
    wchar_t const* pPrefix;    ///< "\\?\" or "\\.\"
    wchar_t const* pPrefixEnd; ///< behind the prefix, and behind a "UNC\" or "UNC/" that follows "\\?\"; null without
    wchar_t const* pDrive;     ///< a letter or the name of a scheme, with its colon
    wchar_t const* pDriveEnd;  ///< behind the colon; without one, the end of the text
    wchar_t const* pServer;    ///< the first of the two separators before the name of a server
    wchar_t const* pServerEnd; ///< the separator behind that name; without one, the end of the text
    wchar_t const* pDirectory; ///< with its separators
    wchar_t const* pDirectoryEnd; ///< the start of the name if there is a directory and a name is asked for; otherwise
                                  ///< the end of the text
    wchar_t const* pName;         ///< null unless a name is asked for; may be empty
    wchar_t const* pNameEnd;      ///< the extension; without one, the end of the text
    wchar_t const* pExtension;    ///< the dot of the extension, which goes up to the end of the text
};

/// The parts of a path that may be written to; the fields are those of `tagCPATHPARSEINFO`.
struct tagPATHPARSEINFO
{
    wchar_t* pPrefix;       ///< `tagCPATHPARSEINFO::pPrefix`
    wchar_t* pPrefixEnd;    ///< `tagCPATHPARSEINFO::pPrefixEnd`
    wchar_t* pDrive;        ///< `tagCPATHPARSEINFO::pDrive`
    wchar_t* pDriveEnd;     ///< `tagCPATHPARSEINFO::pDriveEnd`
    wchar_t* pServer;       ///< `tagCPATHPARSEINFO::pServer`
    wchar_t* pServerEnd;    ///< `tagCPATHPARSEINFO::pServerEnd`
    wchar_t* pDirectory;    ///< `tagCPATHPARSEINFO::pDirectory`
    wchar_t* pDirectoryEnd; ///< `tagCPATHPARSEINFO::pDirectoryEnd`
    wchar_t* pName;         ///< `tagCPATHPARSEINFO::pName`
    wchar_t* pNameEnd;      ///< `tagCPATHPARSEINFO::pNameEnd`
    wchar_t* pExtension;    ///< `tagCPATHPARSEINFO::pExtension`
};

static_assert(sizeof(tagCPATHPARSEINFO) == 88 && sizeof(tagPATHPARSEINFO) == 88, "eleven pointers");

/// 1 if no step of the path is "." or begins with "..", else 0; 0 for a null pointer, 1 for an empty text. A step is
/// what stands behind a separator, so "./a" and "../a" are straight, and "a/..b" is not.
ORVA_API int FU_IsStraightPath(wchar_t const* path);

/// Brings the end of `path` into one form, in place: blanks at the end go, and exactly one `separator` ends the text.
/// With a `separator` of 0, separators at the end go, and blanks behind them; blanks behind anything else stay.
/// Returns `path`.
///
/// The buffer must have room for one character more than the text has. A text of at most one character, not counting
/// blanks at its end, stays as it is. So does the length of a text of separators alone: those behind the first are
/// overwritten by `separator`, and blanks behind them stay.
ORVA_API wchar_t* FU_FormatPath(wchar_t* path, wchar_t separator);

/// Cuts `path` into its parts. With `hasName`, what stands behind the last separator is a file's name; without, all is
/// directory. Returns 1, or 0 with all of `info` null for a path that is null, empty or of blanks alone, or malformed.
///
/// Blanks before the first other character belong to no part. A path is malformed
///
/// - with a character below 32, or with one of '<', '>' and '|';
/// - with a second colon, and with a colon that is the first character or has a separator or a dot before it;
/// - with a drive that is no letter from A to Z or a to z, or has two separators behind its colon;
/// - with more than one character before the colon, unless it is followed by "//" (and not by "\\");
/// - if its first separator is one of an equal pair that stands neither at the start nor right behind the colon;
/// - if it begins with "\\?\UNC\" and another separator, or if it begins with "\\.\" without `hasName`;
/// - with `hasName`, if it ends with a separator, with a prefix, or is of dots alone, be it behind a colon or a prefix,
///   or consists of a server. "C:" has an empty name.
ORVA_API int FU_ParsePath(wchar_t const* path, tagCPATHPARSEINFO& info, bool hasName);

/// As above, for a path that may be written to.
ORVA_API int FU_ParsePath(wchar_t* path, tagPATHPARSEINFO& info, bool hasName);

/// Makes the directories of `path`, from the first to the last, as far as they are missing. Does nothing unless the
/// path, behind a prefix, drive and server, begins with a separator and goes on behind it; with a server and no drive,
/// unless there are two levels.
///
/// What each directory is called for the system includes all that stands before it, prefix, drive and server too, with
/// separators as they are: see FileSystem.h for what the system makes of backslashes. Blanks before the path do not
/// count, separators at its end do not either.
///
/// A directory that cannot be made is reported as a failed assumption, and ends the call; those before it stay.
ORVA_API void FU_CreatePath(wchar_t const* path);

} // namespace ORVA::Files
