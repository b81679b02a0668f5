#include "ORVA/String/PoolString.h"

#include "support/LogRecorder.h"
#include "support/PoolSubmitters.h"
#include "support/PoolTexts.h"

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace
{

using namespace ORVA::String;
using support::is_null;
using support::text_of;

constexpr unsigned int no_limit = 0xFFFFFFFFU;

// Runs `work(number)` in as many threads, which start together.
template <class Work>
void run_threads(unsigned int count, Work work)
{
    std::atomic<unsigned int> waiting{count};
    std::vector<std::thread> threads;
    for (unsigned int number = 0; number < count; ++number)
    {
        threads.emplace_back(
            [&, number]
            {
                --waiting;
                while (waiting != 0)
                    std::this_thread::yield();
                work(number);
            });
    }
    for (std::thread& thread : threads)
        thread.join();
}

std::wstring name(char const* test, unsigned long number)
{
    std::string const narrow(test);
    return L"threads " + std::wstring(narrow.begin(), narrow.end()) + L" " + std::to_wstring(number);
}

bool has_form(CPPoolString const& string, std::wstring const& text)
{
    unsigned char const* const form = string;
    return std::string(reinterpret_cast<char const*>(form)) == std::string(text.begin(), text.end());
}

// Disposes of what other tests left behind, and of the reports that this may cost: strings that only one table could take.
void flush()
{
    ASSERT_EQ(CStringPool::Collect(no_limit), 1U);
    ASSERT_EQ(CStringPool::Collect(no_limit), 1U);
}

} // namespace

TEST(PoolThreads, GetOneRecordForEachText)
{
    constexpr unsigned int threads = 4;
    constexpr unsigned int names = 400;
    std::vector<std::vector<CPPoolString>> strings(threads, std::vector<CPPoolString>(names));
    run_threads(threads,
                [&](unsigned int thread)
                {
                    for (unsigned int index = 0; index < names; ++index)
                    {
                        unsigned int const number = (index * 7 + thread * 100) % names;
                        std::wstring const text = name("one record", number);
                        std::basic_string<unsigned char> const narrow(text.begin(), text.end());
                        support::SubmitterProbe submitter(text);
                        strings[thread][number] = thread == 0   ? CStringPool::GetStringRef(text.c_str())
                                                  : thread == 1 ? CStringPool::GetStringRef(narrow.c_str())
                                                  : thread == 2 ? CStringPool::GetStringRef(&submitter)
                                                                : CStringPool::GetStringRefi(text.c_str());
                    }
                });
    for (unsigned int number = 0; number < names; ++number)
    {
        EXPECT_EQ(text_of(strings[0][number]), name("one record", number));
        for (unsigned int thread = 1; thread < threads; ++thread)
            EXPECT_TRUE(strings[thread][number] == strings[0][number]) << number;
        EXPECT_EQ(strings[0][number].lockcnt(), 2 + threads);
    }
    EXPECT_EQ(CStringPool::Verify(), 1U);
}

TEST(PoolThreads, MakeOneUtf8FormOfARecord)
{
    constexpr unsigned int threads = 2;
    constexpr unsigned int rounds = 300;
    // Long texts, so that the threads are at the same form at the same time.
    std::vector<std::wstring> texts;
    std::vector<CPPoolString> strings;
    for (unsigned int round = 0; round < rounds; ++round)
    {
        texts.push_back(name("form", round) + std::wstring(8000, L'f'));
        strings.emplace_back(texts.back().c_str());
    }
    std::vector<std::vector<unsigned char const*>> forms(threads, std::vector<unsigned char const*>(rounds));
    std::atomic<unsigned int> arrived{0};
    run_threads(threads,
                [&](unsigned int thread)
                {
                    for (unsigned int round = 0; round < rounds; ++round)
                    {
                        ++arrived;
                        for (unsigned int turns = 1; arrived < threads * (round + 1); ++turns)
                        {
                            if (turns % 10000 == 0)
                                std::this_thread::yield();
                        }
                        forms[thread][round] = strings[round];
                    }
                });
    for (unsigned int round = 0; round < rounds; ++round)
    {
        EXPECT_TRUE(has_form(strings[round], texts[round]));
        for (unsigned int thread = 0; thread < threads; ++thread)
            EXPECT_EQ(forms[thread][round], forms[0][round]);
    }
}

TEST(PoolThreads, TakeReadAndReleaseWhileOthersCollect)
{
    constexpr unsigned int workers = 3;
    constexpr unsigned int rounds = 3000;
    constexpr unsigned int collections = 100;
    constexpr unsigned int names = 12;
    flush();
    support::LogRecorder recorder;
    std::atomic<unsigned int> faults{0};
    CPPoolString const kept(name("collected", 0).c_str());
    run_threads(workers + 1,
                [&](unsigned int thread)
                {
                    if (thread == workers)
                    {
                        for (unsigned int pass = 0; pass < collections; ++pass)
                        {
                            faults += CStringPool::Collect(no_limit) == 1 ? 0U : 1U;
                            faults += CStringPool::Verify() == 1 ? 0U : 1U;
                            std::this_thread::yield();
                        }
                        return;
                    }
                    std::mt19937 random(thread);
                    for (unsigned int round = 0; round < rounds; ++round)
                    {
                        std::wstring const text = name("collected", random() % names);
                        CPPoolString const string = random() % 4 == 0
                                                        ? CPPoolString(CStringPool::QueryStringRefi(text.c_str()))
                                                        : CPPoolString(text.c_str());
                        if (string.isnull())
                            continue;
                        CPPoolString copy = string;
                        faults += has_form(copy, text) ? 0U : 1U;
                        copy.free();
                        faults += string.Verify() == 1 && string == text.c_str() ? 0U : 1U;
                    }
                });
    EXPECT_EQ(faults, 0U);
    EXPECT_EQ(recorder.count(), 0U);
    EXPECT_EQ(kept.lockcnt(), 3U);
    EXPECT_EQ(CStringPool::Verify(), 1U);
    ASSERT_EQ(CStringPool::Collect(no_limit), 1U);
    ASSERT_EQ(CStringPool::Collect(no_limit), 1U);
    for (unsigned int number = 0; number < names; ++number)
        EXPECT_EQ(is_null(CStringPool::QueryStringRef(name("collected", number).c_str())), number != 0);
}

TEST(PoolThreads, CopyAndReleaseOneRecord)
{
    CPPoolString const string(L"threads copied");
    unsigned int const count = string.lockcnt();
    run_threads(4,
                [&](unsigned int)
                {
                    for (unsigned int round = 0; round < 2000; ++round)
                    {
                        CPPoolString const copy = string;
                        CPPoolString moved;
                        CPPoolString second = copy;
                        moved.TransferFrom(second);
                    }
                });
    EXPECT_EQ(string.lockcnt(), count);
}
