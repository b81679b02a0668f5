// Strings in use are found without the pool's lock; those that a collection has seen unused are not.
#include "cstringpool/globals.h"

#include "support/PoolTexts.h"

#include "ORVA/String.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <string>
#include <utility>

namespace
{

using namespace ORVA::String;
using namespace std::chrono_literals;

// What `look_up` gives in another thread while this one holds the pool's lock; `waited` tells whether it had to wait for it.
template <class LookUp>
_cppoolstring look_up_while_locked(LookUp look_up, std::chrono::milliseconds patience, bool& waited)
{
    g_pool_lock.Enter();
    std::future<_cppoolstring> result = std::async(std::launch::async, look_up);
    waited = result.wait_for(patience) != std::future_status::ready;
    g_pool_lock.Leave();
    return result.get();
}

class PoolHits : public testing::Test
{
protected:
    // The least of the library's times that is long for a look-up, and short for a test.
    static constexpr std::chrono::milliseconds long_for_a_look_up{50};
    static constexpr std::chrono::milliseconds long_for_a_test{60000};

    std::wstring const m_text = L"hit without the lock";
};

TEST_F(PoolHits, of_strings_in_use_are_served_while_another_thread_holds_the_lock)
{
    CPPoolString const held(m_text.c_str());
    std::basic_string<unsigned char> const bytes(m_text.begin(), m_text.end());
    std::basic_string<unsigned short> const units(m_text.begin(), m_text.end());
    auto const expect_served = [&](auto look_up)
    {
        bool waited = false;
        CPPoolString const found = look_up_while_locked(look_up, long_for_a_test, waited);
        EXPECT_FALSE(waited);
        EXPECT_TRUE(found == held);
        EXPECT_EQ(held.lockcnt(), 4U);
    };
    expect_served([&] { return CStringPool::GetStringRef(m_text.c_str()); });
    expect_served([&] { return CStringPool::GetStringRef(bytes.c_str()); });
    expect_served([&] { return CStringPool::GetStringRefn((m_text + L"...").c_str(), m_text.size()); });
    expect_served([&] { return CStringPool::GetStringRefn(bytes.c_str(), bytes.size()); });
    expect_served([&] { return CStringPool::GetStringRefn(units.c_str(), units.size()); });
    expect_served([&] { return CStringPool::QueryStringRef(m_text.c_str()); });
    expect_served([&] { return CStringPool::QueryStringRef(bytes.c_str()); });
    expect_served([&] { return CStringPool::QueryStringRefn(m_text.c_str(), m_text.size()); });
    EXPECT_EQ(held.lockcnt(), 3U);
}

TEST_F(PoolHits, of_strings_that_a_collection_saw_unused_set_their_age_back_under_the_lock)
{
    CPPoolString held(m_text.c_str());
    tagSTRINGPOOLRECORD const* const record = &*_cppoolstring(held);
    ASSERT_EQ(CStringPool::Collect(0xFFFFFFFFU), 1U);
    EXPECT_EQ(record->age, 0U) << "in use";
    held.free();
    ASSERT_EQ(CStringPool::Collect(0xFFFFFFFFU), 1U);
    ASSERT_EQ(record->age, 1U);

    bool waited = false;
    auto const query = [&] { return CStringPool::QueryStringRef(m_text.c_str()); };
    held = look_up_while_locked(query, long_for_a_look_up, waited);
    EXPECT_TRUE(waited);
    EXPECT_EQ(&*_cppoolstring(held), record);
    EXPECT_EQ(record->age, 0U);

    look_up_while_locked(query, long_for_a_test, waited);
    EXPECT_FALSE(waited) << "in use again";
}

TEST_F(PoolHits, never_serve_what_is_not_there)
{
    bool waited = false;
    EXPECT_TRUE(support::is_null(
        look_up_while_locked([] { return CStringPool::QueryStringRef(L"no hit"); }, long_for_a_look_up, waited)));
    EXPECT_TRUE(waited);
}

} // namespace
