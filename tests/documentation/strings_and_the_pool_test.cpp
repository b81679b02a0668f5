// The code of docs/strings-and-the-pool.md.

#include "ORVA/String.h"

#include <gtest/gtest.h>

#include <cstring>
#include <cwchar>

using namespace ORVA::String;
using ORVA::Buffers::CPPlainMemory;

namespace
{

TEST(StringsAndThePool, equal_text_is_one_string_whatever_its_encoding)
{
    // [[equality]]
    CPPoolString const wide(L"Gr\u00FC\u00DFe");
    CPPoolString const utf8(reinterpret_cast<unsigned char const*>("Gr\xC3\xBC\xC3\x9F"
                                                                   "e"));
    CPPoolString const ansi("Gr\xFC\xDF"
                            "e");                        // code page 1252
    bool const one = wide == utf8 && utf8 == ansi;       // two comparisons of pointers
    bool const alike = wide.iequals(L"GR\u00DC\u00DFE"); // in a locale that knows these letters
    // [[end]]
    EXPECT_TRUE(one);
    static_cast<void>(alike);
}

TEST(StringsAndThePool, null_empty_and_text_are_three_things)
{
    // [[states]]
    CPPoolString const nothing;       // the null string
    CPPoolString const empty(L"");    // a text, of length 0
    CPPoolString const name(L"Take"); // a text

    bool const has_text = name.isdef() && !empty.isdef() && !nothing.isdef();
    bool const is_there = name && empty && !nothing; // the empty string counts as true
    // [[end]]
    EXPECT_TRUE(has_text);
    EXPECT_TRUE(is_there);
}

TEST(StringsAndThePool, query_adds_nothing)
{
    // [[query]]
    CPPoolString const known = CStringPool::QueryStringRef(L"never pooled before");
    if (known.isnull())
        std::wprintf(L"nobody has this string\n");
    // [[end]]
    EXPECT_TRUE(known.isnull());
}

TEST(StringsAndThePool, first_spelling_answers_for_all)
{
    // [[case]]
    CPPoolString const first(L"ReadMe.txt");
    CPPoolString const found = CStringPool::GetStringRefi(L"README.TXT"); // any spelling that is pooled
    bool const same = found == first;                                     // "ReadMe.txt"
    CPPoolString const exact(L"README.TXT");                              // another string
    // [[end]]
    EXPECT_TRUE(same);
    EXPECT_TRUE(exact != first);
    EXPECT_TRUE(exact.iequals(first));
}

TEST(StringsAndThePool, utf8_form_lives_as_long_as_the_string)
{
    // [[utf8]]
    CPPoolString const name(L"Gr\u00FC\u00DFe");
    unsigned char const* const utf8 = name; // made once, kept with the record; never null
    unsigned long const bytes = name.UTF8Size();
    wchar_t const* const text = *name; // both are good as long as a string with this text lives
    // [[end]]
    EXPECT_EQ(bytes, 7U);
    EXPECT_EQ(std::strlen(reinterpret_cast<char const*>(utf8)), 7U);
    EXPECT_EQ(std::wcslen(text), 5U);
}

// [[submitter]]
// Writes a text straight into the new record. It is asked twice: how long, and then for the text.
class Hexadecimal final : public IStringSubmitter
{
public:
    explicit Hexadecimal(unsigned int value) : m_value(value) {}

