#include "work.h"

#include "ORVA/Files.h"

#include <cstring>

namespace soak
{

namespace
{

using namespace ORVA::Files;
using namespace ORVA::Files::OS;

std::wstring own_directory(Worker const& worker)
{
    std::string const& all = worker.shared->directory;
    return std::wstring(all.begin(), all.end()) + L"/worker " + std::to_wstring(worker.number);
}

} // namespace

void use_files(Worker& worker)
{
    std::wstring const directory = own_directory(worker) + L"/a/b";
    FU_CreatePath(directory.c_str());
    check(_TestDirExists(directory.c_str()), "a path is made");
    std::wstring const name = directory + L"/file.soak";
    std::wstring const other = directory + L"/renamed.soak";
    unsigned int written[64];
    for (unsigned int& word : written)
        word = ORVA::Develop::_random();
    {
        CFile file;
        check(file.Open(name.c_str(), static_cast<eFileAccess>(eFileAccessWrite | eFileShareRead),
                        static_cast<eOpenFileOptions>(eOpenFileCreate | eOpenFileTruncate)) == 1,
              "a file is made");
        check(file.Write(written, sizeof written) == 1 && file.GetSize() == sizeof written, "a file is written");
        check(file.SetPointer(sizeof(unsigned int)) == 1, "a place in a file is reached");
        unsigned int second = 0;
        check(file.Read(&second, sizeof second) == 1 && second == written[1], "a file is read from a place");
    }
    CDirectoryEnumerator enumerator;
    CFindData found;
    check(enumerator.BeginEnumerate(directory.c_str(), L".soak") == 1, "a directory is opened");
    check(enumerator.GetNext(found) == 1 && found.GetSize() == sizeof written, "an entry is found");
    check(enumerator.GetNext(found) == 0, "there is no other entry");
    check(CFile::RenameFile(other.c_str(), name.c_str()) == 0, "a file is renamed");
    {
        unsigned int read[64] = {};
        CFile file;
        check(file.Open(other.c_str(), eFileAccessRead, eOpenFileExisting) == 1, "a file is opened");
        check(file.Read(read, sizeof read) == 1 && std::memcmp(read, written, sizeof read) == 0, "a file is read");
    }
    check(_DeleteFile(other.c_str()) && !_TestFileExists(other.c_str()), "a file is removed");
    check(_DeleteFile(directory.c_str()), "a directory is removed");
}

void convert_paths(Worker& worker)
{
    namespace Url = ORVA::Internetional;
    std::wstring const path = own_directory(worker) + L"/\u00e4 %41 " + std::to_wstring(below(1000)) + L".txt";
    ORVA::String::CUTF8Char const url = Url::file_EncodeURL(path.c_str());
    check(*url != nullptr && Url::URL_checkescape(*url, reinterpret_cast<unsigned char const*>("/:")) == 1,
          "a path becomes a URL");
    ORVA::String::CNQFWChar const back = Url::file_DecodeURL(*url);
    check(*back != nullptr && path == *back, "a URL becomes the path");
    tagCPATHPARSEINFO parts = {};
    check(FU_ParsePath(path.c_str(), parts, true) == 1 && parts.pExtension != nullptr &&
              std::wcsncmp(parts.pExtension, L".txt", 4) == 0,
          "a path is cut into its parts");
}

} // namespace soak
