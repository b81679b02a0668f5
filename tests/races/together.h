/// @file
/// Threads that do a fixed amount of work at the same time and count what is not as it should be.
#pragma once

#include <atomic>
#include <thread>
#include <vector>

namespace races
{

/// A place where a number of threads wait for each other, over and over. What a thread has written before is seen by all
/// of them behind it.
class MeetingPoint
{
public:
    explicit MeetingPoint(unsigned int count) : m_count(count), m_missing(count) {}

    void meet()
    {
        unsigned int const meeting = m_meeting;
        if (--m_missing == 0)
        {
            m_missing = m_count;
            ++m_meeting;
            return;
        }
        while (m_meeting == meeting)
            std::this_thread::yield();
    }

private:
    unsigned int const m_count;
    std::atomic<unsigned int> m_missing;
    std::atomic<unsigned int> m_meeting{0};
};

/// Lets other threads run in one round of eight, so that threads mix at this place even where the machine is busy.
inline void mix(unsigned int round)
{
    if (round % 8 == 0)
        std::this_thread::yield();
}

/// Runs `work(index)` in `count` threads that begin together, and gives the sum of the faults that they tell.
template <class Work>
unsigned long faults_of(unsigned int count, Work work)
{
    MeetingPoint start(count);
    std::atomic<unsigned long> faults{0};
    std::vector<std::thread> threads;
    for (unsigned int index = 0; index < count; ++index)
    {
        threads.emplace_back(
            [&, index]
            {
                start.meet();
                faults += work(index);
            });
    }
    for (std::thread& thread : threads)
        thread.join();
    return faults;
}

/// What a thread counts: `expect(condition)` adds one fault if the condition does not hold.
class Faults
{
public:
    void expect(bool holds) { m_count += holds ? 0U : 1U; }
    operator unsigned long() const { return m_count; }

private:
    unsigned long m_count = 0;
};

/// Runs `work(index)` in `count` threads, and `meanwhile(faults)` again and again in one more until they have ended.
template <class Work, class Meanwhile>
unsigned long faults_beside(unsigned int count, Work work, Meanwhile meanwhile)
{
    std::atomic<unsigned int> ended{0};
    return faults_of(count + 1,
                     [&](unsigned int index) -> unsigned long
                     {
                         if (index != count)
                         {
                             unsigned long const own = work(index);
                             ++ended;
                             return own;
                         }
                         Faults faults;
                         do
                             meanwhile(faults);
                         while (ended < count);
                         return faults;
                     });
}

} // namespace races