    unsigned long GetStringLen() override { return 8; }
    unsigned int GetString(wchar_t* buffer) override
    {
        for (unsigned int place = 0; place < 8; ++place)
            buffer[place] = L"0123456789ABCDEF"[m_value >> (28 - 4 * place) & 15];
        buffer[8] = 0;
        return 1; // 0 for a failure: then nothing is pooled
    }

private:
    unsigned int m_value;
};
// [[end]]

TEST(StringsAndThePool, submitter_writes_the_text_of_a_new_string)
{
    // [[submit]]
    Hexadecimal address(0xC0FFEE);
    CPPoolString const text = CStringPool::GetStringRef(&address); // "00C0FFEE"
    // [[end]]
    EXPECT_TRUE(text == L"00C0FFEE");
}

TEST(StringsAndThePool, sorted_array_has_each_string_once)
{
    // [[array]]
    CPPoolStringArray tags(true); // sorted, each string once
    for (wchar_t const* const tag : {L"rock", L"live", L"rock", L"1972"})
        tags.Add(tag);
    CPPoolString const joined = tags.Flatten(L','); // "1972,live,rock"
    // [[end]]
    EXPECT_EQ(tags.GetCount(), 3U);
    EXPECT_TRUE(joined == L"1972,live,rock");
}

// [[split]]
// Splits at each separator, and keeps every character: CPPoolStringArray::Inflate does not.
bool split(CPPoolString const& text, wchar_t separator, CPPoolStringArray& pieces)
{
    wchar_t const* start = *text;
    for (;;)
    {
        wchar_t const* end = start;
        while (*end != 0 && *end != separator)
            ++end;
        unsigned long const length = static_cast<unsigned long>(end - start);
        CPPoolString piece = CPPoolString::pempty; // a length of 0 would give the null string
        if (length != 0)
            piece = CStringPool::GetStringRefn(start, length);
        if (pieces.Add(piece) == 0)
            return false;
        if (*end == 0)
            return true;
        start = end + 1;
    }
}
// [[end]]

TEST(StringsAndThePool, pieces_keep_all_characters)
{
    CPPoolStringArray pieces(false);
    ASSERT_TRUE(split(L"Hello,world,,", L',', pieces));
    ASSERT_EQ(pieces.GetCount(), 4U);
    EXPECT_TRUE(pieces[0] == L"Hello");
    EXPECT_TRUE(pieces[1] == L"world");
    EXPECT_TRUE(pieces[2].isempty());
    EXPECT_TRUE(pieces[3].isempty());
}

TEST(StringsAndThePool, holder_owns_a_conversion)
{
    // [[holder]]
    CUTF8Char const utf8(L"Gr\u00FC\u00DFe"); // measured, allocated once, converted
    if (!utf8)
        return;                 // the heap is exhausted
    CNQFWChar const wide(utf8); // and back
    bool const same = std::wcscmp(wide, L"Gr\u00FC\u00DFe") == 0;
    // [[end]]
    EXPECT_TRUE(same);
}

// [[bytes]]
// A whole number of groups cannot be decoded, so one or two bytes are added, of which the last says how many they are.
CPPoolString as_text(void const* data, unsigned long size)
{
    unsigned long const added = (size + 1) % 7 == 0 ? 2 : 1;
    CPPlainMemory padded;
    if (padded.Alloc(size + added) == 0)
        return {};
    unsigned char* const bytes = static_cast<unsigned char*>(padded.get_ptr());
    std::memcpy(bytes, data, size);
    std::memset(bytes + size, static_cast<int>(added), added);
    return C3FFFEncoder(padded);
}

CPPlainMemory as_bytes(CPPoolString const& text)
{
    CPPlainMemory bytes = C3FFFDecoder(text);
    unsigned long const size = bytes.GetMemorySize();
    unsigned long const added = size == 0 ? 0 : static_cast<unsigned char const*>(bytes.get_cptr())[size - 1];
    if (added < 1 || added > 2 || added > size || bytes.SetSize(size - added) == 0)
        return {};
    return bytes;
}
// [[end]]

TEST(StringsAndThePool, bytes_of_every_length_come_back)
{
    unsigned char data[64];
    for (unsigned int index = 0; index < sizeof data; ++index)
        data[index] = static_cast<unsigned char>(index * 37);
    for (unsigned long size = 1; size <= sizeof data; ++size)
    {
        CPPlainMemory const bytes = as_bytes(as_text(data, size));
        ASSERT_EQ(bytes.GetMemorySize(), size);
        EXPECT_EQ(std::memcmp(bytes.get_cptr(), data, size), 0);
    }
}

} // namespace
