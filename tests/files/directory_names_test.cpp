#include "files/enumerator_fixture.h"

using namespace ORVA::Files::OS;
using namespace support;
using Names = files::NameSet;

namespace
{

class EnumeratedNames : public files::EnumeratorFixture
{
};

TEST_F(EnumeratedNames, filter_is_an_end_whatever_its_case)
{
    for (char const* const name : {"A.WAV", "b.wav", "c.WaV", "a.wav.bak", "wav", "d.mp3", ".wav", "e.wav "})
        directory.write(name);
    directory.make_directory("f.wav");
    EXPECT_EQ((Names{L"A.WAV", L"b.wav", L"c.WaV", L".wav", L"f.wav"}), names_in(directory.wide_path(), L".wav"));
    EXPECT_EQ((Names{L"A.WAV", L"b.wav", L"c.WaV", L".wav", L"f.wav"}), names_in(directory.wide_path(), L".WAV"));
    EXPECT_EQ((Names{L"A.WAV", L"b.wav", L"c.WaV", L".wav", L"f.wav", L"wav"}),
              names_in(directory.wide_path(), L"wav"));
    EXPECT_EQ(Names(), names_in(directory.wide_path(), L".wave"));
}

TEST_F(EnumeratedNames, filter_is_no_pattern)
{
    directory.write("a.wav");
    directory.write("*.wav");
    EXPECT_EQ(Names{L"*.wav"}, names_in(directory.wide_path(), L"*.wav"));
}

TEST_F(EnumeratedNames, first_match_of_the_filter_decides)
{
    EXPECT_TRUE(skips("a.wav.wav", L".wav"));
    EXPECT_TRUE(skips("a.WAV.b.wav", L".wav"));
    EXPECT_TRUE(skips("aaa", L"aa")) << "the first match ends before the end";
    EXPECT_FALSE(skips("aa", L"aa"));
    EXPECT_FALSE(skips("baa", L"aa"));
}

TEST_F(EnumeratedNames, entry_is_skipped_by_its_name_alone)
{
    EXPECT_TRUE(skips("."));
    EXPECT_TRUE(skips(".."));
    EXPECT_FALSE(skips("..."));
    EXPECT_FALSE(skips(".a"));
    EXPECT_FALSE(skips("a."));
    EXPECT_FALSE(skips(""));
    EXPECT_TRUE(skips(".", L"."));
    EXPECT_TRUE(skips("..", L"."));
    EXPECT_TRUE(skips("...", L"."));
    EXPECT_FALSE(skips("a.", L"."));
}

TEST_F(EnumeratedNames, without_an_enumeration_only_the_two_are_skipped)
{
    CDirectoryEnumerator const enumerator;
    files::NamedEntry self(".");
    files::NamedEntry other("a");
    EXPECT_TRUE(enumerator.skipEntry(self.get()));
    EXPECT_FALSE(enumerator.skipEntry(other.get()));
}

TEST_F(EnumeratedNames, empty_filter_skips_everything)
{
    directory.write("a");
    EXPECT_EQ(Names(), names_in(directory.wide_path(), L""));
    EXPECT_TRUE(skips("a", L""));
}

TEST_F(EnumeratedNames, filter_is_kept_as_utf8)
{
    files::CharacterLocale const locale("C.UTF-8");
    if (!locale.is_set())
        GTEST_SKIP() << "there is no UTF-8 locale";
    directory.write("1.\xC3\xA4");
    directory.write("2.\xE4"); // the same letter in another encoding
    std::wstring filter = L".\u00E4";
    CDirectoryEnumerator enumerator;
    ASSERT_EQ(1, enumerator.BeginEnumerate(directory.wide_path().c_str(), filter.c_str()));
    filter = L".xyz"; // a copy is kept
    EXPECT_EQ(Names{L"1.\u00E4"}, rest_of(enumerator));
}

TEST_F(EnumeratedNames, names_are_decoded_by_the_locale_and_not_as_utf8)
{
    directory.write("caf\xC3\xA9.txt", "content");
    EXPECT_EQ(Names{L"caf"}, names_in(directory.wide_path())) << "the C locale knows ASCII alone";
    files::CharacterLocale const locale("C.UTF-8");
    if (!locale.is_set())
        GTEST_SKIP() << "there is no UTF-8 locale";
    EXPECT_EQ(Names{L"caf\u00E9.txt"}, names_in(directory.wide_path()));
}

TEST_F(EnumeratedNames, name_ends_before_a_byte_that_the_locale_refuses_and_has_its_record)
{
    files::CharacterLocale const locale("C.UTF-8");
    if (!locale.is_set())
        GTEST_SKIP() << "there is no UTF-8 locale";
    directory.write("a\xC3\xA9\xFF z", "content");
    CDirectoryEnumerator enumerator;
    ASSERT_EQ(1, enumerator.BeginEnumerate(directory.wide_path().c_str()));
    CFindData data;
    ASSERT_EQ(1, enumerator.GetNext(data));
    EXPECT_EQ(std::wstring(L"a\u00E9"), data.GetFilename());
    EXPECT_EQ(7, data.GetSize()) << "the system is asked by the bytes of the name";
    directory.write("\xFF");
    EXPECT_EQ((Names{L"", L"a\u00E9"}), names_in(directory.wide_path()));
}

TEST_F(EnumeratedNames, path_goes_to_the_system_as_utf8_whatever_the_locale)
{
    directory.make_directory("\xC3\xA4");
    directory.write("\xC3\xA4/f", "content");
    CDirectoryEnumerator enumerator;
    std::wstring const path = directory.wide_path("") + L"\u00E4";
    ASSERT_EQ(1, enumerator.BeginEnumerate(path.c_str()));
    CFindData data;
    ASSERT_EQ(1, enumerator.GetNext(data));
    EXPECT_EQ(path, data.GetPath());
    EXPECT_EQ(7, data.GetSize());
}

TEST_F(EnumeratedNames, names_of_255_bytes)
{
    directory.write(std::string(255, 'n'), "content");
    CDirectoryEnumerator enumerator;
    ASSERT_EQ(1, enumerator.BeginEnumerate(directory.wide_path().c_str()));
    CFindData data;
    ASSERT_EQ(1, enumerator.GetNext(data));
    EXPECT_EQ(std::wstring(255, L'n'), data.GetFilename());
    EXPECT_EQ(7, data.GetSize());
}

} // namespace
