/// @file
/// As much of the system's framework as the library uses, for tests of its macOS forms where there is no such system.
/// What the functions do is in MacosDouble.cpp.
#pragma once

#include <cstdint>

using Boolean = unsigned char;
using UInt8 = unsigned char;
using CFIndex = long;
using CFTypeID = unsigned long;
using CFStringEncoding = std::uint32_t;

using CFTypeRef = void const*;
using CFAllocatorRef = struct __CFAllocator const*;
using CFStringRef = struct __CFString const*;
using CFDataRef = struct __CFData const*;
using CFURLRef = struct __CFURL const*;
using CFBundleRef = struct __CFBundle*;

struct CFRange
{
    CFIndex location;
    CFIndex length;
};

inline CFRange CFRangeMake(CFIndex location, CFIndex length)
{
    return {location, length};
}

enum : CFStringEncoding
{
    kCFStringEncodingWindowsLatin1 = 0x0500,
    kCFStringEncodingUTF8 = 0x08000100,
    kCFStringEncodingUTF32LE = 0x1C000100
};

extern "C"
{
    extern CFAllocatorRef const kCFAllocatorDefault;

    CFTypeID CFGetTypeID(CFTypeRef object);
    void CFRelease(CFTypeRef object);

    CFBundleRef CFBundleGetMainBundle();
    CFTypeRef CFBundleGetValueForInfoDictionaryKey(CFBundleRef bundle, CFStringRef key);
    CFURLRef CFBundleCopyExecutableURL(CFBundleRef bundle);
    Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolve, UInt8* buffer, CFIndex size);

    CFTypeID CFStringGetTypeID();
    char const* CFStringGetCStringPtr(CFStringRef string, CFStringEncoding encoding);
    CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, UInt8 const* bytes, CFIndex size,
                                        CFStringEncoding encoding, Boolean has_byte_order_mark);
    CFDataRef CFStringCreateExternalRepresentation(CFAllocatorRef allocator, CFStringRef string,
                                                   CFStringEncoding encoding, UInt8 loss_byte);

    CFIndex CFDataGetLength(CFDataRef data);
    void CFDataGetBytes(CFDataRef data, CFRange range, UInt8* buffer);

    CFStringRef __CFStringMakeConstantString(char const* text);
}

#define CFSTR(text) __CFStringMakeConstantString("" text "")
