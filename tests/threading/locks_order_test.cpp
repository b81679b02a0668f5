#include "threading/locks_threads.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <pthread.h>

// When the interlock clears its writer field. The function below stands in front of the system's own in the whole test
// program; the shared lock calls it when it is given up, and a test may look around at that moment.
namespace
{

thread_local void (*on_signal)() = nullptr;

} // namespace

extern "C" int pthread_cond_signal(pthread_cond_t* condition) noexcept
{
    using Function = int(pthread_cond_t*);
    static auto* const next = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, "pthread_cond_signal"));
    if (on_signal != nullptr)
        on_signal();
    return next(condition);
}

namespace
{

using namespace ORVA::Threading;

// A writer that cleared it later could wipe out the id that the next writer has stored.
TEST(RWInterlockOrder, writer_field_is_cleared_before_the_lock_is_given_up)
{
    static _cRWInterlock const* watched = nullptr;
    static unsigned int signals = 0;
    static bool cleared = false;

    _cRWInterlock interlock;
    watched = &interlock;
    interlock.EnterWrite();
    on_signal = []
    {
        if (signals++ == 0)
            cleared = locks::tracking_of(watched).writer == 0;
    };
    interlock.LeaveWrite();
    on_signal = nullptr;
    EXPECT_GT(signals, 0U);
    EXPECT_TRUE(cleared);
}

} // namespace
