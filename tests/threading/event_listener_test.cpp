#include "ORVA/Threading/Event.h"

#include "support/AllocationFailure.h"
#include "threading/event_places.h"

#include <gtest/gtest.h>

#include <list>
#include <stdexcept>
#include <vector>

// Who is told of a signal.
namespace
{

using namespace events;
using support::AllocationFailure;

class EventListeners : public testing::Test
{
protected:
    EventListeners() { event.initState(_cEvent::eEventPulse); }

    /// A listener that writes down its number, or throws behind that.
    Listener& listener(int number, bool throws = false)
    {
        return all.emplace_back(
            [this, number, throws](_cEvent* source)
            {
                told.push_back(number);
                sources.push_back(source);
                if (throws)
                    throw std::runtime_error("listener");
                return false;
            });
    }

    /// The numbers of those who are told of one signal, in their order.
    std::vector<int> told_of_a_signal()
    {
        told.clear();
        EXPECT_TRUE(signal(event, 1));
        return told;
    }

    _cEvent event;
    std::list<Listener> all;
    std::vector<int> told;
    std::vector<_cEvent*> sources;
};

using Numbers = std::vector<int>;

TEST_F(EventListeners, are_told_in_the_order_of_their_attachment_with_the_event_as_source)
{
    EXPECT_TRUE(event.attach(&listener(2)));
    EXPECT_TRUE(event.attach(&listener(1)));
    EXPECT_TRUE(event.attach(&listener(3)));
    EXPECT_EQ(told_of_a_signal(), (Numbers{2, 1, 3}));
    EXPECT_EQ(sources, (std::vector<_cEvent*>{&event, &event, &event}));
}

TEST_F(EventListeners, are_told_with_the_lock_held)
{
    bool could_lock = true;
    Listener tries(
        [&](_cEvent* source)
        {
            could_lock = Background<bool>([source] { return Look::lock(*source).try_lock(); }).result();
            return true;
        });
    event.attach(&tries);
    signal(event, 1);
    EXPECT_FALSE(could_lock);
}

TEST_F(EventListeners, exceptions_are_dropped_and_the_others_told)
{
    event.attach(&listener(1, true));
    event.attach(&listener(2));
    event.attach(&listener(3, true));
    event.attach(&listener(4));
    EXPECT_EQ(told_of_a_signal(), (Numbers{1, 2, 3, 4}));
    event.initState(_cEvent::eEventReset);
    EXPECT_TRUE(event.Set(nullptr));
    EXPECT_EQ(event.getState(), _cEvent::eEventSignaled);
}

// They are called with the lock held, so `signal` is theirs to call.
TEST_F(EventListeners, may_signal_the_event_once_more)
{
    Stand waiter;
    waiter.join(event);
    Listener again(
        [&](_cEvent* source)
        {
            told.push_back(1);
            return told.size() > 1 || source->signal(2);
        });
    ASSERT_TRUE(event.attach(&again));
    EXPECT_TRUE(signal(event, 1));
    EXPECT_EQ(told, (Numbers{1, 1}));
    EXPECT_TRUE(waiter.is_released());
    EXPECT_EQ(waiter.result(), 1) << "it has been released and is not touched again";
    EXPECT_EQ(Look::value(event), 2U);
    EXPECT_EQ(queued(event), 0U);
}

TEST_F(EventListeners, attached_twice_are_told_twice)
{
    Listener& one = listener(1);
    EXPECT_TRUE(event.attach(&one));
    EXPECT_TRUE(event.attach(&one));
    EXPECT_EQ(told_of_a_signal(), (Numbers{1, 1}));
    EXPECT_TRUE(event.detach(&one));
    EXPECT_EQ(told_of_a_signal(), (Numbers{1}));
}

TEST_F(EventListeners, null_in_the_list_is_passed_over)
{
    EXPECT_TRUE(event.attach(nullptr));
    event.attach(&listener(1));
    EXPECT_EQ(told_of_a_signal(), (Numbers{1}));
}

TEST_F(EventListeners, list_grows_by_128_bytes)
{
    for (int number = 0; number < 40; ++number)
    {
        EXPECT_TRUE(event.attach(&listener(number)));
        EXPECT_EQ(Look::listeners(event).GetAllocSize(), number < 16 ? 128U : number < 32 ? 256U : 384U);
    }
    EXPECT_EQ(told_of_a_signal().size(), 40U);
    EXPECT_EQ(told.front(), 0);
    EXPECT_EQ(told.back(), 39);
}

TEST_F(EventListeners, attaching_without_memory_is_false_and_changes_nothing)
{
    Listener& one = listener(1);
    {
        AllocationFailure const failure(1);
        EXPECT_FALSE(event.attach(&one));
    }
    EXPECT_TRUE(told_of_a_signal().empty());
    for (int number = 0; number < 16; ++number)
        event.attach(&one);
    {
        AllocationFailure const failure(1);
        EXPECT_FALSE(event.attach(&one));
    }
    EXPECT_EQ(told_of_a_signal().size(), 16U);
}

TEST_F(EventListeners, detaching_one_that_is_not_there_is_true)
{
    EXPECT_TRUE(event.detach(&listener(9)));
    EXPECT_TRUE(event.detach(nullptr));
    event.attach(&listener(1));
    event.attach(&listener(2));
    EXPECT_TRUE(event.detach(&listener(3)));
    EXPECT_EQ(told_of_a_signal(), (Numbers{1, 2}));
}

TEST_F(EventListeners, detaching_the_last_takes_that_one)
{
    event.attach(&listener(1));
    Listener& two = listener(2);
    event.attach(&two);
    EXPECT_TRUE(event.detach(&two));
    EXPECT_EQ(told_of_a_signal(), (Numbers{1}));
}

TEST_F(EventListeners, detaching_another_one_takes_the_last_all_the_same)
{
    Listener& first = listener(1);
    Listener& second = listener(2);
    event.attach(&first);
    event.attach(&second);
    event.attach(&listener(3));
    EXPECT_TRUE(event.detach(&first));
    EXPECT_EQ(told_of_a_signal(), (Numbers{1, 2}));
    EXPECT_TRUE(event.detach(&first));
    EXPECT_EQ(told_of_a_signal(), (Numbers{1}));
    EXPECT_TRUE(event.detach(&second)) << "it has lost its place, which counts as done";
    EXPECT_EQ(told_of_a_signal(), (Numbers{1}));
    EXPECT_TRUE(event.detach(&first));
    EXPECT_TRUE(told_of_a_signal().empty());
}

TEST_F(EventListeners, block_of_the_list_goes_with_the_last_entry)
{
    Listener& first = listener(1);
    Listener& second = listener(2);
    event.attach(&first);
    event.attach(&second);
    EXPECT_TRUE(event.detach(&second));
    EXPECT_TRUE(Look::listeners(event));
    EXPECT_TRUE(event.detach(&first));
    EXPECT_FALSE(Look::listeners(event));
}

TEST_F(EventListeners, invalid_event_neither_attaches_nor_detaches)
{
    Listener& one = listener(1);
    event.attach(&one);
    event.initState(_cEvent::eEventInvalid);
    EXPECT_FALSE(event.attach(&one));
    EXPECT_FALSE(event.detach(&one));
    EXPECT_EQ(Look::listeners(event).GetCount(), 1U);
}

TEST_F(EventListeners, are_not_told_of_the_end_of_the_event)
{
    {
        CPEvent const gone(true);
        gone.GetHandle()->attach(&listener(1));
    }
    EXPECT_TRUE(told.empty());
}

} // namespace
