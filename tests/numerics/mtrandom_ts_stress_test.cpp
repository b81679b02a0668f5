#include "ORVA/Develop.h"

#include "numerics/random_support.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <thread>
#include <unordered_map>

#include <csignal>
#include <sched.h>
#include <sys/time.h>

// Eight threads draw from one generator as hard as they can: more than this machine runs at once, so that threads are
// held up at every point, the making of a block among them.
namespace
{

using namespace numerics;

constexpr unsigned long thread_count = 8;

// Runs `draw` in each thread, all begun together. The end of the program if they do not come back: nothing but a
// generator that hangs takes so long, on a machine that is busy with other things and under a sanitizer too.
template <class Draw>
void run_in_threads(unsigned long draws, Draw draw)
{
    auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(300 + draws / 100000);
    std::atomic<unsigned long> arrived{0};
    std::vector<std::future<void>> threads;
    for (unsigned long index = 0; index < thread_count; ++index)
    {
        threads.push_back(std::async(std::launch::async,
                                     [&arrived, &draw, index]
                                     {
                                         ++arrived;
                                         while (arrived < thread_count)
                                             std::this_thread::yield();
                                         draw(index);
                                     }));
    }
    for (std::future<void> const& thread : threads)
    {
        if (thread.wait_until(end) == std::future_status::ready)
            continue;
        std::fprintf(stderr, "gave up waiting: the generator hangs\n");
        std::abort();
    }
}

unsigned long share_of(unsigned long index, unsigned long draws)
{
    return draws / thread_count + (index < draws % thread_count ? 1 : 0);
}

// Tells one collection of words from another, whatever their order: the number of the words and two sums of numbers that
// depend on all bits of a word.
struct Collection
{
    unsigned long count = 0;
    unsigned long first = 0;
    unsigned long second = 0;

    void add(unsigned int word)
    {
        unsigned long mixed = (word + 1UL) * 0x9E3779B97F4A7C15UL;
        mixed = (mixed ^ mixed >> 32) * 0xD6E8FEB86659FD93UL;
        ++count;
        first += mixed;
        second += (mixed ^ mixed >> 29) * 0xBF58476D1CE4E5B9UL;
    }
    void add(Collection const& other)
    {
        count += other.count;
        first += other.first;
        second += other.second;
    }
    bool operator==(Collection const& other) const
    {
        return count == other.count && first == other.first && second == other.second;
    }
};

void stand_back(int)
{
    for (int i = 0; i < 3; ++i)
        sched_yield();
}

// While it lives, a handler runs over and over in threads that take part, at whatever instruction they are.
class Interruptions
{
public:
    explicit Interruptions(void (*handler)(int))
    {
        struct sigaction action = {};
        action.sa_handler = handler;
        action.sa_flags = SA_RESTART;
        sigaction(SIGALRM, &action, &m_action);
        change_mask(SIG_BLOCK, &m_mask);
        set_interval(50);
    }
    ~Interruptions()
    {
        set_interval(0);
        // A last one that nobody has taken is thrown away.
        std::signal(SIGALRM, SIG_IGN);
        pthread_sigmask(SIG_SETMASK, &m_mask, nullptr);
        sigaction(SIGALRM, &m_action, nullptr);
    }
    Interruptions(Interruptions const&) = delete;
    Interruptions& operator=(Interruptions const&) = delete;

    static void take_part() { change_mask(SIG_UNBLOCK, nullptr); }

private:
    static void change_mask(int how, sigset_t* former)
    {
        sigset_t alarm;
        sigemptyset(&alarm);
        sigaddset(&alarm, SIGALRM);
        pthread_sigmask(how, &alarm, former);
    }
    static void set_interval(int microseconds)
    {
        itimerval const interval = {{0, microseconds}, {0, microseconds}};
        setitimer(ITIMER_REAL, &interval, nullptr);
    }

