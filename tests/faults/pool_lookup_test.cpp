// The look-ups of the pool without memory.
#include "faults/pool_faults.h"

#include "ORVA/String/Submitters.h"

namespace
{

using namespace pool_faults;
using faults::fail_each_allocation;
using faults::Undisturbed;

Form const gets[] = {
    {"GetStringRef, wide", [](std::wstring const& text) { return CStringPool::GetStringRef(text.c_str()); }},
    {"GetStringRef, UTF-8", [](std::wstring const& text) { return CStringPool::GetStringRef(in_utf8(text).c_str()); }},
    {"GetStringRefn, wide",
     [](std::wstring const& text) { return CStringPool::GetStringRefn(text.c_str(), text.size()); }},
    {"GetStringRefn, UTF-8",
     [](std::wstring const& text) { return CStringPool::GetStringRefn(in_utf8(text).c_str(), text.size()); }},
    {"GetStringRefn, UTF-16", [](std::wstring const& text)
     { return CStringPool::GetStringRefn(in_units<unsigned short>(text).c_str(), text.size()); }},
    {"GetStringRef, submitter",
     [](std::wstring const& text)
     {
         SubmitterProbe submitter(text);
         return CStringPool::GetStringRef(&submitter);
     }},
};

Form const folded_gets[] = {
    {"GetStringRefi, wide", [](std::wstring const& text) { return CStringPool::GetStringRefi(text.c_str()); }},
    {"GetStringRefi, UTF-8",
     [](std::wstring const& text) { return CStringPool::GetStringRefi(in_utf8(text).c_str()); }},
    {"GetStringRefni, wide",
     [](std::wstring const& text) { return CStringPool::GetStringRefni(text.c_str(), text.size()); }},
    {"GetStringRefni, UTF-8",
     [](std::wstring const& text) { return CStringPool::GetStringRefni(in_utf8(text).c_str(), text.size()); }},
};

// Only these make a key of their own.
Form const queries[] = {
    {"QueryStringRef, UTF-8",
     [](std::wstring const& text) { return CStringPool::QueryStringRef(in_utf8(text).c_str()); }},
    {"QueryStringRefn, UTF-8",
     [](std::wstring const& text) { return CStringPool::QueryStringRefn(in_utf8(text).c_str(), text.size()); }},
    {"QueryStringRefi, UTF-8",
     [](std::wstring const& text) { return CStringPool::QueryStringRefi(in_utf8(text).c_str()); }},
    {"QueryStringRefni, UTF-8",
     [](std::wstring const& text) { return CStringPool::QueryStringRefni(in_utf8(text).c_str(), text.size()); }},
};

// A text in upper case.
std::wstring shouted(std::wstring text)
{
    for (wchar_t& character : text)
        character = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(character)));
    return text;
}

/// How often a new string was not made, was made for the first table alone, and was made.
struct Outcomes
{
    unsigned int none = 0;
    unsigned int alone = 0;
    unsigned int whole = 0;
};

void expect_new_string(Form const& form, Outcomes& outcomes)
{
    std::wstring const text = name("fresh");
    unsigned long const size = CStringPool::GetSize();
    {
        LogRecorder log;
        _cppoolstring const string = form.find(text);
        Undisturbed const pause;
        bool const is_made = !is_null(string);
        EXPECT_EQ(is_pooled(text), is_made);
        EXPECT_EQ(text_of(string), is_made ? text : L"");
        EXPECT_EQ(CStringPool::GetSize(), size + (is_made ? size_of_record(text.size()) : 0));
        bool const is_alone = is_made && !g_insensitive_table._holds(string);
        ++(!is_made ? outcomes.none : is_alone ? outcomes.alone : outcomes.whole);
        if (is_made)
        {
            EXPECT_EQ(string.lockcnt(), is_alone ? 2U : 3U);
        }
        expect_whole_pool();

        _cppoolstring const again = form.find(text);
        EXPECT_EQ(text_of(again), text);
        EXPECT_TRUE(!is_made || again == string);
        EXPECT_EQ(again.lockcnt(), is_made && !is_alone ? 4U : 3U);
        expect_whole_pool();
        EXPECT_EQ(log.count(), 0U);
    }
    Undisturbed const pause;
    expect_collected(text);
}

