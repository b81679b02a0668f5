/// @file
/// What the two answers of ProcessIdentity.h are made of: a text that is found out once, and the questions that each
/// platform answers in its own way.
#pragma once

#include "ORVA/Core/Atomic.h"
#include "ORVA/String/WideHolder.h"
#include "ORVA/Threading/CriticalSection.h"

namespace ORVA::Core::OS
{

/// A text of at most 259 characters that is empty at first and is filled once.
///
/// The first character tells whether it is filled. It is written last, with release, and read first, with acquire: who
/// looks without a lock finds either no text or a whole one. Fill it under a lock, and only if it is not filled.
class CachedText
{
public:
    /// The longest text that is kept whole, in characters.
    static constexpr unsigned long max_length = 259;

    /// The text, zero-terminated; the pointer is always the same.
    wchar_t const* text() const noexcept { return m_text; }

    bool is_filled() const noexcept { return load_acquire(m_text[0]) != 0; }

    /// Takes over the first `length` characters of `source`, or 259 if there are more. None of them is 0. With a
    /// `length` of 0 it stays empty.
    void fill(wchar_t const* source, unsigned long length) noexcept;

private:
    wchar_t m_text[max_length + 1] = {};
};

/// Lets `query` fill `cache` with `section` held, unless it is filled, and returns the text. What `query` throws is
/// dropped, with the text as it was then and the section left. What `Enter` throws passes through.
wchar_t const* find_out(CachedText& cache, Threading::CPCriticalSection& section, void (*query)(CachedText& cache));

/// The characters of `path` up to and including the last slash or backslash; 0 if there is none.
unsigned long directory_length(wchar_t const* path) noexcept;

/// Fills `cache` with the directory of the executable at `path`, its separator included. Stays empty if `path` is null,
/// has no separator, or has a directory of more than 1039 characters.
void fill_with_directory(CachedText& cache, wchar_t const* path) noexcept;

/// @name Supplied by each platform
/// Both are called with the section of their cache held, and may throw.
/// @{

/// Fills `cache` with the application's name; leaves it empty if the system does not tell.
void query_process_name(CachedText& cache);

/// The absolute path of the running executable; nothing, or an empty text, if the system does not tell.
String::CNQFWChar query_executable_path();

/// @}

} // namespace ORVA::Core::OS
