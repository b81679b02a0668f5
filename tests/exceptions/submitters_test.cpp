// Submitters that throw while the pool asks them: the exception passes, and the pool is as it was.
#include "exceptions/thrown.h"
#include "pool/pool_support.h"
#include "threading/event_threads.h"

#include "ORVA/String/PoolString.h"
#include "ORVA/String/Submitters.h"

#include <atomic>
#include <vector>

namespace
{

using namespace exceptions;
using namespace pool_tests;

/// Comes by a fuse in each of its operations.
class FusedSubmitter final : public IStringSubmitter
{
public:
    FusedSubmitter(std::wstring text, Fuse& fuse) : m_text(std::move(text)), m_fuse(fuse) {}

    unsigned long GetStringLen() override
    {
        m_fuse.call();
        return m_text.size();
    }
    unsigned int GetString(wchar_t* buffer) override
    {
        m_text.copy(buffer, m_text.size() / 2);
        m_fuse.call();
        m_text.copy(buffer, m_text.size());
        return 1;
    }

private:
    std::wstring m_text;
    Fuse& m_fuse;
};

TEST(ThrowingSubmitter, AddsNothingToThePool)
{
    LogRecorder recorder;
    std::wstring const text = name("throwing at each call");
    CPPoolString const other(name("another one").c_str());
    unsigned long const calls = at_each_call(
        [&](Fuse& fuse)
        {
            unsigned long const size = CStringPool::GetSize();
            CPPoolString target = other;
            FusedSubmitter submitter(text, fuse);
            bool const thrown = lets_through(fuse, [&] { target = CStringPool::GetStringRef(&submitter); });
            EXPECT_TRUE(lock_is_free());
            EXPECT_EQ(CStringPool::Verify(), 1U);
            if (thrown)
            {
                EXPECT_TRUE(target == other);
                EXPECT_FALSE(is_pooled(text));
                EXPECT_EQ(CStringPool::GetSize(), size);
            }
            else
            {
                EXPECT_EQ(text_of(target), text);
                EXPECT_TRUE(is_pooled(text));
            }
        });
    EXPECT_EQ(calls, 3U) << "the length twice, and the text";
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(ThrowingSubmitter, LeavesTheHandleOnItsRecord)
{
    unsigned long const calls = at_each_call(
        [](Fuse& fuse)
        {
            _cppoolstring const before = support::unpooled(L"before");
            _cppoolstring string = before;
            FusedSubmitter submitter(L"submitted", fuse);
            unsigned int result = 99;
            bool const thrown = lets_through(fuse, [&] { result = string.create(&submitter); });
            EXPECT_EQ(result, thrown ? 99U : 1U);
            EXPECT_EQ(string == before, thrown);
            EXPECT_EQ(before.lockcnt(), thrown ? 2U : 1U);
            Fuse whole;
            FusedSubmitter again(L"submitted", whole);
            EXPECT_EQ(string.create(&again), 1U);
            EXPECT_EQ(text_of(string), L"submitted");
        });
    EXPECT_EQ(calls, 2U);
}

TEST(ThrowingSubmitter, OfATextThatIsPooledLeavesItsRecordAlone)
{
    std::wstring const text = name("pooled before");
    CPPoolString const pooled(text.c_str());
    at_each_call(
        [&](Fuse& fuse)
        {
            FusedSubmitter submitter(text, fuse);
            CPPoolString found;
            bool const thrown = lets_through(fuse, [&] { found = CStringPool::GetStringRef(&submitter); });
            EXPECT_EQ(found == pooled, !thrown);
            EXPECT_EQ(pooled.lockcnt(), thrown ? 3U : 4U);
            EXPECT_EQ(pooled.Verify(), 1U);
        });
}

TEST(ThrowingSubmitter, DisturbsNoOtherThread)
{
    std::wstring const text = name("many threads");
    std::atomic<unsigned int> made{0};
    std::vector<events::Background<unsigned int>> threads;
    for (unsigned long number = 0; number < 4; ++number)
    {
        threads.emplace_back(
            [&text, &made, number]
            {
                unsigned int thrown = 0;
                for (unsigned long round = 0; round < 200; ++round)
                {
                    std::wstring const own = text + std::to_wstring(round % 5);
                    Fuse fuse((round + number) % 4, both_kinds[round % 2]);
                    FusedSubmitter submitter(own, fuse);
                    if (thrown_by(
                            [&]
                            {
                                CPPoolString const string = CStringPool::GetStringRef(&submitter);
                                made += text_of(string) == own;
                            }))
                        ++thrown;
                }
                return thrown;
            });
    }
    unsigned int thrown = 0;
    for (auto& thread : threads)
        thrown += thread.result();
    EXPECT_EQ(thrown, 4U * 150U);
    EXPECT_EQ(made, 4U * 50U);
    EXPECT_TRUE(lock_is_free());
    EXPECT_EQ(CStringPool::Verify(), 1U);
}

} // namespace