template <std::size_t count>
void expect_new_strings(Form const (&forms)[count])
{
    for (Form const& form : forms)
    {
        SCOPED_TRACE(form.name);
        Outcomes outcomes;
        // The record, the place in each table and the link of the chain, and the beginning of a text that is not wide.
        unsigned long const allocations =
            fail_each_allocation([&](unsigned long) { expect_new_string(form, outcomes); });
        EXPECT_GE(allocations, 4UL);
        EXPECT_GT(outcomes.none, 0U);
        EXPECT_GT(outcomes.alone, 0U);
        EXPECT_GE(outcomes.whole, 3U);
    }
}

} // namespace

FAULT_TEST(PoolLookup, ANewStringIsMadeOrIsNull, "String::CStringPool::GetStringRef(wchar_t const*)",
           "String::CStringPool::GetStringRef(unsigned char const*)",
           "String::CStringPool::GetStringRefn(wchar_t const*, unsigned long)",
           "String::CStringPool::GetStringRefn(unsigned char const*, unsigned long)",
           "String::CStringPool::GetStringRefn(unsigned short const*, unsigned long)",
           "String::CStringPool::GetStringRef(IStringSubmitter*)")
{
    expect_new_strings(gets);
}

FAULT_TEST(PoolLookup, ANewStringOfAnySpellingIsMadeOrIsNull, "String::CStringPool::GetStringRefi(wchar_t const*)",
           "String::CStringPool::GetStringRefi(unsigned char const*)",
           "String::CStringPool::GetStringRefni(wchar_t const*, unsigned long)",
           "String::CStringPool::GetStringRefni(unsigned char const*, unsigned long)")
{
    expect_new_strings(folded_gets);
}

// Without memory for its beginning a text of UTF-8 or UTF-16 is not found at once, but when it is to be added.
TEST(PoolLookup, APooledStringIsItselfOrNull)
{
    std::wstring const text = name("pooled");
    {
        _cppoolstring const pooled = CStringPool::GetStringRef(text.c_str());
        for (Form const* form : {&gets[1], &gets[3], &gets[4], &gets[5], &folded_gets[1], &folded_gets[3]})
        {
            SCOPED_TRACE(form->name);
            unsigned int refused = 0;
            unsigned long const size = CStringPool::GetSize();
            fail_each_allocation(
                [&](unsigned long)
                {
                    _cppoolstring const string = form->find(text);
                    Undisturbed const pause;
                    refused += is_null(string);
                    EXPECT_TRUE(is_null(string) || string == pooled);
                    EXPECT_EQ(pooled.lockcnt(), is_null(string) ? 3U : 4U);
                    EXPECT_EQ(CStringPool::GetSize(), size);
                    EXPECT_TRUE(form->find(text) == pooled);
                    expect_whole_pool();
                });
            // Where one allocation fails alone, a text is found when it is to be added; a submitter's is not.
            EXPECT_EQ(refused, form == &gets[5] ? 2U : 1U);
        }
    }
    expect_collected(text);
}

TEST(PoolLookup, AnotherSpellingIsFoundOrAddedOrNull)
{
    for (Form const& form : {folded_gets[1], folded_gets[3]})
    {
        SCOPED_TRACE(form.name);
        fail_each_allocation(
            [&](unsigned long)
            {
                std::wstring const text = name("spelling");
                std::wstring const other = shouted(text);
                {
                    _cppoolstring pooled;
                    {
                        Undisturbed const pause;
                        pooled = CStringPool::GetStringRef(text.c_str());
                    }
                    _cppoolstring const string = form.find(other);
                    Undisturbed const pause;
                    EXPECT_TRUE(is_null(string) || string == pooled || text_of(string) == other);
                    EXPECT_EQ(is_pooled(other), !is_null(string) && string != pooled);
                    expect_whole_pool();
                    std::wstring const again = text_of(form.find(other));
                    EXPECT_TRUE(again == text || again == other);
                }
                Undisturbed const pause;
                expect_collected(text);
                EXPECT_FALSE(is_pooled(other));
            });
    }
}

