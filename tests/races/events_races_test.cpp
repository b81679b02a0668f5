#include "races/together.h"
#include "threading/event_threads.h"

#include <gtest/gtest.h>

#include <vector>

// Attaching, detaching and resetting beside signals of the same event, which take the two locks the other way round;
// and events that go while they have hardly been signalled.
namespace
{

using namespace events;
using races::Faults;
using races::faults_beside;
using races::faults_of;
using races::mix;

// Runs `work` in two threads while another one signals all events again and again. Their first listener lets the other
// threads run in the middle of each signal.
template <class Work>
unsigned long beside_signals(std::vector<CPEvent> const& signalled, Work work)
{
    Listener slow(
        [](_cEvent*)
        {
            std::this_thread::yield();
            return true;
        });
    for (CPEvent const& event : signalled)
        EXPECT_TRUE(event.GetHandle()->attach(&slow));
    unsigned long const all = faults_beside(2, work,
                                            [&](Faults& faults)
                                            {
                                                for (CPEvent event : signalled)
                                                    faults.expect(event.Set());
                                                std::this_thread::yield();
                                            });
    for (CPEvent const& event : signalled)
        EXPECT_TRUE(event.GetHandle()->detach(&slow));
    return all;
}

TEST(MultipleEventRaces, events_are_attached_and_detached_beside_their_signals)
{
    constexpr unsigned int rounds = 1200;
    for (bool const barrier : {false, true})
    {
        // Each thread has its own event, so that it detaches the listener that it has attached.
        std::vector<CPEvent> const own = {CPEvent(true), CPEvent(true)};
        std::vector<CPMultipleEvent> const multiple = {CPMultipleEvent(barrier), CPMultipleEvent(barrier)};
        EXPECT_EQ(beside_signals(own,
                                 [&](unsigned int index)
                                 {
                                     Faults faults;
                                     CPEvent event = own[index];
                                     for (unsigned int round = 0; round < rounds; ++round)
                                     {
                                         mix(round);
                                         faults.expect(multiple[index].Attach(event));
                                         event.Set();
                                         long const result = multiple[index].Wait(0);
                                         faults.expect(result == 0);
                                         faults.expect(multiple[index].Reset(0));
                                         event.Reset();
                                         mix(round);
                                         faults.expect(multiple[index].Detach(event));
                                     }
                                     return faults;
                                 }),
                  0U);
        for (CPEvent const& event : own)
        {
            EXPECT_FALSE(Look::listeners(*event.GetHandle()));
            EXPECT_EQ(event.lockcnt(), 1U);
        }
    }
}

// One object for both threads: the list of its events changes while signals go through it.
TEST(MultipleEventRaces, one_object_changes_its_events_in_several_threads_beside_signals)
{
    constexpr unsigned int rounds = 1200;
    std::vector<CPEvent> const own = {CPEvent(true), CPEvent(true)};
    CPMultipleEvent const any(false);
    EXPECT_EQ(beside_signals(own,
                             [&](unsigned int index)
                             {
                                 Faults faults;
                                 for (unsigned int round = 0; round < rounds; ++round)
                                 {
                                     mix(round);
                                     faults.expect(any.Attach(own[index]));
                                     long const result = any.Wait(0);
                                     faults.expect(result >= -1 && result <= 1);
                                     object(any).ResetAll();
                                     any.Reset(round % 2);
                                     mix(round);
                                     faults.expect(any.Detach(own[index]));
                                 }
                                 return faults;
                             }),
              0U);
    EXPECT_EQ(Look::attached(object(any)).GetCount(), 0U);
    for (CPEvent const& event : own)
        EXPECT_FALSE(Look::listeners(*event.GetHandle()));
}

// Resets come from the waiting side, signals from the other; the words between are plain.
TEST(MultipleEventRaces, resets_through_the_object_order_what_is_handed_over)
{
    constexpr unsigned int rounds = 1000;
    constexpr unsigned int producers = 3;
    struct Lane
    {
        unsigned int word = 0;
        CPEvent full{true};
        CPEvent empty{true};
    };
    Lane lanes[producers];
    CPMultipleEvent const any(false);
    for (Lane const& lane : lanes)
        ASSERT_TRUE(any.Attach(lane.full));
    EXPECT_EQ(faults_of(producers + 1,
                        [&](unsigned int index) -> unsigned long
                        {
                            Faults faults;
                            if (index != producers)
                            {
                                Lane& lane = lanes[index];
                                for (unsigned int round = 1; round <= rounds; ++round)
                                {
                                    lane.word = round;
                                    lane.full.Set();
                                    faults.expect(lane.empty.Wait(plenty) == 0);
                                    lane.empty.Reset();
                                }
                                return faults;
                            }
                            unsigned int taken[producers] = {};
                            for (unsigned int count = 0; count < producers * rounds; ++count)
                            {
                                long const which = any.Wait(plenty);
                                if (which < 0)
                                    give_up("a lane to be full");
                                faults.expect(lanes[which].word == ++taken[which]);
                                faults.expect(any.Reset(static_cast<unsigned long>(which)));
                                lanes[which].empty.Set();
                            }
                            return faults;
                        }),
              0U);
}

// Who has been released by a signal lets go of the event at once, while the signaller is still in it.
TEST(EventRaces, event_goes_with_its_last_handle_right_behind_the_signal)
{
    constexpr unsigned int rounds = 800;
    std::vector<CPEvent> left;
    for (unsigned int round = 0; round < rounds; ++round)
        left.emplace_back(true);
    std::vector<CPEvent> right = left;
    std::vector<unsigned int> words(rounds, 0);
    EXPECT_EQ(faults_of(2,
                        [&](unsigned int index)
                        {
                            Faults faults;
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                bool const signals = (index + round) % 2 == 0;
                                CPEvent& event = index == 0 ? left[round] : right[round];
                                if (signals)
                                {
                                    words[round] = round + 1;
                                    faults.expect(event.Set());
                                }
                                else
                                {
                                    faults.expect(event.Wait(plenty) == 0);
                                    faults.expect(words[round] == round + 1);
                                }
                                event.free();
                            }
                            return faults;
                        }),
              0U);
}

