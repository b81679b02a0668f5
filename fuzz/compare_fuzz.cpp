// Comparing and searching: every comparison of texts and of pooled strings, with and without case, gives what the plain
// ones give, whether the texts have anything in common or not, and reads no more than the texts.
#include "fuzz/harness.h"

#include "ORVA/String/PoolString.h"
#include "ORVA/String/WideText.h"

#include "reference/plain_text_compare.h"

#include <cwctype>

using namespace ORVA::String;

namespace
{

wchar_t lower(wchar_t character)
{
    return static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(character)));
}

wchar_t upper(wchar_t character)
{
    return static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(character)));
}

// A text of its own, or a piece of `text` with some characters in another case, so that most are found.
std::wstring draw_part(fuzz::Input& input, std::wstring const& text)
{
    unsigned long const start = input.byte();
    if (start > text.size())
        return input.text();
    std::wstring part = text.substr(start, input.byte());
    unsigned long const changes = input.number(2);
    for (unsigned long index = 0; index < part.size() && index < 16; ++index)
    {
        if ((changes >> index & 1) != 0)
            part[index] = lower(part[index]) == part[index] ? upper(part[index]) : lower(part[index]);
    }
    return part + input.text();
}

void check_mapping(std::wstring const& text)
{
    fuzz::Guarded<wchar_t> lowered(text.size() + 1);
    fuzz::Guarded<wchar_t> raised(text.size() + 1);
    std::copy_n(text.c_str(), text.size() + 1, lowered.get());
    std::copy_n(text.c_str(), text.size() + 1, raised.get());
    wcslower(lowered.get());
    wcsupper(raised.get());
    REQUIRE(lowered.is_intact() && raised.is_intact());
    for (unsigned long index = 0; index < text.size(); ++index)
    {
        REQUIRE(lowered.get()[index] == lower(text[index]) && wctolower(text[index]) == lower(text[index]));
        REQUIRE(raised.get()[index] == upper(text[index]) && wctoupper(text[index]) == upper(text[index]));
    }
    REQUIRE(lowered.get()[text.size()] == 0 && raised.get()[text.size()] == 0);
}

void check_wide(std::wstring const& text, std::wstring const& other, unsigned long limit)
{
    fuzz::Exact<wchar_t> const a = fuzz::terminated<wchar_t>(text);
    fuzz::Exact<wchar_t> const b = fuzz::terminated<wchar_t>(other);
    REQUIRE(wcscmpi(a, b) == reference::plain_whole(text, other, true));
    unsigned long const shorter = std::min(text.size(), other.size()) + 1;
    int const count = static_cast<int>(static_cast<unsigned int>(limit));
    REQUIRE(wcsncmpi(a, b, limit) ==
            (count < 1 ? 0
                       : reference::plain_difference(text, other, std::min(shorter, static_cast<unsigned long>(count)),
                                                     true)));
    REQUIRE(wccmpi(*a, *b) == (*a == *b ? 0 : reference::plain_difference(text, other, 1, true)));
    REQUIRE(wcscmpi(a, a) == 0 && wcsncmpi(a, a, limit) == 0);
    REQUIRE(wcscmpi(a, nullptr) == -1 && wcscmpi(nullptr, a) == 1 && wcsncmpi(nullptr, a, limit) == 1);
    REQUIRE(wcscount(a, *b) == (*b == 0 ? 0UL : static_cast<unsigned long>(std::count(text.begin(), text.end(), *b))));

    REQUIRE(wcscnt(a, b) == reference::plain_contains(text, other, false));
    REQUIRE(wcscnti(a, b) == reference::plain_contains(text, other, true));
    std::wstring const beginning = static_cast<long>(limit) < 1 ? std::wstring() : text.substr(0, limit);
    REQUIRE(wcsncnt(a, b, limit) == reference::plain_contains(beginning, other, false));
    REQUIRE(wcsncnti(a, b, limit) == reference::plain_contains(beginning, other, true));
    REQUIRE(wcscnt(a, a) == 1 && wcscnti(a, a) == 1 && wcsncnt(a, a, limit) == 1);

    // Nothing is read beyond a limit.
    if (limit != 0 && limit <= text.size())
    {
        fuzz::Exact<wchar_t> const cut(text.data(), limit);
        REQUIRE(wcsncnt(cut, b, limit) == reference::plain_contains(beginning, other, false));
        REQUIRE(wcsncnti(cut, b, limit) == reference::plain_contains(beginning, other, true));
    }
}

void check_pooled(std::wstring const& text, std::wstring const& other)
{
    CPPoolString const a(text.c_str());
    CPPoolString const b(other.c_str());
    fuzz::Exact<wchar_t> const plain = fuzz::terminated<wchar_t>(other);
    REQUIRE(*a == text && *b == other && (a == b) == (text == other) && (a != b) == (text != other));
    REQUIRE((a == plain) == (text == other) && (a != plain) == (text != other));
    for (bool const folded : {false, true})
    {
        int const whole = reference::plain_whole(text, other, folded);
        REQUIRE((folded ? a.cmpi(b) : a.cmp(b)) == whole && (folded ? a.cmpi(plain) : a.cmp(plain)) == whole);
        int const beginning = reference::plain_beginning(text, other, folded);
        REQUIRE((folded ? a.cmppi(b) : a.cmpp(b)) == beginning);
        REQUIRE((folded ? a.cmppi(plain) : a.cmpp(plain)) == beginning);
        int const end = reference::plain_end(text, other, folded);
        REQUIRE((folded ? a.cmp_pi(b) : a.cmp_p(b)) == end && (folded ? a.cmp_pi(plain) : a.cmp_p(plain)) == end);
        bool const contained = reference::plain_contains(text, other, folded);
        REQUIRE((folded ? a.cnti(plain) : a.cnt(plain)) == contained);
        // One text twice contains itself, the empty one too.
        REQUIRE((folded ? a.cnti(b) : a.cnt(b)) == (contained || (text.empty() && other.empty())));
    }
    REQUIRE(a.cmp(nullptr) == 1 && a.cmpi(nullptr) == -1 && a.cmpp(nullptr) == 1 && a.cmppi(nullptr) == -1);
    REQUIRE(!a.cnt(nullptr) && !a.cnti(nullptr));
    REQUIRE(a.iequals(b) == (text.size() == other.size() && reference::plain_whole(text, other, true) == 0));
    REQUIRE(a.pcmp(b) == -b.pcmp(a) && (a.pcmp(b) == 0) == (text == other));
    REQUIRE(a.Verify() == 1 && b.Verify() == 1);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::use_rich_locale();
    fuzz::Input input(data, size);
    unsigned long const limit = input.byte() < 0xF0 ? input.byte() : fuzz::no_limit << (input.byte() % 64);
    // The pool tells characters apart by 16 bits.
    unsigned int const mask = input.byte() % 2 != 0 ? 0xFFFF : ~0U;
    std::wstring const text = input.text(fuzz::no_limit, mask);
    std::wstring other = draw_part(input, text);
    std::for_each(other.begin(), other.end(),
                  [mask](wchar_t& character)
                  { character = static_cast<wchar_t>(static_cast<unsigned int>(character) & mask); });
    other.resize(std::min(other.find(L'\0'), other.size()));
    check_mapping(text);
    check_wide(text, other, limit);
    check_wide(other, text, limit);
    if (mask == 0xFFFF)
    {
        check_pooled(text, other);
        check_pooled(other, text);
        fuzz::tidy_pool();
    }
    return 0;
}