    struct sigaction m_action = {};
    sigset_t m_mask = {};
};

class SharedMTRandomStress : public testing::TestWithParam<unsigned long>
{
};

template <class Begin>
void draw_in_threads_and_compare(unsigned long draws, Begin begin)
{
    SharedLook shared;
    reference::PlainTwister twin(shared.seed());
    std::array<Collection, thread_count> drawn;
    run_in_threads(draws,
                   [&](unsigned long index)
                   {
                       begin();
                       Collection own;
                       for (unsigned long left = share_of(index, draws); left != 0; --left)
                           own.add(shared.rnd());
                       drawn[index] = own;
                   });
    Collection all;
    for (Collection const& own : drawn)
        all.add(own);
    Collection expected;
    for (unsigned long left = draws; left != 0; --left)
        expected.add(reference::temper(twin.next_word()));
    EXPECT_TRUE(all == expected) << all.count << " words, of " << expected.count;
    EXPECT_EQ(shared.rnd(), reference::temper(twin.next_word())) << "the next one";
}

TEST_P(SharedMTRandomStress, EveryWordOfTheSequenceIsDrawnOnce)
{
    draw_in_threads_and_compare(GetParam(), [] {});
}

TEST_P(SharedMTRandomStress, EveryWordIsDrawnOnceByThreadsThatAreHeldUpAnywhere)
{
    Interruptions const interruptions(stand_back);
    draw_in_threads_and_compare(GetParam(), Interruptions::take_part);
}

INSTANTIATE_TEST_SUITE_P(Short, SharedMTRandomStress, testing::Values(2000000UL));
// Minutes. Run it with --gtest_also_run_disabled_tests in an optimised build.
INSTANTIATE_TEST_SUITE_P(DISABLED_Long, SharedMTRandomStress, testing::Values(1000000000UL));

TEST(SharedMTRandomThreads, WordsOfAllAreTheSequenceAndEachHasItsOwnInOrder)
{
    constexpr unsigned long draws = 200000;
    SharedLook shared;
    unsigned int const seed = shared.seed();
    std::array<std::vector<unsigned int>, thread_count> drawn;
    run_in_threads(draws,
                   [&](unsigned long index)
                   {
                       std::vector<unsigned int>& own = drawn[index];
                       own.reserve(share_of(index, draws));
                       for (unsigned long left = share_of(index, draws); left != 0; --left)
                           own.push_back(shared.rnd());
                   });

    std::vector<unsigned int> sequence(draws);
    reference::PlainTwister twin(seed);
    std::generate(sequence.begin(), sequence.end(), [&twin] { return reference::temper(twin.next_word()); });

    // Where a word stands that the sequence has once.
    std::unordered_map<unsigned int, std::vector<unsigned long>> places;
    for (unsigned long place = 0; place < draws; ++place)
        places[sequence[place]].push_back(place);
    std::vector<unsigned int> all;
    for (std::vector<unsigned int> const& own : drawn)
    {
        long last = -1;
        for (unsigned int const word : own)
        {
            all.push_back(word);
            auto const place = places.find(word);
            ASSERT_NE(place, places.end()) << "a word that is not of the sequence";
            if (place->second.size() != 1)
                continue;
            ASSERT_GT(static_cast<long>(place->second[0]), last);
            last = static_cast<long>(place->second[0]);
        }
    }
    std::sort(all.begin(), all.end());
    std::sort(sequence.begin(), sequence.end());
    EXPECT_TRUE(all == sequence);
}

SharedLook* interrupted = nullptr;
Collection drawn_in_between;
volatile std::sig_atomic_t interruptions_used = 0;

constexpr int interruptions_wanted = 2000;

// Exactly so many draws that the place in the block is the same again. None while the interrupted draw is busy changing
// the blocks, which they would wait for; and none in the end, since no draw gets through where they take longer than the
// time from one interruption to the next.
void draw_a_whole_block(int)
{
    bool const is_changing = (ORVA::Core::load_relaxed(interrupted->m_index) & 0xFFFFFFFFU) > block_length;
    if (is_changing || interrupted->m_spare.load() == nullptr || interruptions_used == interruptions_wanted)
        return;
    for (unsigned long draw = 0; draw < block_length; ++draw)
        drawn_in_between.add(interrupted->rnd());
    interruptions_used = interruptions_used + 1;
}

// A draw that has looked at its word finds the place unchanged, but in another block.
TEST(SharedMTRandomThreads, DrawInterruptedForAWholeBlockDoesNotGiveTheOldWord)
{
    SharedLook shared;
    reference::PlainTwister twin(shared.seed());
    interrupted = &shared;
    drawn_in_between = {};
    interruptions_used = 0;
    Collection all;
    {
        Interruptions const interruptions(draw_a_whole_block);
        Interruptions::take_part();
        // A sanitizer may hold the signals back to the end.
        for (unsigned long draw = 0; draw < 30000000 && interruptions_used < interruptions_wanted; ++draw)
            all.add(shared.rnd());
    }
    all.add(drawn_in_between);
    Collection expected;
    while (expected.count < all.count)
        expected.add(reference::temper(twin.next_word()));
    EXPECT_TRUE(all == expected) << all.count << " words, interrupted " << interruptions_used << " times";
    EXPECT_EQ(shared.rnd(), reference::temper(twin.next_word())) << "the next one";
}

// While the next block is being made, the index already stands in the active one, so that others can draw.
TEST(SharedMTRandomThreads, BlockIsOpenWhileTheNextOneIsBeingMade)
{
    SharedLook shared;
    std::atomic<bool> seen{false};
    std::atomic<bool> over{false};
    auto drawing = std::async(std::launch::async,
                              [&]
                              {
                                  while (!seen && !over)
                                      shared.rnd();
                              });
    auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!seen && std::chrono::steady_clock::now() < end)
    {
        // The one thread that draws is the one that makes the block: its index then stands still at the first draw.
        unsigned long const before = ORVA::Core::load_acquire(shared.m_index);
        bool const making = shared.m_spare.load() == nullptr;
        seen = making && (before & 0xFFFFFFFFU) == 1 && ORVA::Core::load_acquire(shared.m_index) == before;
    }
    over = true;
    EXPECT_EQ(drawing.wait_for(std::chrono::seconds(60)), std::future_status::ready);
    EXPECT_TRUE(seen);
}

// The first draw of a block by one thread at a time, so that each of them changes blocks.
TEST(SharedMTRandomThreads, AnyThreadMayChangeTheBlocks)
{
    CMTRnd_TS shared;
    reference::PlainTwister twin(reference::untemper(shared.rnd()));
    twin.next_word();
    for (unsigned long draw = 1; draw < 20 * block_length; ++draw)
    {
        unsigned int const word = draw % block_length == 0
                                      ? std::async(std::launch::async, [&shared] { return shared.rnd(); }).get()
                                      : shared.rnd();
        ASSERT_EQ(word, reference::temper(twin.next_word())) << draw;
    }
}

} // namespace
