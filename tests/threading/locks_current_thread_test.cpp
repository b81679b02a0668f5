#include "ORVA/Threading/CurrentThread.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace
{

using namespace ORVA::Threading;

static_assert(eThreadPriorityNormal == 0 && eThreadPriorityIdle == -2);
static_assert(std::is_same_v<std::underlying_type_t<eThreadPriority>, int>);
static_assert(std::is_same_v<decltype(CurrentThread::OS::GetThreadPriority()), eThreadPriority>);

TEST(CurrentThreadPriority, is_0_whatever_was_set)
{
    EXPECT_EQ(CurrentThread::OS::GetThreadPriority(), 0);
    for (int const priority : {0, -2, 1, -1, 0x7FFFFFFF})
    {
        CurrentThread::OS::SetThreadPriority(static_cast<eThreadPriority>(priority));
        EXPECT_EQ(CurrentThread::OS::GetThreadPriority(), 0) << priority;
    }
}

} // namespace
