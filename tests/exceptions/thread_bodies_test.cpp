// Bodies of threads that throw.
#include "exceptions/thrown.h"
#include "support/LogRecorder.h"
#include "threading/thread_bodies.h"

#include <vector>

namespace
{

using namespace exceptions;
using namespace threads;
using ORVA::Buffers::CPIObject;
using ORVA::Threading::CPThread;
using ORVA::Threading::CPThreadContext;
using support::LogMessages;
using support::LogRecorder;

TEST(ThrowingBody, EndsItsThreadQuietly)
{
    LogRecorder recorder;
    for (Thrown const what : both_kinds)
    {
        Context context = context_of([what] { raise(what); });
        CPThread thread;
        ASSERT_TRUE(thread.Execute(context, 0));
        EXPECT_EQ(thread.Wait(plenty), 0);
        EXPECT_EQ(context->exitCode(), 2U);
        EXPECT_EQ(context.lockcnt(), 1U);

        context->work = [] {};
        ASSERT_TRUE(thread.Execute(context, 0)) << "body and handle serve once more";
        EXPECT_EQ(thread.Wait(plenty), 0);
        EXPECT_EQ(context->exitCode(), 3U);
    }
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(ThrowingBody, DisturbsNoOtherThread)
{
    std::vector<Context> contexts;
    std::vector<CPThread> running(12);
    for (unsigned long number = 0; number < running.size(); ++number)
    {
        contexts.push_back(context_of(
            [number]
            {
                if (number % 3 != 0)
                    raise(both_kinds[number % 2]);
            }));
        ASSERT_TRUE(running[number].Execute(contexts[number], 0));
    }
    for (unsigned long number = 0; number < running.size(); ++number)
    {
        EXPECT_EQ(running[number].Wait(plenty), 0);
        EXPECT_EQ(contexts[number]->exitCode(), number % 3 != 0 ? 2U : 3U);
        EXPECT_EQ(contexts[number].lockcnt(), 1U);
    }
}

/// Throws in its destructor.
struct ThrowingInTheEnd
{
    ~ThrowingInTheEnd() noexcept(false) { raise(what); }
    void run() { may_end->wait(); }

    std::shared_ptr<Signal> may_end = std::make_shared<Signal>();
    Thrown what = Thrown::standard;
};

TEST(ThrowingBody, ThatThrowsInItsDestructorWhenTheThreadLetsGoOfItIsReported)
{
    for (Thrown const what : both_kinds)
    {
        LogRecorder recorder;
        CPThreadContext<ThrowingInTheEnd> context;
        context.create()->what = what;
        std::shared_ptr<Signal> const may_end = context->may_end;
        CPThread thread;
        ASSERT_TRUE(thread.Execute(context, 0));
        context.free();
        may_end->set();
        EXPECT_EQ(thread.Wait(plenty), 0);
        EXPECT_EQ(recorder.take(), LogMessages{support::illegal_point("CPObjectMemory::Free exception")});
    }
}

void run_a_plain_body_that_throws(Thrown what)
{
    CPIObject<Offset> body;
    body.create()->work = [what] { raise(what); };
    CPThread thread;
    thread.Execute(body, 0);
    thread.Wait(plenty);
}

// There is no wrapper around a body of one's own: it must not throw.
TEST(ThrowingBody, OfItsOwnKindEndsTheProcess)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(run_a_plain_body_that_throws(Thrown::standard), "UserError");
    EXPECT_DEATH(run_a_plain_body_that_throws(Thrown::odd), "OddError");
}

} // namespace
