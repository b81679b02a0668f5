#include "ORVA/String/CodePage1252.h"

#include <cstring>
#include <cwchar>

#include <CoreFoundation/CoreFoundation.h>

namespace ORVA::String::OS
{

namespace
{

/// The text of `size` bytes in the encoding `from`, as bytes in the encoding `to`; null if a character of it is in one
/// of them alone. The caller releases the data.
///
/// The string in between is released only where there is no data: the data may share it.
CFDataRef convert(void const* bytes, unsigned long size, CFStringEncoding from, CFStringEncoding to)
{
    CFStringRef const text = CFStringCreateWithBytes(kCFAllocatorDefault, static_cast<UInt8 const*>(bytes),
                                                     static_cast<CFIndex>(size), from, false);
    if (text == nullptr)
        return nullptr;
    CFDataRef const data = CFStringCreateExternalRepresentation(kCFAllocatorDefault, text, to, 0);
    if (data == nullptr)
        CFRelease(text);
    return data;
}

/// Measures, or copies what fits with a terminator, and releases `data`. Lengths are in elements of `Target`.
template <class Target>
unsigned long take(CFDataRef data, Target* dest, unsigned long dest_length)
{
    unsigned long const count = static_cast<unsigned long>(CFDataGetLength(data)) / sizeof(Target);
    unsigned long result = 0;
    if (dest_length == 0)
        result = count;
    else if (dest != nullptr)
    {
        result = count < dest_length ? count : dest_length - 1;
        if (result != 0)
            CFDataGetBytes(data, CFRangeMake(0, static_cast<CFIndex>(result * sizeof(Target))),
                           reinterpret_cast<UInt8*>(dest));
        dest[result] = 0;
    }
    CFRelease(data);
    return result;
}

} // namespace

unsigned long ANSI_To_nqfWChar(char const* source, unsigned long, wchar_t* dest, unsigned long destLength)
{
    if (source == nullptr)
        return 0;
    CFDataRef const data =
        convert(source, std::strlen(source), kCFStringEncodingWindowsLatin1, kCFStringEncodingUTF32LE);
    return data != nullptr ? take(data, dest, destLength) : 0;
}

unsigned long nqfWChar_To_ANSI(wchar_t const* source, unsigned long, char* dest, unsigned long destLength)
{
    if (source == nullptr)
        return 0;
    CFDataRef const data = convert(source, std::wcslen(source) * sizeof(wchar_t), kCFStringEncodingUTF32LE,
                                   kCFStringEncodingWindowsLatin1);
    return data != nullptr ? take(data, dest, destLength) : 0;
}

} // namespace ORVA::String::OS
