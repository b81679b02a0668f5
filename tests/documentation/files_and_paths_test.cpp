// The code of docs/files-and-paths.md.

#include "ORVA/Files.h"
#include "ORVA/String.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <cwchar>
#include <string>

using namespace ORVA::Files;
using namespace ORVA::Files::OS;
using ORVA::String::CNQFWChar;
using ORVA::String::CPPoolString;
using ORVA::String::CUTF8Char;

namespace
{

/// A directory of the test's own, removed with what the snippets leave in it.
class FilesAndPaths : public ::testing::Test
{
protected:
    FilesAndPaths()
    {
        char pattern[] = "/tmp/orva-documentation-XXXXXX";
        directory = CNQFWChar(reinterpret_cast<unsigned char const*>(::mkdtemp(pattern)));
    }
    ~FilesAndPaths() override
    {
        for (wchar_t const* const name : {L"/takes/one.wav", L"/takes", L""})
            _DeleteFile((std::wstring(directory) + name).c_str());
    }

    std::wstring directory;
};

// [[save]]
// Creates the file and, if it is missing, the directory that it is to be in, and writes. False if anything failed.
bool save(wchar_t const* path, void const* data, unsigned int size)
{
    CFile file;
    if (file.Open(path, eFileAccess(eFileAccessWrite | eFileShareRead),
                  eOpenFileOptions(eOpenFileCreate | eOpenFileCreateDir | eOpenFileTruncate)) == 0)
        return false;
    return file.Write(data, size) == 1; // 1: all of it. The destructor closes.
}
// [[end]]

// [[walk]]
// The bytes of all files of a directory whose names end with ".wav", whatever the case.
long size_of_takes(wchar_t const* directory)
{
    long size = 0;
    CDirectoryEnumerator files;
    CFindData entry;
    if (files.BeginEnumerate(directory, L".wav"))
        while (files.GetNext(entry))
            if (!entry.isDirectory())
                size += entry.GetSize();
    return size;
}
// [[end]]

long size_of_entries(wchar_t const* directory)
{
    // [[entries]]
    CDirectoryEnumerator files;
    CFindData entry;
    long size = 0;
    if (files.BeginEnumerate(directory, L".wav"))
        while (files.GetNext(entry))
            size += entry.GetSize();
    // [[end]]
    return size;
}

TEST_F(FilesAndPaths, file_is_written_and_found)
{
    std::wstring const takes = directory + L"/takes";
    EXPECT_TRUE(save((takes + L"/one.wav").c_str(), "RIFF", 4));
    EXPECT_TRUE(save((takes + L"/one.wav").c_str(), "RIF", 3));
    EXPECT_EQ(size_of_takes(takes.c_str()), 3);
    EXPECT_EQ(size_of_entries(takes.c_str()), 3);
}

// [[name]]
// The name of a path without directory and extension; null for a path that is malformed or names nothing.
CPPoolString stem(wchar_t const* path)
{
    tagCPATHPARSEINFO parts;
    if (FU_ParsePath(path, parts, true) == 0 || parts.pName == parts.pNameEnd)
        return {};
    return ORVA::String::CStringPool::GetStringRefn(parts.pName,
                                                    static_cast<unsigned long>(parts.pNameEnd - parts.pName));
}
// [[end]]

TEST_F(FilesAndPaths, name_is_cut_out_of_a_path)
{
    EXPECT_TRUE(stem(L"C:\\takes\\one.wav") == L"one");
    EXPECT_TRUE(stem(L"/takes/one.two.wav") == L"one.two");
    EXPECT_TRUE(stem(L"/takes/.wav").isnull());
    EXPECT_TRUE(stem(L"/takes/").isnull());
}

TEST_F(FilesAndPaths, path_becomes_a_url_and_comes_back)
{
    // [[url]]
    using namespace ORVA::Internetional; // spelled as it is

    CUTF8Char const url = file_EncodeURL(L"/takes/Take 1.wav"); // file:///takes/Take%201.wav
    CNQFWChar const path = file_DecodeURL(url);                 // /takes/Take 1.wav
    if (!path)
        return; // no URL of a file, or the heap is exhausted
    // [[end]]
    EXPECT_STREQ(reinterpret_cast<char const*>(*url), "file:///takes/Take%201.wav");
    EXPECT_STREQ(*path, L"/takes/Take 1.wav");
}

} // namespace
