// The evaluation of texts: every kernel and the plain one agree on any text, bounded or not, and one text gives one
// result in all of its encodings.
#include "fuzz/harness.h"

#include "ORVA/String/StringInfo.h"
#include "cstringpool/evaluation_kernels.h"

#include "reference/plain_codecs.h"
#include "reference/plain_evaluation.h"

namespace
{

namespace evaluation = ORVA::String::evaluation;
using Info = ORVA::String::tagSTRINGBASICINFO;

bool same(Info const& a, Info const& b)
{
    return a.len == b.len && a.utf8Size == b.utf8Size && a.sHash == b.sHash && a.sHashi == b.sHashi;
}

ORVA::String::CStringInfo const& evaluator()
{
    static ORVA::String::CStringInfo const instance;
    return instance;
}

reference::PlainEvaluation const& twin()
{
    static reference::PlainEvaluation const instance;
    return instance;
}

constexpr evaluation::CaseMapping unknown_mapping = {ORVA::String::OS::rune_tolower, [] { return false; }};

constexpr Info before = {11, 22, 33, 44};

// What `text`, which may have a 0 inside, is evaluated to.
template <class Unit>
Info check(std::vector<Unit> const& text, unsigned long bound)
{
    fuzz::Exact<Unit> const whole = fuzz::terminated<Unit>(text);
    Info expected = before;
    unsigned int const result = twin()(expected, whole.get());
    Info found = before;
    REQUIRE(evaluator().Eval(found, whole.get()) == result && same(found, expected));

    // Words are read wherever a text begins.
    unsigned long const offset = bound % 16 / sizeof(Unit);
    auto const end = std::find(text.begin(), text.end(), Unit(0));
    fuzz::Exact<Unit> const before_zero(std::vector<Unit>(text.begin(), end), offset);
    evaluation::Kernels const kernels = evaluation::available_kernels();
    for (unsigned int index = 0; index < kernels.count; ++index)
    {
        // Capitals go character by character where the mapping of ASCII is not known to be plain.
        for (evaluation::CaseMapping const& mapping : {evaluation::platform_mapping, unknown_mapping})
        {
            found = before;
            REQUIRE(evaluation::evaluate(*kernels.entry[index], mapping, found, before_zero.get(),
                                         static_cast<unsigned long>(end - text.begin())) == result);
            REQUIRE(same(found, expected));
        }
    }

    // Nothing is read beyond a bound, and a bound of 0 or with the top bit set means an empty text.
    fuzz::Exact<Unit> const exact(text, offset);
    for (unsigned long const n : {text.size(), std::min(bound, text.size())})
    {
        Info bounded = before;
        unsigned int const bounded_result = twin()(bounded, whole.get(), n);
        found = before;
        REQUIRE(evaluator().Eval(found, exact.get(), n) == bounded_result && same(found, bounded));
    }
    // With no bound in effect, however large it is.
    for (unsigned long const n : {fuzz::no_limit >> 1, (fuzz::no_limit >> 1) / sizeof(Unit)})
    {
        found = before;
        REQUIRE(evaluator().Eval(found, whole.get(), n) == result && same(found, expected));
    }
    found = before;
    REQUIRE(evaluator().Eval(found, exact.get(), fuzz::no_limit - bound) == 1 && same(found, Info{0, 0, 0, 0}));
    return expected;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::use_rich_locale();
    fuzz::Input input(data, size);
    unsigned long const kind = input.below(3);
    unsigned long const bound = input.number(2);
    if (kind == 1)
        return check(input.bytes(), bound), 0;
    if (kind == 2)
        return check(input.units<unsigned short>(), bound), 0;

    std::wstring const text = input.text();
    Info const info = check(std::vector<wchar_t>(text.begin(), text.end()), bound);
    fuzz::Bytes utf8;
    std::vector<unsigned short> utf16;
    bool has_utf8 = true;
    bool has_utf16 = true;
    for (wchar_t const character : text)
    {
        auto const value = static_cast<unsigned int>(character);
        unsigned char form[4];
        unsigned int const count = plain::encode_utf8(form, value);
        utf8.insert(utf8.end(), form, form + count);
        has_utf8 = has_utf8 && count != 0;
        utf16.push_back(static_cast<unsigned short>(value));
        has_utf16 = has_utf16 && (value < 0xD800 || (value > 0xDFFF && value < 0x10000));
    }
    if (has_utf8)
        REQUIRE(same(check(utf8, bound), info) && info.utf8Size == utf8.size());
    if (has_utf16)
        REQUIRE(same(check(utf16, bound), info));
    REQUIRE(info.len == text.size());
    return 0;
}