FAULT_TEST(PoolLookup, AQueryFindsTheStringOrNullAndAddsNone,
           "String::CStringPool::QueryStringRef(unsigned char const*)",
           "String::CStringPool::QueryStringRefn(unsigned char const*, unsigned long)",
           "String::CStringPool::QueryStringRefi(unsigned char const*)",
           "String::CStringPool::QueryStringRefni(unsigned char const*, unsigned long)")
{
    std::wstring const text = name("queried");
    std::wstring const unknown = name("unknown");
    {
        LogRecorder log;
        _cppoolstring const pooled = CStringPool::GetStringRef(text.c_str());
        for (Form const& form : queries)
        {
            SCOPED_TRACE(form.name);
            unsigned long const allocations = fail_each_allocation(
                [&](unsigned long nth)
                {
                    _cppoolstring const string = form.find(text);
                    Undisturbed const pause;
                    EXPECT_EQ(is_null(string), nth == 1);
                    EXPECT_TRUE(is_null(string) || string == pooled);
                    EXPECT_TRUE(form.find(text) == pooled);
                });
            EXPECT_EQ(allocations, 1UL);
            fail_each_allocation(
                [&](unsigned long)
                {
                    EXPECT_TRUE(is_null(form.find(unknown)));
                    Undisturbed const pause;
                    EXPECT_FALSE(is_pooled(unknown));
                });
        }
        EXPECT_EQ(pooled.lockcnt(), 3U);
        EXPECT_EQ(log.count(), 0U);
    }
    expect_collected(text);
}

// What the submitters of the library do is in the look-up: the strings that they join stay as they are.
TEST(PoolLookup, AJoinedStringIsMadeOrNull)
{
    CPPoolString const items[] = {CPPoolString(name("item").c_str()), CPPoolString(name("item").c_str())};
    std::wstring const joined = text_of(items[0]) + L"+" + text_of(items[1]);
    fail_each_allocation(
        [&](unsigned long)
        {
            {
                CStringArraySubmitter submitter(items, 2, L'+');
                _cppoolstring const string = CStringPool::GetStringRef(submitter);
                Undisturbed const pause;
                EXPECT_EQ(text_of(string), is_null(string) ? L"" : joined);
                EXPECT_EQ(is_pooled(joined), !is_null(string));
                EXPECT_EQ(items[0].lockcnt() + items[1].lockcnt(), 6U);
                EXPECT_EQ(text_of(CStringPool::GetStringRef(submitter)), joined);
            }
            Undisturbed const pause;
            expect_collected(joined);
        });
}

// What is asked for does not need memory when it is there, nor does the care of what is.
TEST(PoolLookup, WideLookUpsOfPooledTextsAndWalksNeedNoMemory)
{
    std::wstring const text = name("lasting");
    std::wstring const idle = name("idle");
    _cppoolstring const pooled = CStringPool::GetStringRef(text.c_str());
    CStringPool::GetStringRef(idle.c_str());
    {
        AllocationFailure const failure(1, AllocationFailure::forever);
        for (Form const& form : {gets[0], gets[2], folded_gets[0], folded_gets[2]})
            EXPECT_TRUE(form.find(text) == pooled) << form.name;
        EXPECT_TRUE(CStringPool::QueryStringRef(text.c_str()) == pooled);
        EXPECT_TRUE(CStringPool::QueryStringRefn(text.c_str(), text.size()) == pooled);
        EXPECT_TRUE(CStringPool::QueryStringRefi(text.c_str()) == pooled);
        EXPECT_TRUE(CStringPool::QueryStringRefni(text.c_str(), text.size()) == pooled);
        EXPECT_EQ(CStringPool::Verify(), 1U);
        EXPECT_GE(CStringPool::GetSize(), size_of_record(text.size()) + size_of_record(idle.size()));
        EXPECT_EQ(CStringPool::Collect(no_limit), 1U);
        EXPECT_EQ(CStringPool::Collect(no_limit), 1U);
        CStringPoolMaintenance().RunMaintenance();
        EXPECT_EQ(failure.attempts(), 0UL);
    }
    EXPECT_FALSE(is_pooled(idle));
    EXPECT_TRUE(is_pooled(text));
    expect_whole_pool();
}