// Everything that may be asked of one event, at the same time, and no state but the three that it may have.
TEST(EventRaces, every_operation_may_be_called_from_every_thread)
{
    constexpr unsigned int rounds = 700;
    for (bool const manual : {true, false})
    {
        CPEvent const event(manual);
        EXPECT_EQ(faults_of(4,
                            [&](unsigned int index)
                            {
                                Faults faults;
                                CPEvent own = event;
                                Listener listener([](_cEvent*) { return true; });
                                for (unsigned int round = 0; round < rounds; ++round)
                                {
                                    switch ((index + round) % 4)
                                    {
                                    case 0:
                                        faults.expect(own.Set());
                                        break;
                                    case 1:
                                        faults.expect(own.Reset());
                                        break;
                                    case 2:
                                    {
                                        long const result = own.Wait(round % 2);
                                        // -2 is the value that an event has before its first signal.
                                        faults.expect(result == 0 || result == -1 || result == -2);
                                        break;
                                    }
                                    default:
                                        faults.expect(own.GetHandle()->getState() != _cEvent::eEventInvalid);
                                        if (index == 0)
                                        {
                                            mix(round / 4);
                                            faults.expect(own.GetHandle()->attach(&listener));
                                            mix(round / 4);
                                            faults.expect(own.GetHandle()->detach(&listener));
                                        }
                                    }
                                }
                                return faults;
                            }),
                  0U);
        EXPECT_EQ(event.lockcnt(), 1U);
        EXPECT_FALSE(Look::listeners(*event.GetHandle()));
    }
}

// A signal that is always set after another one, and always reset together with it, is never the only one that a wait
// finds: a look at many events is a look at one moment.
TEST(MultipleEventRaces, a_wait_looks_at_all_events_at_one_moment)
{
    constexpr unsigned int rounds = 4000;
    CPMultipleEvent const multiple(false);
    CPEvent const first(true);
    CPEvent const second(true);
    EXPECT_TRUE(multiple.Attach(first));
    EXPECT_TRUE(multiple.Attach(second));
    EXPECT_EQ(multiple.Wait(1), -1);
    EXPECT_EQ(faults_beside(
                  1,
                  [&](unsigned int)
                  {
                      for (unsigned int round = 0; round < rounds; ++round)
                      {
                          first.Set();
                          second.Set();
                          mix(round);
                          object(multiple).ResetAll();
                      }
                      return Faults();
                  },
                  [&](Faults& faults)
                  {
                      for (unsigned int wait = 0; wait < 50; ++wait)
                          faults.expect(multiple.Wait(0) < 1);
                  }),
              0U);
}

} // namespace
