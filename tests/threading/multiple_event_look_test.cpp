#include "threading/event_look.h"
#include "threading/multiple_event_fixture.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

// What a wait finds before it blocks.
namespace
{

using namespace events;

/// A list that cannot be gone through.
struct UnreadableList
{
    bool has_block = true;
    explicit operator bool() const
    {
        if (!has_block)
            throw std::runtime_error("no list");
        return true;
    }
    CPEvent const* begin() const { throw std::runtime_error("no list"); }
    CPEvent const* end() const { return nullptr; }
};

TEST(EventLook, failure_is_minus_3_in_either_mode)
{
    for (bool const barrier : {true, false})
    {
        for (bool const has_block : {true, false})
            EXPECT_EQ(static_cast<long>(look_at(UnreadableList{has_block}, barrier)), -3);
    }
}

/// A list with a place that cannot be read.
struct BrokenList
{
    struct Iterator
    {
        CPEvent const* place;
        CPEvent const* broken;
        CPEvent const& operator*() const
        {
            if (place == broken)
                throw std::runtime_error("no event");
            return *place;
        }
        Iterator& operator++()
        {
            ++place;
            return *this;
        }
        bool operator!=(Iterator const& other) const { return place != other.place; }
    };
    explicit operator bool() const { return true; }
    Iterator begin() const { return {events.data(), events.data() + broken}; }
    Iterator end() const { return {events.data() + events.size(), nullptr}; }

    std::vector<CPEvent> events;
    unsigned long broken;
};

TEST(EventLook, failure_counts_only_where_the_look_comes_to_it)
{
    BrokenList list{{CPEvent(true), CPEvent(true)}, 1};
    EXPECT_EQ(static_cast<long>(look_at(list, false)), -3);
    EXPECT_EQ(look_at(list, true), nothing_signaled) << "the first that is not signalled decides";
    list.events[0].Set();
    EXPECT_EQ(look_at(list, false), 0U);
    EXPECT_EQ(static_cast<long>(look_at(list, true)), -3);
}

/// What the text of the manual says, by the states alone.
long expected(std::vector<_cEvent::eEventState> const& states, bool barrier)
{
    long first = -1;
    bool all = true;
    for (unsigned long index = states.size(); index-- > 0;)
    {
        bool const signaled = states[index] == _cEvent::eEventSignaled;
        all = all && signaled;
        first = signaled ? static_cast<long>(index) : first;
    }
    if (states.empty())
        return -1;
    return barrier ? (all ? 0 : -1) : first;
}

// Every combination of states of up to four events.
TEST_P(EitherMode, wait_gives_what_the_states_say)
{
    constexpr unsigned int kinds = 4;
    for (unsigned int count = 0, combinations = 1; count <= 4; ++count, combinations *= kinds)
    {
        CPMultipleEvent const several(GetParam());
        std::vector<CPEvent> events;
        for (unsigned int index = 0; index < count; ++index)
        {
            events.push_back(CPEvent(true));
            ASSERT_TRUE(several.Attach(events.back()));
        }
        for (unsigned int combination = 0; combination < combinations; ++combination)
        {
            std::vector<_cEvent::eEventState> states;
            for (unsigned int index = 0, rest = combination; index < count; ++index, rest /= kinds)
            {
                states.push_back(static_cast<_cEvent::eEventState>(rest % kinds));
                events[index].GetHandle()->initState(states[index]);
            }
            EXPECT_EQ(several.Wait(0), expected(states, GetParam())) << count << ' ' << combination;
        }
    }
}

} // namespace
