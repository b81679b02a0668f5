#include "lookup_rate.h"

#include <algorithm>
#include <random>

namespace catalog
{

namespace
{

using namespace ORVA;

// Calls `find` with one name after the other, round and round, and counts the calls that answer false. A few names are
// soon done; of many, the time is the limit.
template <class Find>
unsigned long measure(NameList const& names, unsigned long& wrong, Find find)
{
    constexpr unsigned long nanoseconds = 100'000'000;
    constexpr unsigned long rounds = 1000;
    constexpr unsigned long characters_between_looks_at_the_clock = 16'384;

    unsigned long const start = Develop::_steady_clock_now();
    unsigned long elapsed = 0;
    unsigned long lookups = 0;
    unsigned long index = 0;
    while (elapsed < nanoseconds && lookups < rounds * names.GetCount())
    {
        for (unsigned long characters = 0; characters < characters_between_looks_at_the_clock;)
        {
            String::CPPoolString const& text = names[index]->text;
            if (!find(text))
                ++wrong;
            ++lookups;
            characters += text.len();
            index = index + 1 < names.GetCount() ? index + 1 : 0;
        }
        elapsed = std::max(Develop::_steady_clock_now() - start, 1UL);
    }
    return static_cast<unsigned long>(static_cast<double>(lookups) * 1e9 / static_cast<double>(elapsed));
}

} // namespace

LookupRates measure_lookups(NameList& names)
{
    LookupRates rates;
    if (names.GetCount() == 0)
        return rates;
    std::shuffle(names.begin(), names.end(), std::mt19937_64(20'000));

    // The UTF-8 form of a string is made when it is first asked for, and kept: that is not part of a look-up.
    for (Name const* name : names)
        static_cast<void>(static_cast<unsigned char const*>(name->text));

    rates.utf8 = measure(names, rates.wrong,
                         [](String::CPPoolString const& text)
                         {
                             return String::CPPoolString(String::CStringPool::QueryStringRefn(
                                        static_cast<unsigned char const*>(text), text.UTF8Size())) == text;
                         });
    rates.wide =
        measure(names, rates.wrong,
                [](String::CPPoolString const& text)
                { return String::CPPoolString(String::CStringPool::QueryStringRefn(*text, text.len())) == text; });
    rates.ignoring_case =
        measure(names, rates.wrong,
                [](String::CPPoolString const& text) {
                    return String::CPPoolString(String::CStringPool::QueryStringRefni(*text, text.len())).sHashi() ==
                           text.sHashi();
                });
    return rates;
}

} // namespace catalog
