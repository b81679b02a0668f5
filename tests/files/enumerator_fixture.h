/// @file
/// What the tests of walks through directories share.
#pragma once

#include "ORVA/Files/DirectoryEnumerator.h"
#include "files/files_fixture.h"
#include "files/named_entry.h"

#include <clocale>
#include <set>

namespace files
{

using ORVA::Files::OS::CDirectoryEnumerator;
using ORVA::Files::OS::CFindData;

/// Names in any order.
using NameSet = std::set<std::wstring>;

/// Sets the locale of characters for as long as it lives.
class CharacterLocale
{
public:
    explicit CharacterLocale(char const* name)
        : m_former(std::setlocale(LC_CTYPE, nullptr)), m_is_set(std::setlocale(LC_CTYPE, name) != nullptr)
    {
    }
    ~CharacterLocale() { std::setlocale(LC_CTYPE, m_former.c_str()); }
    CharacterLocale(CharacterLocale const&) = delete;
    CharacterLocale& operator=(CharacterLocale const&) = delete;

    bool is_set() const { return m_is_set; }

private:
    std::string m_former;
    bool m_is_set;
};

class EnumeratorFixture : public FilesFixture
{
protected:
    EnumeratorFixture() { EXPECT_TRUE(c_locale.is_set()); }

    /// All names that an enumeration gives from now on.
    static NameSet rest_of(CDirectoryEnumerator& enumerator)
    {
        NameSet names;
        CFindData data;
        while (enumerator.GetNext(data) == 1)
            EXPECT_TRUE(names.insert(data.GetFilename()).second) << "a name is given twice";
        return names;
    }
    /// All names that `path` has with `filter`.
    static NameSet names_in(std::wstring const& path, wchar_t const* filter = nullptr)
    {
        CDirectoryEnumerator enumerator;
        EXPECT_EQ(1, enumerator.BeginEnumerate(path.c_str(), filter, false));
        return rest_of(enumerator);
    }
    /// The result of beginning with `path`.
    static int begins(wchar_t const* path, wchar_t const* filter = nullptr)
    {
        CDirectoryEnumerator enumerator;
        return enumerator.BeginEnumerate(path, filter, false);
    }
    /// Whether an enumeration with `filter` leaves out an entry called `name`.
    bool skips(std::string const& name, wchar_t const* filter = nullptr)
    {
        CDirectoryEnumerator enumerator;
        EXPECT_EQ(1, enumerator.BeginEnumerate(directory.wide_path().c_str(), filter));
        NamedEntry entry(name);
        return enumerator.skipEntry(entry.get());
    }

    CharacterLocale c_locale{"C"};
};

} // namespace files
