#include "ORVA/Files/Path.h"
#include "reference/plain_path.h"

#include <gtest/gtest.h>

#include <array>
#include <cwchar>
#include <memory>
#include <random>
#include <string>

using namespace ORVA::Files;

namespace
{

/// What stands at the end of a buffer, to see that nothing behind the text is written.
wchar_t const guard = 0x7E57;

std::string shown(std::wstring const& text)
{
    std::string result;
    for (wchar_t const character : text)
        result += character >= 32 && character < 127 ? static_cast<char>(character) : '#';
    return '"' + result + '"';
}

/// The fields of `info` as places in `text`.
std::array<long, 11> places(tagCPATHPARSEINFO const& info, wchar_t const* text)
{
    auto const place = [text](wchar_t const* field) { return field ? field - text : plain::none; };
    return {place(info.pPrefix), place(info.pPrefixEnd), place(info.pDrive),     place(info.pDriveEnd),
            place(info.pServer), place(info.pServerEnd), place(info.pDirectory), place(info.pDirectoryEnd),
            place(info.pName),   place(info.pNameEnd),   place(info.pExtension)};
}

/// Whether library and twin make the same of `text`.
bool agree_on(std::wstring const& text)
{
    // In a buffer without room behind it, for the tools that notice when more is looked at.
    std::unique_ptr<wchar_t[]> const exact(new wchar_t[text.size() + 1]);
    std::wmemcpy(exact.get(), text.c_str(), text.size() + 1);
    bool agreed = true;
    for (bool const has_name : {false, true})
    {
        plain::PathParts parts;
        bool const is_path = plain::parse_path(text, has_name, parts);
        tagCPATHPARSEINFO info;
        int const result = FU_ParsePath(exact.get(), info, has_name);
        agreed = agreed && result == is_path && places(info, exact.get()) == parts.all();
    }
    agreed = agreed && FU_IsStraightPath(exact.get()) == plain::is_straight(text);
    for (wchar_t const separator : {L'/', L'\\', L'\0'})
    {
        std::wstring buffer = text;
        buffer.resize(text.size() + 2);
        buffer.push_back(guard);
        agreed = agreed && FU_FormatPath(buffer.data(), separator) == buffer.data() &&
                 buffer.c_str() == plain::format_path(text, separator) && buffer.back() == guard;
    }
    return agreed;
}

/// Compares all texts that are `start` and up to `length` characters of `alphabet` behind it. False at the first that
/// differs.
bool agree_on_all(std::wstring const& start, std::wstring const& alphabet, std::size_t length, unsigned long& count)
{
    ++count;
    if (!agree_on(start))
    {
        ADD_FAILURE() << "they differ at " << shown(start);
        return false;
    }
    if (length == 0)
        return true;
    for (wchar_t const character : alphabet)
    {
        if (!agree_on_all(start + character, alphabet, length - 1, count))
            return false;
    }
    return true;
}

TEST(PathModel, agrees_on_all_short_texts)
{
    unsigned long count = 0;
    EXPECT_TRUE(agree_on_all(L"", L"\\/?.: a", 6, count));
    EXPECT_EQ(137257U, count);
}

TEST(PathModel, agrees_on_all_short_texts_behind_each_start)
{
    for (wchar_t const* const start :
         {L"\\\\?\\", L"\\\\?\\UNC", L"\\\\?\\UNC\\", L"\\\\?\\UNC/", L"\\\\.\\", L" \\\\?\\", L"//s", L"\\\\s.t",
          L"C:", L"C:/", L"abc:", L"abc://", L"abc://s/", L"1:", L"a.b", L"d/", L"d.e/", L"\\\\?\\C:"})
    {
        unsigned long count = 0;
        EXPECT_TRUE(agree_on_all(start, L"\\/?.: a<\x1F", 4, count));
        EXPECT_EQ(7381U, count);
    }
}

TEST(PathModel, agrees_on_random_texts)
{
    std::mt19937 random(12345);
    std::wstring const alphabet = L"\\\\\\///...: ?aaUNCZz[@1<>|\x1F\x20AC";
    auto const up_to = [&random](std::size_t limit) { return random() % limit; };
    for (int round = 0; round < 50000; ++round)
    {
        std::wstring text;
        // Few of the characters that have a text refused at once, so that most of them get further.
        std::size_t const usable = up_to(4) == 0 ? alphabet.size() : alphabet.size() - 12;
        for (std::size_t length = up_to(30); length != 0; --length)
            text += alphabet[up_to(usable)];
        if (up_to(4) == 0)
            text.insert(
                0, std::array<wchar_t const*, 5>{L"\\\\?\\", L"\\\\.\\", L"\\\\?\\UNC\\", L"C:", L"xy://"}[up_to(5)]);
        ASSERT_TRUE(agree_on(text)) << shown(text);
    }
}

} // namespace
