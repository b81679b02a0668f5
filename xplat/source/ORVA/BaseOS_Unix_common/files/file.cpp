#include "ORVA/Files/File.h"

#include "BaseOS_Unix_common/files/system_path.h"
#include "ORVA/Files/FileSystem.h"
#include "ORVA/String/WideText.h"
#include "cstringpool/stack_buffer.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace ORVA::Files::OS
{

namespace
{

/// Sees to it that the directory that `path` stands in exists. False if the path names none, or it cannot be made.
bool provide_directory(wchar_t const* path)
{
    wchar_t const* separator = nullptr;
    for (wchar_t const* at = path; *at != 0; ++at)
    {
        if (String::_isSlash(*at))
            separator = at;
    }
    if (separator == nullptr)
        return false;

    auto const length = static_cast<unsigned long>(separator - path);
    String::StackBuffer<wchar_t, 512> directory(length + 1);
    if (!directory)
        return false;
    std::memcpy(directory.get(), path, length * sizeof(wchar_t));
    directory.get()[length] = 0;
    SystemPath const system_path(directory.get());
    return is_directory(system_path) || make_directory(system_path);
}

/// The result of a transfer of `size` bytes for which the system gave `count`, -1 for an error.
int transferred(ssize_t count, unsigned int size, unsigned int* done)
{
    if (done)
        *done = static_cast<unsigned int>(count);
    return count >= 0 && static_cast<unsigned int>(count) == size;
}

int nothing_transferred(unsigned int* done)
{
    if (done)
        *done = 0;
    return 0;
}

} // namespace

int CFile::Open(wchar_t const* path, eFileAccess access, eOpenFileOptions options)
{
    if (is_empty(path) || m_descriptor != -1)
        return 0;

    bool const writes = (access & eFileAccessWrite) != 0;
    bool const shares = (access & (eFileShareRead | eFileShareWrite)) != 0;
    bool const creates = (options & eOpenFileCreate) != 0;
    bool const creates_directory = (options & eOpenFileCreateDir) != 0;
    if ((options & eOpenFileExclusive) != 0 && (!creates || shares || !writes))
        return 0;

    SystemPath const system_path(path);
    int flags = (writes ? O_RDWR : O_RDONLY) | (shares ? 0 : O_EXCL);
    if (creates || creates_directory)
    {
        if (!writes || !creates)
            return 0;
        flags |= O_CREAT;
    }
    else
    {
        struct stat record;
        if (!query(system_path, record) || S_ISDIR(record.st_mode))
            return 0;
    }
    if ((options & eOpenFileTruncate) != 0)
    {
        if (!writes)
            return 0;
        flags |= O_TRUNC;
    }
    if (!system_path || (creates_directory && !provide_directory(path)))
        return 0;

    int const descriptor = ::open(system_path.get(), flags, 0770);
    if (descriptor < 0)
        return 0;
    m_descriptor = descriptor;
    m_access = access;
    return 1;
}

int CFile::Close()
{
    if (m_descriptor != -1)
    {
        ::close(m_descriptor);
        m_descriptor = -1;
    }
    return 1;
}

long CFile::GetSize() const
{
    struct stat record;
    return m_descriptor != -1 && ::fstat(m_descriptor, &record) == 0 ? static_cast<long>(record.st_size) : -1;
}

int CFile::Flush()
{
    if (m_descriptor != -1)
        ::fsync(m_descriptor);
    return 1;
}

int CFile::SetPointer(unsigned long long position)
{
    if (m_descriptor == -1)
        return 0;
    // Some files of the system have places that its signed type shows as negative. -1 alone is an error, and must not
    // pass for a place.
    off_t const reached = ::lseek(m_descriptor, static_cast<off_t>(position), SEEK_SET);
    return reached != -1 && static_cast<unsigned long long>(reached) == position;
}

int CFile::MovePointer(long long distance)
{
    return m_descriptor != -1 && ::lseek(m_descriptor, static_cast<off_t>(distance), SEEK_CUR) != -1;
}

long CFile::GetPointer() const
{
    return m_descriptor != -1 ? static_cast<long>(::lseek(m_descriptor, 0, SEEK_CUR)) : -1;
}

int CFile::SetEOF()
{
    return m_descriptor != -1 && (m_access & eFileAccessWrite) != 0 &&
           ::ftruncate(m_descriptor, ::lseek(m_descriptor, 0, SEEK_CUR)) == 0;
}

int CFile::Read(void* buffer, unsigned int size, unsigned int* done)
{
    if (m_descriptor == -1 || buffer == nullptr)
        return nothing_transferred(done);
    return transferred(::read(m_descriptor, buffer, size), size, done);
}

int CFile::Write(void const* buffer, unsigned int size, unsigned int* done)
{
    if (m_descriptor == -1 || buffer == nullptr || (m_access & eFileAccessWrite) == 0)
        return nothing_transferred(done);
    return transferred(::write(m_descriptor, buffer, size), size, done);
}

bool CFile::DeleteFile(wchar_t const* path)
{
    return _DeleteFile(path);
}

int CFile::RenameFile(wchar_t const* first, wchar_t const* second)
{
    SystemPath const target(first);
    SystemPath const source(second);
    return !target || !source || std::rename(source.get(), target.get()) != 0;
}

} // namespace ORVA::Files::OS
