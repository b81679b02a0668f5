/// @file
/// A directory of a test's own, and what a test puts into it and finds in it, by the system's own means.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace support
{

/// The characters of an ASCII text.
inline std::wstring widened(std::string const& text)
{
    return std::wstring(text.begin(), text.end());
}

/// An empty directory that is removed with all that is in it. Everybody may look into it.
class TemporaryDirectory
{
public:
    TemporaryDirectory()
    {
        // In memory where there is such a place: disks take their time over files that come and go.
        char const* const memory = "/dev/shm";
        auto const parent =
            ::access(memory, W_OK | X_OK) == 0 ? std::filesystem::path(memory) : std::filesystem::temp_directory_path();
        std::string name = (parent / "orva_test_XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr || ::chmod(name.c_str(), 0755) != 0)
            ADD_FAILURE() << "no temporary directory: " << name;
        m_path = name;
    }
    ~TemporaryDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryDirectory(TemporaryDirectory const&) = delete;
    TemporaryDirectory& operator=(TemporaryDirectory const&) = delete;

    std::string const& path() const { return m_path; }
    std::wstring wide_path() const { return widened(m_path); }

    /// The path of `name` in this directory, narrow and wide (ASCII alone).
    std::string path(std::string const& name) const { return m_path + "/" + name; }
    std::wstring wide_path(std::string const& name) const { return widened(path(name)); }

    void write(std::string const& name, std::string const& content = "") const
    {
        std::ofstream file(path(name), std::ios::binary);
        file << content;
        file.close();
        ASSERT_TRUE(file) << "not written: " << name;
    }
    std::string read(std::string const& name) const
    {
        std::ifstream file(path(name), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    void make_directory(std::string const& name) const { ASSERT_EQ(0, ::mkdir(path(name).c_str(), 0777)) << name; }
    void make_link(std::string const& target, std::string const& name) const
    {
        ASSERT_EQ(0, ::symlink(target.c_str(), path(name).c_str())) << name;
    }

    /// The names of all entries, sorted.
    std::vector<std::string> entries() const
    {
        std::vector<std::string> names;
        for (auto const& entry : std::filesystem::directory_iterator(m_path))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    std::string m_path;
};

/// Makes `path` the working directory for as long as it lives.
class WorkingDirectory
{
public:
    explicit WorkingDirectory(std::string const& path) : m_former(std::filesystem::current_path())
    {
        std::filesystem::current_path(path);
    }
    ~WorkingDirectory() { std::filesystem::current_path(m_former); }
    WorkingDirectory(WorkingDirectory const&) = delete;
    WorkingDirectory& operator=(WorkingDirectory const&) = delete;

private:
    std::filesystem::path m_former;
};

/// Lets all permissions through that are asked for when something is made, for as long as it lives.
class NoPermissionMask
{
public:
    NoPermissionMask() : m_former(::umask(0)) {}
    ~NoPermissionMask() { ::umask(m_former); }
    NoPermissionMask(NoPermissionMask const&) = delete;
    NoPermissionMask& operator=(NoPermissionMask const&) = delete;

private:
    mode_t m_former;
};

/// The permissions of what `path` names, a link itself if it is one.
inline mode_t permissions(std::string const& path)
{
    struct stat record = {};
    EXPECT_EQ(0, ::lstat(path.c_str(), &record)) << path;
    return record.st_mode & 07777;
}

} // namespace support
