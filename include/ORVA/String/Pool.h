/// @file
/// The string pool: the process's one table of interned strings.
///
/// For each text there is one record, and whoever asks for the text gets a handle on it. `Get` makes the record if there
/// is none, `Query` only looks. A string whose last handle has gone stays until two collection visits have passed it; a
/// look-up that finds it meanwhile starts the count anew. Hashes, length and the first 10 characters tell texts apart.
///
/// Thread-safety: every operation may be called from any thread. One lock guards the tables; texts are evaluated outside
/// it, and handles are copied and released without it. A look-up with case that finds a string in use takes no lock, so
/// neither other look-ups nor a collection keep it waiting, unless two threads meet in one of 64 places for readers.
///
/// Ownership: each result is a counted handle. Sources are the caller's and are not kept.
#pragma once

#include "ORVA/String/Record.h"

namespace ORVA::String
{

/// The operations of the pool; there is no object.
///
/// Sources are wide text, UTF-8 (`unsigned char`) or UTF-16 (`unsigned short`). A length is in units of the source, and
/// the text ends at a 0 before it all the same.
///
/// | source | result |
/// |---|---|
/// | null | the null string |
/// | its first unit is 0 | the empty string |
/// | a length of 0, or with all bits set, and text | the null string; `Get` reports a failed assumption |
/// | text that is not valid UTF-8 or UTF-16 | the null string; `Get` reports a failed assumption |
/// | text, `Get` | its record; the null string if the heap is exhausted |
/// | text, `Query` | its record; the null string if there is none |
///
/// The forms with an "i" ignore case: they answer with any spelling that is pooled, and add the text as given if there is
/// none. A look-up of pooled wide text allocates nothing.
class ORVA_API CStringPool
{
public:
    CStringPool() = delete;

    /// @name The one record of a text, made if need be
    /// @{

    /// The record, as the table tells.
    static _cppoolstring GetStringRef(wchar_t const* source);
    static _cppoolstring GetStringRef(unsigned char const* source);
    static _cppoolstring GetStringRefn(wchar_t const* source, unsigned long length);
    static _cppoolstring GetStringRefn(unsigned char const* source, unsigned long length);
    static _cppoolstring GetStringRefn(unsigned short const* source, unsigned long length);
    /// @}

    /// @name The record of any spelling of a text, made if need be
    /// @{

    /// The record, as the table tells.
    static _cppoolstring GetStringRefi(wchar_t const* source);
    static _cppoolstring GetStringRefi(unsigned char const* source);
    static _cppoolstring GetStringRefni(wchar_t const* source, unsigned long length);
    static _cppoolstring GetStringRefni(unsigned char const* source, unsigned long length);
    /// @}

    /// @name The record of a text, if there is one
    /// @{

    /// The record, as the table tells.
    static _cppoolstring QueryStringRef(wchar_t const* source);
    static _cppoolstring QueryStringRef(unsigned char const* source);
    static _cppoolstring QueryStringRefn(wchar_t const* source, unsigned long length);
    static _cppoolstring QueryStringRefn(unsigned char const* source, unsigned long length);
    /// @}

    /// @name The record of any spelling of a text, if there is one
    /// @{

    /// The record, as the table tells.
    static _cppoolstring QueryStringRefi(wchar_t const* source);
    static _cppoolstring QueryStringRefi(unsigned char const* source);
    static _cppoolstring QueryStringRefni(wchar_t const* source, unsigned long length);
    static _cppoolstring QueryStringRefni(unsigned char const* source, unsigned long length);
    /// @}

    /// The one record of the text that `submitter` writes, which must not be null. A length of 0 gives the empty string;
    /// a length of 0 only when asked again is reported and gives the null string, as a submitter that fails does. The
    /// text is built before the lock is taken. An exception of the submitter passes through.
    static _cppoolstring GetStringRef(IStringSubmitter* submitter);

    /// Runs one step of a collection now, for `budget` units of `Core::OS::GetTimeNow()`, that is milliseconds of
    /// one-second resolution. Non-zero when the pass went through the whole table; the next call goes on where this one
    /// stopped. 0, with nothing done, on a thread whose priority is not 0.
    static unsigned int Collect(unsigned int budget);

    /// Checks every pooled string against its hashes and length: 1 if all are good. 0 on a pool that never held a string:
    /// there is then no table to walk. Holds the lock for the whole walk.
    static unsigned int Verify();

    /// Makes the service that collects unused strings and registers it with the maintenance thread, whether that runs
    /// or not; `ORVA::AppInit` does it. Non-zero for success. 0 if there is a service already, even one that could not be
    /// unregistered by `AppExit`, and if the heap is exhausted. Not to be called from two threads at once, nor beside
    /// `AppExit`.
    static unsigned int AppInit();

    /// Unregisters the service, waiting up to 10 seconds for a step that is running, and lets go of it. If the time is
    /// over, the service stays, disabled. Without one nothing happens.
    static void AppExit();

    /// The size of all pooled strings' blocks in bytes, records and text. Holds the lock for the whole walk.
    static unsigned long GetSize();
};

} // namespace ORVA::String
