#include "threading/stack_size.h"
#include "threading/thread_bodies.h"

#include <boost/thread/exceptions.hpp>

#include <gtest/gtest.h>

#include <pthread.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SANITIZER_ENLARGES_STACKS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define SANITIZER_ENLARGES_STACKS 1
#endif
#endif

namespace
{

using namespace ORVA::Threading;
using namespace threads;

TEST(ThreadStack, size_is_raised_and_rounded_to_whole_pages)
{
    constexpr unsigned long last = ~0UL;
    EXPECT_EQ(stack_size_for(1, 4096), 16384U);
    EXPECT_EQ(stack_size_for(16383, 4096), 16384U);
    EXPECT_EQ(stack_size_for(16384, 4096), 16384U);
    EXPECT_EQ(stack_size_for(16385, 4096), 20480U);
    EXPECT_EQ(stack_size_for(20480, 4096), 20480U);
    EXPECT_EQ(stack_size_for(1, 65536), 65536U);
    EXPECT_EQ(stack_size_for(65537, 65536), 131072U);
    EXPECT_EQ(stack_size_for(last - 4095, 4096), last - 4095);
    EXPECT_EQ(stack_size_for(last - 4094, 4096), last - 4095);
    EXPECT_EQ(stack_size_for(last, 4096), last - 4095);
}

#ifdef __linux__
unsigned long stack_of_a_thread_that_asks_for(unsigned long size)
{
    static unsigned long found;
    found = 0;
    struct Body
    {
        void run()
        {
            pthread_attr_t attributes;
            if (pthread_getattr_np(pthread_self(), &attributes) != 0)
                return;
            pthread_attr_getstacksize(&attributes, &found);
            pthread_attr_destroy(&attributes);
        }
    };
    CPThreadContext<Body> context;
    context.create();
    _cThread thread;
    EXPECT_TRUE(thread.Execute(context, size));
    EXPECT_EQ(thread.Wait(plenty), 0);
    return found;
}

TEST(ThreadStack, has_the_size_that_was_asked_for)
{
    unsigned long const page = static_cast<unsigned long>(sysconf(_SC_PAGESIZE));
    for (unsigned long const size : {1UL, 16384UL, 16385UL, 20480UL, 100000UL, 1UL << 20, (1UL << 20) + 1})
    {
        unsigned long const expected = stack_size_for(size, page);
#ifdef SANITIZER_ENLARGES_STACKS
        EXPECT_GE(stack_of_a_thread_that_asks_for(size), expected) << size;
#else
        EXPECT_EQ(stack_of_a_thread_that_asks_for(size), expected) << size;
#endif
    }
}

TEST(ThreadStack, of_size_0_is_the_default_of_the_system)
{
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    unsigned long usual = 0;
    pthread_attr_getstacksize(&attributes, &usual);
    pthread_attr_destroy(&attributes);
    EXPECT_EQ(stack_of_a_thread_that_asks_for(0), usual);
}
#endif

TEST(ThreadStack, that_the_system_does_not_have_throws_and_leaves_nothing_behind)
{
    Context context = context_of([] {});
    _cThread thread;
    for (unsigned long const size : {1UL << 62, ~0UL})
    {
        EXPECT_THROW(thread.Execute(context, size), boost::thread_resource_error);
        EXPECT_EQ(context.lockcnt(), 1U);
        EXPECT_EQ(context->exitCode(), 0U);
        EXPECT_EQ(thread.Wait(0), -2);
    }
    EXPECT_TRUE(thread.Execute(context, 0));
    EXPECT_EQ(thread.Wait(plenty), 0);
}

} // namespace
