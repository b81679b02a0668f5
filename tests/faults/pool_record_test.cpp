// Records and keys without memory.
#include "faults/pool_faults.h"

#include <functional>

namespace
{

using namespace pool_faults;
using faults::fail_each_allocation;
using faults::Undisturbed;

constexpr wchar_t const text[] = L"a text of more than ten characters";

// A key of which `make` makes one in place: without memory it describes the text and has none of its own.
void expect_key(std::function<void(void*)> make)
{
    unsigned long const allocations = fail_each_allocation(
        [&](unsigned long nth)
        {
            alignas(staticStringRecord) unsigned char place[sizeof(staticStringRecord)];
            make(place);
            Undisturbed const pause;
            auto& key = *reinterpret_cast<staticStringRecord*>(place);
            EXPECT_EQ(key.record.info.len, std::wcslen(text));
            EXPECT_EQ(key.record.info.sHash, support::evaluated(text).sHash);
            EXPECT_EQ(key.record.info.sHashi, support::evaluated(text).sHashi);
            EXPECT_EQ(std::wstring(key.record.pData), nth == 1 ? L"" : std::wstring(text, 10));
            EXPECT_EQ(key.record.pOwned != nullptr, nth != 1);
            EXPECT_EQ(key.header.lRefCnt, 0U);
            key.~staticStringRecord();
            make(place);
            EXPECT_EQ(std::wstring(key.record.pData), std::wstring(text, 10));
            key.~staticStringRecord();
        });
    EXPECT_EQ(allocations, 1UL);
}

// A record that `create` makes, or the handle as it was.
void expect_record(std::function<unsigned int(_cppoolstring&)> create)
{
    LogRecorder log;
    _cppoolstring const before = support::unpooled(L"what was held before");
    unsigned long const allocations = fail_each_allocation(
        [&](unsigned long nth)
        {
            _cppoolstring string(before);
            unsigned int const result = create(string);
            Undisturbed const pause;
            EXPECT_EQ(result, nth == 1 ? 0U : 1U);
            EXPECT_EQ(string == before, nth == 1);
            EXPECT_EQ(before.lockcnt(), nth == 1 ? 2U : 1U);
            EXPECT_EQ(create(string), 1U);
            EXPECT_EQ(before.lockcnt(), 1U);
            EXPECT_EQ(string.lockcnt(), 1U);
            EXPECT_EQ(text_of(string), text);
            EXPECT_EQ(string->info.sHash, support::evaluated(text).sHash);
        });
    EXPECT_EQ(allocations, 1UL);
    EXPECT_EQ(log.count(), 0U);
}

} // namespace

FAULT_TEST(PoolRecord, AKeyHasTheBeginningOfItsTextOrNone,
           "String::staticStringRecord::staticStringRecord(unsigned char const*)",
           "String::staticStringRecord::staticStringRecord(unsigned char const*, unsigned long)",
           "String::staticStringRecord::staticStringRecord(unsigned short const*)",
           "String::staticStringRecord::staticStringRecord(unsigned short const*, unsigned long)")
{
    auto const narrow = in_utf8(text);
    auto const units = in_units<unsigned short>(text);
    expect_key([&](void* place) { ::new (place) staticStringRecord(narrow.c_str()); });
    expect_key([&](void* place) { ::new (place) staticStringRecord(narrow.c_str(), narrow.size()); });
    expect_key([&](void* place) { ::new (place) staticStringRecord(units.c_str()); });
    expect_key([&](void* place) { ::new (place) staticStringRecord(units.c_str(), units.size()); });
}

FAULT_TEST(PoolRecord, IsMadeOrTheHandleStaysAsItWas,
           "String::_cppoolstring::create(tagSTRINGBASICINFO const&, wchar_t const*)",
           "String::_cppoolstring::create(tagSTRINGBASICINFO const&, unsigned char const*)",
           "String::_cppoolstring::create(tagSTRINGBASICINFO const&, unsigned short const*)",
           "String::_cppoolstring::create(IStringSubmitter*)")
{
    tagSTRINGBASICINFO const info = support::evaluated(text);
    auto const narrow = in_utf8(text);
    auto const units = in_units<unsigned short>(text);
    expect_record([&](_cppoolstring& string) { return string.create(info, text); });
    expect_record([&](_cppoolstring& string) { return string.create(info, narrow.c_str()); });
    expect_record([&](_cppoolstring& string) { return string.create(info, units.c_str()); });
    expect_record(
        [&](_cppoolstring& string)
        {
            SubmitterProbe submitter(text);
            return string.create(&submitter);
        });
}

TEST(PoolRecord, WideKeysAndEvaluationsNeedNoMemory)
{
    auto const narrow = in_utf8(text);
    AllocationFailure const failure(1, AllocationFailure::forever);
    staticStringRecord const key(text);
    staticStringRecord const bounded(text, 5);
    tagSTRINGBASICINFO info = {};
    EXPECT_EQ(g_evaluator.Eval(info, narrow.c_str()), 1U);
    EXPECT_EQ(key.record.info.sHash, info.sHash);
    EXPECT_EQ(bounded.record.info.len, 5UL);
    EXPECT_EQ(failure.attempts(), 0UL);
}
