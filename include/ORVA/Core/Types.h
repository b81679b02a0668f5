/// @file
/// Types that every part of the library shares.
///
/// Thread-safety: plain values, one thread at a time.
#pragma once

#include "ORVA/Core/Export.h"

/// The library's wide character: one UTF-32 code unit.
using nqfWChar = wchar_t;

static_assert(sizeof(nqfWChar) == 4, "the library needs a 32-bit wchar_t");
static_assert(sizeof(unsigned long) == 8 && sizeof(void*) == 8, "the library needs a 64-bit platform");

/// A 16-byte identifier of an interface, a class or an attribute, in the layout of a COM GUID and in the machine's
/// byte order. Sixteen zero bytes mean that there is no identifier.
struct _nqfUID
{
    unsigned int Data1;     ///< first group of the text form
    unsigned short Data2;   ///< second group
    unsigned short Data3;   ///< third group
    unsigned char Data4[8]; ///< fourth group (bytes 0 and 1) and fifth group (bytes 2 to 7), in text order
};

static_assert(sizeof(_nqfUID) == 16, "an identifier is 16 bytes");

/// Gives the identifier of the interface type `T`. The reference stays valid for the life of the process.
///
/// Callers specialise it, at global scope, for interfaces of their own.
template <class T>
_nqfUID const& __nqf_uuidof();
