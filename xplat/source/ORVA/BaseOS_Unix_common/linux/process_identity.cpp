#include "BaseOS_Unix_common/process_identity.h"

#include "ORVA/String/Utf8Holder.h"

#include <cstring>
#include <cwchar>

#include <unistd.h>

namespace ORVA::Core::OS
{

namespace
{

/// The longest path that the system gives, in bytes, with one more for the terminator. It refuses longer ones.
unsigned long const path_size = 4096;

char const deleted_mark[] = " (deleted)";

/// Takes off the mark that the system puts behind the path of an executable whose file has been removed or replaced.
/// A file that is really called so still exists.
void remove_deleted_mark(char* path, unsigned long length)
{
    unsigned long const mark_length = sizeof deleted_mark - 1;
    if (length <= mark_length || std::strcmp(path + length - mark_length, deleted_mark) != 0)
        return;
    if (::access(path, F_OK) != 0)
        path[length - mark_length] = 0;
}

} // namespace

void query_process_name(CachedText& cache)
{
    String::CNQFWChar const path = query_executable_path();
    if (!path)
        return;
    wchar_t const* const name = *path + directory_length(path);
    cache.fill(name, std::wcslen(name));
}

// A holder ends its text at the first byte that is no UTF-8. What is left of a path then names something else, so only
// a path that comes back whole is an answer.
String::CNQFWChar query_executable_path()
{
    char path[path_size];
    ssize_t const length = ::readlink("/proc/self/exe", path, sizeof path);
    if (length <= 0 || static_cast<unsigned long>(length) >= sizeof path)
        return {};
    path[length] = 0;
    remove_deleted_mark(path, static_cast<unsigned long>(length));

    String::CNQFWChar wide(reinterpret_cast<unsigned char const*>(path));
    String::CUTF8Char const back(wide);
    if (!back || std::strcmp(reinterpret_cast<char const*>(*back), path) != 0)
        return {};
    return wide;
}

} // namespace ORVA::Core::OS
