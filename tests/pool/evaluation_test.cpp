#include "ORVA/String/StringInfo.h"

#include "reference/plain_evaluation.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <clocale>
#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace
{

using ORVA::String::CStringInfo;
using ORVA::String::tagSTRINGBASICINFO;
using Utf8 = unsigned char;
using Utf16 = unsigned short;

constexpr unsigned long all_ones = ~0UL;

CStringInfo const evaluator;
reference::PlainEvaluation const twin;

// Sees the fields, and can make the object not ready.
class OpenInfo : public CStringInfo
{
public:
    using CStringInfo::aTable;
    using CStringInfo::uMask;
    using CStringInfo::uShift;
};

tagSTRINGBASICINFO sentinel()
{
    return {11, 22, 33, 44};
}

testing::AssertionResult holds(tagSTRINGBASICINFO const& info, unsigned long len, unsigned long utf8_size,
                               unsigned long hash, unsigned long folded_hash)
{
    if (info.len == len && info.utf8Size == utf8_size && info.sHash == hash && info.sHashi == folded_hash)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << info.len << " " << info.utf8Size << " " << std::hex << info.sHash << " "
                                       << info.sHashi;
}

testing::AssertionResult same(tagSTRINGBASICINFO const& a, tagSTRINGBASICINFO const& b)
{
    return holds(a, b.len, b.utf8Size, b.sHash, b.sHashi);
}

Utf8 const* utf8(char const* text)
{
    return reinterpret_cast<Utf8 const*>(text);
}

Utf16 const* utf16(char16_t const* text)
{
    return reinterpret_cast<Utf16 const*>(text);
}

// Evaluates what must succeed.
template <class Unit>
tagSTRINGBASICINFO evaluated(Unit const* source)
{
    tagSTRINGBASICINFO info = sentinel();
    EXPECT_EQ(evaluator.Eval(info, source), 1U);
    return info;
}

template <class Unit>
tagSTRINGBASICINFO evaluated(Unit const* source, unsigned long n)
{
    tagSTRINGBASICINFO info = sentinel();
    EXPECT_EQ(evaluator.Eval(info, source, n), 1U);
    return info;
}

// The hash of characters as pairs of bytes, low byte first.
unsigned long bytes_hash(std::vector<unsigned char> const& bytes)
{
    return ORVA::Buffers::CMachineCRC(64, 0x42f0e1eba9ea3693UL).Eval(bytes.data(), bytes.size(), 0);
}

// Sets the process's locale for the length of a test.
class LocaleScope
{
public:
    explicit LocaleScope(char const* name) : m_before(std::setlocale(LC_ALL, nullptr)), m_set(false)
    {
        m_set = std::setlocale(LC_ALL, name) != nullptr;
    }
    ~LocaleScope() { std::setlocale(LC_ALL, m_before.c_str()); }
    LocaleScope(LocaleScope const&) = delete;
    LocaleScope& operator=(LocaleScope const&) = delete;

    bool is_set() const { return m_set; }

private:
    std::string m_before;
    bool m_set;
};

// Text that ends where a page that cannot be read begins.
class PageEnd
{
public:
    PageEnd() : m_page(static_cast<unsigned long>(sysconf(_SC_PAGESIZE)))
    {
        void* const memory = mmap(nullptr, 2 * m_page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        m_memory = memory == MAP_FAILED ? nullptr : static_cast<char*>(memory);
        if (m_memory != nullptr)
            mprotect(m_memory + m_page, m_page, PROT_NONE);
    }
    ~PageEnd()
    {
        if (m_memory != nullptr)
            munmap(m_memory, 2 * m_page);
    }
    PageEnd(PageEnd const&) = delete;
    PageEnd& operator=(PageEnd const&) = delete;

    template <class Unit>
    Unit* last(unsigned long count) const
    {
        return reinterpret_cast<Unit*>(m_memory + m_page) - count;
    }
    bool is_ready() const { return m_memory != nullptr; }

private:
    unsigned long m_page;
    char* m_memory;
};

template <class Source, class... Length>
constexpr bool has_form =
    std::is_same_v<decltype(std::declval<CStringInfo const&>().Eval(std::declval<tagSTRINGBASICINFO&>(),
                                                                    std::declval<Source>(), std::declval<Length>()...)),
                   unsigned int>;
static_assert(has_form<wchar_t const*> && has_form<wchar_t const*, unsigned long>);
static_assert(has_form<Utf8 const*> && has_form<Utf8 const*, unsigned long>);
static_assert(has_form<Utf16 const*> && has_form<Utf16 const*, unsigned long>);
static_assert(std::is_default_constructible_v<CStringInfo>);

TEST(StringInfo, RecordHasFourLongFieldsInOrder)
{
    EXPECT_EQ(offsetof(tagSTRINGBASICINFO, len), 0U);
    EXPECT_EQ(offsetof(tagSTRINGBASICINFO, utf8Size), 8U);
    EXPECT_EQ(offsetof(tagSTRINGBASICINFO, sHash), 16U);
    EXPECT_EQ(offsetof(tagSTRINGBASICINFO, sHashi), 24U);
    EXPECT_EQ(sizeof(tagSTRINGBASICINFO), 32U);
}

TEST(StringInfo, EvaluatorIsACheckOfWidth64WithTheLibrarysPolynomial)
{
    OpenInfo const info;
    EXPECT_EQ(info.uShift, 56U);
    EXPECT_EQ(info.uMask, all_ones);
    EXPECT_EQ(info.aTable[1], 0x42f0e1eba9ea3693UL);
    EXPECT_EQ(evaluator.Eval("123456789", 9, 0), 0x6C40DF5F0B497347UL);
    EXPECT_TRUE((std::is_base_of_v<ORVA::Buffers::CMachineCRC, CStringInfo>));
    EXPECT_EQ(sizeof(CStringInfo), sizeof(ORVA::Buffers::CMachineCRC));
}

TEST(StringInfo, EmptyTextGivesAllZeroesAndOneInEveryForm)
{
    EXPECT_TRUE(holds(evaluated(L""), 0, 0, 0, 0));
    EXPECT_TRUE(holds(evaluated(utf8("")), 0, 0, 0, 0));
    EXPECT_TRUE(holds(evaluated(utf16(u"")), 0, 0, 0, 0));
    EXPECT_TRUE(holds(evaluated(L"", 5), 0, 0, 0, 0));
    EXPECT_TRUE(holds(evaluated(utf8(""), 5), 0, 0, 0, 0));
    EXPECT_TRUE(holds(evaluated(utf16(u""), 5), 0, 0, 0, 0));
}

TEST(StringInfo, LengthBelowOneAsASignedNumberIsAnEmptyTextInEveryBoundedForm)
{
    for (unsigned long n : {0UL, all_ones, all_ones - 1, 1UL << 63, (1UL << 63) + 5})
    {
        EXPECT_TRUE(holds(evaluated(L"Hello", n), 0, 0, 0, 0)) << n;
        EXPECT_TRUE(holds(evaluated(utf8("Hello"), n), 0, 0, 0, 0)) << n;
        EXPECT_TRUE(holds(evaluated(utf16(u"Hello"), n), 0, 0, 0, 0)) << n;
        // The text is not looked at.
        EXPECT_TRUE(holds(evaluated(utf8("\xFF"), n), 0, 0, 0, 0)) << n;
        EXPECT_TRUE(holds(evaluated(static_cast<wchar_t const*>(nullptr), n), 0, 0, 0, 0)) << n;
    }
}

TEST(StringInfo, GreatestSignedLengthsAreNoLimit)
{
    for (unsigned long n : {static_cast<unsigned long>(LONG_MAX), 1UL << 62, 1UL << 61, 1UL << 48})
    {
        EXPECT_TRUE(same(evaluated(L"Hello", n), evaluated(L"Hello"))) << n;
        EXPECT_TRUE(same(evaluated(utf8("Hello"), n), evaluated(L"Hello"))) << n;
        EXPECT_TRUE(same(evaluated(utf16(u"Hello"), n), evaluated(L"Hello"))) << n;
    }
}

TEST(StringInfo, CharactersEnterTheHashesLowByteFirst)
{
    tagSTRINGBASICINFO const info = evaluated(L"A\x3042z");
    EXPECT_TRUE(
        holds(info, 3, 5, bytes_hash({0x41, 0, 0x42, 0x30, 0x7A, 0}), bytes_hash({0x61, 0, 0x42, 0x30, 0x7A, 0})));
}

TEST(StringInfo, FirstCharacterGivesTheHashesOfItsTwoBytes)
{
    // From a register of 0, the low byte's entry and one step more.
    OpenInfo const info;
    unsigned long const low = info.aTable[0x34];
    unsigned long const expected = info.aTable[((low >> 56) ^ 0x12) & 255] ^ low << 8;
    EXPECT_TRUE(holds(evaluated(L"\x1234"), 1, 3, expected, expected));
}

TEST(StringInfo, HelloAndItsLowerCaseAgreeInTheInsensitiveHashOnly)
{
    tagSTRINGBASICINFO const capital = evaluated(L"Hello");
    tagSTRINGBASICINFO const small = evaluated(L"hello");
    EXPECT_EQ(capital.sHashi, small.sHashi);
    EXPECT_NE(capital.sHash, small.sHash);
    EXPECT_EQ(small.sHash, small.sHashi);
    EXPECT_EQ(capital.len, 5U);
    EXPECT_EQ(capital.utf8Size, 5U);
}

TEST(StringInfo, EveryFormAgreesOnAsciiText)
{
    tagSTRINGBASICINFO const expected = evaluated(L"The Quick brown FOX.txt");
    EXPECT_TRUE(same(evaluated(utf8("The Quick brown FOX.txt")), expected));
    EXPECT_TRUE(same(evaluated(utf16(u"The Quick brown FOX.txt")), expected));
    EXPECT_TRUE(same(evaluated(L"The Quick brown FOX.txt and more", 23), expected));
    EXPECT_TRUE(same(evaluated(utf8("The Quick brown FOX.txt and more"), 23), expected));
    EXPECT_TRUE(same(evaluated(utf16(u"The Quick brown FOX.txt and more"), 23), expected));
    EXPECT_EQ(expected.len, 23U);
}

TEST(StringInfo, EveryFormAgreesOnTextBelow0x10000)
{
    tagSTRINGBASICINFO const expected = evaluated(L"Gr\u00FC\u00DFe \u3042\uFFFD\u0416x");
    EXPECT_TRUE(same(evaluated(utf8("Gr\xC3\xBC\xC3\x9F"
                                    "e \xE3\x81\x82\xEF\xBF\xBD\xD0\x96x")),
                     expected));
    EXPECT_TRUE(same(evaluated(utf16(u"Gr\u00FC\u00DFe \u3042\uFFFD\u0416x")), expected));
    EXPECT_EQ(expected.len, 10U);
    EXPECT_EQ(expected.utf8Size, 2U + 4 + 2 + 6 + 2 + 1);
}

TEST(StringInfo, BoundedFormsEndAtTheZeroOrAtTheLength)
{
    for (unsigned long n = 1; n <= 12; ++n)
    {
        unsigned long const length = n < 5 ? n : 5;
        tagSTRINGBASICINFO const expected = evaluated(std::wstring(L"Hello").substr(0, length).c_str());
        EXPECT_EQ(expected.len, length);
        EXPECT_TRUE(same(evaluated(L"Hello\0World!", n), expected)) << n;
        EXPECT_TRUE(same(evaluated(utf8("Hello\0World!"), n), expected)) << n;
        EXPECT_TRUE(same(evaluated(utf16(u"Hello\0World!"), n), expected)) << n;
    }
}

TEST(StringInfo, WideSizesInUtf8ChangeAtTheirBounds)
{
    struct Case
    {
        unsigned int character;
        unsigned long size;
    };
    for (Case const& c : {Case{1, 1}, Case{0x7F, 1}, Case{0x80, 2}, Case{0x7FF, 2}, Case{0x800, 3}, Case{0xD800, 3},
                          Case{0xFFFF, 3}, Case{0x10000, 4}, Case{0x1F600, 4}, Case{0x10FFFF, 4}, Case{0x110000, 0},
                          Case{0x7FFFFFFF, 0}, Case{0x80000000, 0}, Case{0x80000041, 0}, Case{0xFFFFFFFF, 0}})
    {
        wchar_t const text[] = {L'x', static_cast<wchar_t>(c.character), L'y', 0};
        tagSTRINGBASICINFO const info = evaluated(text);
        EXPECT_EQ(info.len, 3U) << c.character;
        EXPECT_EQ(info.utf8Size, 2 + c.size) << c.character;
        EXPECT_TRUE(same(evaluated(text, 3), info)) << c.character;
    }
}

TEST(StringInfo, OnlyTheLowSixteenBitsOfACharacterAreHashedAndOnlyThoseBelow0x10000Folded)
{
    tagSTRINGBASICINFO const a = evaluated(L"A");
    for (unsigned int high : {1U, 0x10U, 0x11U, 0x8000U, 0xFFFFU})
    {
        wchar_t const text[] = {static_cast<wchar_t>(high << 16 | 0x41), 0};
        tagSTRINGBASICINFO const info = evaluated(text);
        EXPECT_EQ(info.sHash, a.sHash);
        EXPECT_EQ(info.sHashi, a.sHash);
        EXPECT_NE(info.sHashi, a.sHashi);
    }
}

TEST(StringInfo, FoldingIsThePlatformsMappingForEveryCharacterBelow0x10000)
{
    for (char const* locale : {"C", "C.UTF-8"})
    {
        LocaleScope const scope(locale);
        ASSERT_TRUE(scope.is_set()) << locale;
        for (unsigned int c = 1; c < 0x10000; ++c)
        {
            wchar_t const text[] = {static_cast<wchar_t>(c), 0};
            tagSTRINGBASICINFO expected;
            twin(expected, text);
            ASSERT_TRUE(same(evaluated(text), expected)) << locale << " " << c;
            Utf16 const unit[] = {static_cast<Utf16>(c), 0};
            tagSTRINGBASICINFO info = sentinel();
            if (c >> 11 == 27)
                ASSERT_EQ(evaluator.Eval(info, unit), 0U) << c;
            else
                ASSERT_TRUE(same(evaluated(unit), expected)) << locale << " " << c;
        }
    }
}

TEST(StringInfo, AccentedCapitalsAreFoldedWhereTheLocaleKnowsThem)
{
    LocaleScope const scope("C.UTF-8");
    ASSERT_TRUE(scope.is_set());
    EXPECT_EQ(evaluated(L"\u00C9T\u00C9").sHashi, evaluated(L"\u00E9t\u00E9").sHash);
    EXPECT_NE(evaluated(L"\u00C9T\u00C9").sHash, evaluated(L"\u00E9t\u00E9").sHash);
}

TEST(StringInfo, Utf8SizeIsTheNumberOfSourceBytes)
{
    // An overlong 0, whose value leaves the register at 0.
    EXPECT_TRUE(holds(evaluated(utf8("\xC0\x80")), 1, 2, 0, 0));
    // An overlong "A": the value is folded and hashed.
    EXPECT_TRUE(holds(evaluated(utf8("\xE0\x81\x81")), 1, 3, evaluated(L"A").sHash, evaluated(L"a").sHash));
    EXPECT_TRUE(holds(evaluated(utf8("\xF0\x80\x81\x81")), 1, 4, evaluated(L"A").sHash, evaluated(L"a").sHash));
    EXPECT_TRUE(holds(evaluated(utf8("\xC1\x81")), 1, 2, evaluated(L"A").sHash, evaluated(L"a").sHash));
}

TEST(StringInfo, Utf8AdmitsEncodedSurrogatesAndValuesUpTo0x13FFFF)
{
    unsigned long const surrogate = bytes_hash({0x00, 0xD8});
    EXPECT_TRUE(holds(evaluated(utf8("\xED\xA0\x80")), 1, 3, surrogate, surrogate));
    unsigned long const greatest = bytes_hash({0xFF, 0xFF});
    EXPECT_TRUE(holds(evaluated(utf8("\xF4\xBF\xBF\xBF")), 1, 4, greatest, greatest));
    unsigned long const smile = bytes_hash({0x00, 0xF6});
    EXPECT_TRUE(holds(evaluated(utf8("\xF0\x9F\x98\x80")), 1, 4, smile, smile));
    EXPECT_TRUE(holds(evaluated(utf8("\xF0\x9F\x98\x80"), 4), 1, 4, smile, smile));
}

TEST(StringInfo, ForbiddenUtf8FailsAndLeavesTheInfoAsItWas)
{
    for (char const* text : {"\x41\xFF",
                             "\xFF",
                             "\x80",
                             "\xBF",
                             "A\x80",
                             "\xF5\x80\x80\x80",
                             "\xC3",
                             "\xC3"
                             "A",
                             "\xC3\xC3\xA9",
                             "\xE2\x82",
                             "\xE2\x82"
                             "A",
                             "\xE2"
                             "A\x82",
                             "\xF0\x9F\x98",
                             "\xF0\x9F\x98"
                             "A",
                             "\xF0\x9F"
                             "A\x80",
                             "\xF0"
                             "A\x98\x80",
                             "12345678\xC3",
                             "1234567812345678\xFF",
                             "\xC3\xA9\xFF",
                             "ABCDEFGHABCDEFGHABCDEFGH\x80xyz"})
    {
        tagSTRINGBASICINFO info = sentinel();
        EXPECT_EQ(evaluator.Eval(info, utf8(text)), 0U) << text;
        EXPECT_TRUE(same(info, sentinel())) << text;
        EXPECT_EQ(evaluator.Eval(info, utf8(text), std::strlen(text)), 0U) << text;
        EXPECT_TRUE(same(info, sentinel())) << text;
    }
}

TEST(StringInfo, Utf8SequenceThatCrossesTheBoundFailsAndOneThatEndsThereDoesNot)
{
    tagSTRINGBASICINFO info = sentinel();
    EXPECT_EQ(evaluator.Eval(info, utf8("\x41\xC3\xA9"), 2), 0U);
    EXPECT_TRUE(same(info, sentinel()));
    EXPECT_TRUE(same(evaluated(utf8("\x41\xC3\xA9"), 3), evaluated(L"A\u00E9")));
    EXPECT_TRUE(same(evaluated(utf8("\x41\xC3\xA9"), 1), evaluated(L"A")));
    for (unsigned long n = 2; n <= 4; ++n)
        EXPECT_EQ(evaluator.Eval(info, utf8("A\xF0\x9F\x98\x80"), n), 0U);
    EXPECT_TRUE(same(info, sentinel()));
}

TEST(StringInfo, Utf16PairIsOneCharacterOfValueOneOrZeroAndOneByte)
{
    tagSTRINGBASICINFO const one = evaluated(L"\x01");
    for (char16_t const* text : {u"\xD83D\xDE00", u"\xD801\xDC00", u"\xD800\xDC01", u"\xDBFF\xDFFF", u"\xD800\xDBFF",
                                 u"\xD800\xE001", u"\xD800\xFFFF", u"\xD801\xE000"})
    {
        EXPECT_TRUE(holds(evaluated(utf16(text)), 1, 1, one.sHash, one.sHash));
        EXPECT_TRUE(holds(evaluated(utf16(text), 2), 1, 1, one.sHash, one.sHash));
    }
    for (char16_t const* text : {u"\xD800\xDC00", u"\xD800\xE000", u"\xD800\xF000"})
        EXPECT_TRUE(holds(evaluated(utf16(text)), 1, 1, 0, 0));
    // In the middle of text, as a character of its own.
    wchar_t const with_one[] = {L'A', 1, L'b', 0};
    EXPECT_TRUE(same(evaluated(utf16(u"A\xD83D\xDE00"
                                     u"b")),
                     evaluated(with_one)));
}

TEST(StringInfo, Utf16SizesInUtf8ChangeAtTheirBounds)
{
    struct Case
    {
        Utf16 unit;
        unsigned long size;
    };
    for (Case const& c : {Case{1, 1}, Case{0x7F, 1}, Case{0x80, 2}, Case{0x7FF, 2}, Case{0x800, 3}, Case{0xD7FF, 3},
                          Case{0xE000, 3}, Case{0xFFFF, 3}})
    {
        Utf16 const text[] = {'x', c.unit, 0};
        tagSTRINGBASICINFO const info = evaluated(text);
        EXPECT_EQ(info.len, 2U) << c.unit;
        EXPECT_EQ(info.utf8Size, 1 + c.size) << c.unit;
    }
}

TEST(StringInfo, ForbiddenUtf16FailsAndLeavesTheInfoAsItWas)
{
    for (char16_t const* text : {u"\xDC00", u"\xDFFF", u"A\xDC00", u"\xD800\x0041", u"\xD800\xD800", u"\xD800\xDBFE",
                                 u"\xDBFF\xDBFE", u"\xD800", u"A\xD83D", u"ABCDEFGHIJKL\xDC00"})
    {
        tagSTRINGBASICINFO info = sentinel();
        EXPECT_EQ(evaluator.Eval(info, utf16(text)), 0U);
        EXPECT_TRUE(same(info, sentinel()));
        EXPECT_EQ(evaluator.Eval(info, utf16(text), 100), 0U);
        EXPECT_TRUE(same(info, sentinel()));
    }
}

TEST(StringInfo, Utf16PairThatCrossesTheBoundFails)
{
    tagSTRINGBASICINFO info = sentinel();
    EXPECT_EQ(evaluator.Eval(info, utf16(u"A\xD83D\xDE00"), 2), 0U);
    EXPECT_TRUE(same(info, sentinel()));
    EXPECT_EQ(evaluated(utf16(u"A\xD83D\xDE00"), 3).len, 2U);
    EXPECT_EQ(evaluated(utf16(u"A\xD83D\xDE00"), 1).len, 1U);
}

// An evaluator without a mask, as it stands in memory of zeros before its construction.
OpenInfo make_not_ready()
{
    OpenInfo info;
    info.uMask = 0;
    return info;
}

TEST(StringInfo, NotReadyGivesNoLengthsAndHashesOfAllOnesInEveryForm)
{
    OpenInfo const open = make_not_ready();
    CStringInfo const& not_ready = open;
    auto const check = [&not_ready](auto const*... arguments)
    {
        tagSTRINGBASICINFO info = sentinel();
        EXPECT_EQ(not_ready.Eval(info, arguments...), 0U);
        EXPECT_TRUE(holds(info, 0, 0, all_ones, all_ones));
        info = sentinel();
        EXPECT_EQ(not_ready.Eval(info, arguments..., 3UL), 0U);
        EXPECT_TRUE(holds(info, 0, 0, all_ones, all_ones));
    };
    check(L"Hello");
    check(utf8("Hello"));
    check(utf16(u"Hello"));
    check(utf8("\xFF"));
    check(utf16(u"\xDC00"));
}

TEST(StringInfo, NotReadyIsSeenBeforeAnEmptyTextInTheFormsWithoutABound)
{
    OpenInfo const open = make_not_ready();
    CStringInfo const& not_ready = open;
    auto const check = [&not_ready](auto const* source)
    {
        tagSTRINGBASICINFO info = sentinel();
        EXPECT_EQ(not_ready.Eval(info, source), 0U);
        EXPECT_TRUE(holds(info, 0, 0, all_ones, all_ones));
    };
    check(L"");
    check(utf8(""));
    check(utf16(u""));
}

TEST(StringInfo, EmptyTextIsSeenBeforeNotReadyInTheBoundedForms)
{
    OpenInfo const open = make_not_ready();
    CStringInfo const& not_ready = open;
    auto const check = [&not_ready](auto const* empty, auto const* text)
    {
        tagSTRINGBASICINFO info = sentinel();
        EXPECT_EQ(not_ready.Eval(info, empty, 3UL), 1U);
        EXPECT_TRUE(holds(info, 0, 0, 0, 0));
        for (unsigned long n : {0UL, all_ones, 1UL << 63})
        {
            info = sentinel();
            EXPECT_EQ(not_ready.Eval(info, text, n), 1U) << n;
            EXPECT_TRUE(holds(info, 0, 0, 0, 0)) << n;
        }
    };
    check(L"", L"Hello");
    check(utf8(""), utf8("Hello"));
    check(utf16(u""), utf16(u"Hello"));
}

TEST(StringInfo, CharactersOfAsciiOutsideTheLettersAreNotFolded)
{
    for (wchar_t c = 1; c < 0x80; ++c)
    {
        wchar_t const text[] = {c, 0};
        tagSTRINGBASICINFO const info = evaluated(text);
        EXPECT_EQ(info.sHash != info.sHashi, c >= L'A' && c <= L'Z') << static_cast<int>(c);
    }
}

TEST(StringInfo, NothingBehindTheTextIsRead)
{
    PageEnd const page;
    ASSERT_TRUE(page.is_ready());
    for (unsigned long length = 0; length <= 80; ++length)
    {
        wchar_t* const wide = page.last<wchar_t>(length + 1);
        std::fill_n(wide, length, L'Q');
        wide[length] = 0;
        tagSTRINGBASICINFO const expected = evaluated(wide);
        ASSERT_EQ(expected.len, length);
        wchar_t* const wide_limited = page.last<wchar_t>(length);
        std::fill_n(wide_limited, length, L'Q');
        ASSERT_TRUE(same(evaluated(wide_limited, length), expected));

        Utf8* const bytes = page.last<Utf8>(length + 1);
        std::fill_n(bytes, length, Utf8{'Q'});
        bytes[length] = 0;
        ASSERT_TRUE(same(evaluated(bytes), expected));
        Utf8* const bytes_limited = page.last<Utf8>(length);
        std::fill_n(bytes_limited, length, Utf8{'Q'});
        ASSERT_TRUE(same(evaluated(bytes_limited, length), expected));

        Utf16* const units = page.last<Utf16>(length + 1);
        std::fill_n(units, length, Utf16{'Q'});
        units[length] = 0;
        ASSERT_TRUE(same(evaluated(units), expected));
        Utf16* const units_limited = page.last<Utf16>(length);
        std::fill_n(units_limited, length, Utf16{'Q'});
        ASSERT_TRUE(same(evaluated(units_limited, length), expected));
    }
}

TEST(StringInfo, SequencesThatTheEndCutsAreNotReadOn)
{
    PageEnd const page;
    ASSERT_TRUE(page.is_ready());
    tagSTRINGBASICINFO info = sentinel();
    Utf8* const bytes = page.last<Utf8>(2);
    for (Utf8 lead : {Utf8{0xE2}, Utf8{0xF0}})
    {
        bytes[0] = lead;
        bytes[1] = 0x90;
        EXPECT_EQ(evaluator.Eval(info, bytes, 2), 0U);
    }
    Utf16* const units = page.last<Utf16>(1);
    units[0] = 0xD800;
    EXPECT_EQ(evaluator.Eval(info, units, 1), 0U);
    EXPECT_TRUE(same(info, sentinel()));
}

} // namespace
