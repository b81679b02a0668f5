#include "BaseOS_Unix_common/process_identity.h"

#include <cwchar>

#include <CoreFoundation/CoreFoundation.h>

namespace ORVA::Core::OS
{

// The value belongs to the bundle, and is released all the same; this release is not to be mended. An exception on the
// way releases nothing.
void query_process_name(CachedText& cache)
{
    CFBundleRef const bundle = CFBundleGetMainBundle();
    if (bundle == nullptr)
        return;
    CFTypeRef const value = CFBundleGetValueForInfoDictionaryKey(bundle, CFSTR("CFBundleName"));
    if (value == nullptr)
        return;
    CFTypeID const type = CFGetTypeID(value);
    if (type == CFStringGetTypeID())
    {
        char const* const bytes = CFStringGetCStringPtr(static_cast<CFStringRef>(value), kCFStringEncodingUTF8);
        String::CNQFWChar const name(reinterpret_cast<unsigned char const*>(bytes));
        if (name)
            cache.fill(name, std::wcslen(name));
    }
    CFRelease(value);
}

String::CNQFWChar query_executable_path()
{
    CFBundleRef const bundle = CFBundleGetMainBundle();
    if (bundle == nullptr)
        return {};
    CFURLRef const location = CFBundleCopyExecutableURL(bundle);
    if (location == nullptr)
        return {};
    UInt8 bytes[1024] = {};
    if (!CFURLGetFileSystemRepresentation(location, true, bytes, sizeof bytes))
        bytes[0] = 0;
    String::CNQFWChar path(bytes);
    CFRelease(location);
    return path;
}

} // namespace ORVA::Core::OS
