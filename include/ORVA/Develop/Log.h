/// @file
/// The log and the runtime assumptions.
///
/// The library has no log of its own: a message goes to the one callback that the host has installed, or nowhere.
/// A failed assumption is reported as a message of level 1, and the program goes on.
///
/// Thread-safety: messages may be written from any thread, and the callback is called from all of them without
/// being serialised. `SetExternalLogger` is meant to be called before threads are started.
#pragma once

#include "ORVA/Core/Export.h"

#include <cstdarg>

/// How grave a message is. The library does not filter by it: the level is only handed to the callback.
enum _nqfDebugLevel : unsigned int
{
    _nqfDebugFailure = 1,   ///< an assumption of the program failed
    _nqfDebugBadInput = 2,  ///< text or data from outside was refused
    _nqfDebugDiagnosis = 8, ///< something for a developer to look at
    _nqfDebugNotice = 16    ///< an ordinary event
};

/// Placement form that gives `place` back; size and level are ignored. Object memory constructs its payloads with
/// it. The caller owns the memory.
inline void* operator new(unsigned long, void* place, _nqfDebugLevel) noexcept
{
    return place;
}

/// The clean-up that belongs to the placement form: nothing.
inline void operator delete(void*, void*, _nqfDebugLevel) noexcept {}

/// Tells whether a debugger or tracer is attached to the process. False when the system does not answer. Costs a
/// system call.
ORVA_API bool isDebuggerPresent();

namespace ORVA::Develop
{

/// What a host installs to receive messages: level, module tag (L"ORVA" from this library), source module of the
/// writer, its line, the format in the wide printf dialect (%hs is an 8-bit string, %ls a wide one), and its
/// arguments. May be called from any thread. If it throws, it is removed.
using LoggerCallback = void (*)(_nqfDebugLevel level, wchar_t const* module, char const* file, int line,
                                wchar_t const* format, va_list args);

/// Installs `callback` for all messages of the process; null switches the log off.
ORVA_API void SetExternalLogger(LoggerCallback callback);

/// Hands a message to the callback; the format is expanded there and not here. Without a callback it costs one load
/// and one test. No exception gets out: a callback that throws is removed, and so is whatever callback it has
/// installed meanwhile.
ORVA_API void _logWrite(_nqfDebugLevel level, wchar_t const* module, char const* file, int line, wchar_t const* format,
                        ...);

/// As `_logWrite`, with the arguments ready.
ORVA_API void _logWriteArg(_nqfDebugLevel level, wchar_t const* module, char const* file, int line,
                           wchar_t const* format, va_list args);

/// Checks a condition that must not hold: reports `text` if `value` is true. Returns `value`.
ORVA_API bool _istrue_(bool value, char const* text);

/// Checks a condition that must hold: reports `text` if `value` is false. Returns `value`.
ORVA_API bool _isfalse_(bool value, char const* text);

} // namespace ORVA::Develop

namespace ORVA::Develop::OS
{

/// Reports a failed assumption as a message of level 1 and returns 0. Despite its name it shows nothing and stops
/// nothing: the caller goes on.
ORVA_API int RTABox(char const* first, char const* second);

/// Writes `text` and a line end to standard output, not to the log. A percent sign is an ordinary character.
ORVA_API void OutputDebugMessage(char const* text);

/// Writes `text` to standard output, not to the log, as the format of a wide printf without arguments and with no
/// line end added. A percent sign is a directive here, unlike in the narrow form: write it twice.
///
/// Where the C library gives a stream an orientation, the first of the two forms that a process uses decides it for
/// standard output, and the texts of the other form may be lost.
ORVA_API void OutputDebugMessage(wchar_t const* text);

} // namespace ORVA::Develop::OS
