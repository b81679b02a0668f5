#include "ORVA/Files/FileSystem.h"

#include "BaseOS_Unix_common/files/system_path.h"

#include <cstdio>

namespace ORVA::Files::OS
{

bool _TestDirExists(wchar_t const* path)
{
    struct stat record;
    return !is_empty(path) && query(SystemPath(path), record) && (record.st_mode & S_IFDIR) != 0;
}

bool _TestFileExists(wchar_t const* path)
{
    struct stat record;
    return !is_empty(path) && query(SystemPath(path), record) && !S_ISDIR(record.st_mode);
}

bool _DeleteFile(wchar_t const* path)
{
    SystemPath const system_path(path);
    return system_path && std::remove(system_path.get()) == 0;
}

bool _CreateDir(wchar_t const* path)
{
    return make_directory(SystemPath(path));
}

} // namespace ORVA::Files::OS
