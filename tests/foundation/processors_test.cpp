#include "BaseOS_Unix_common/processors.h"

#include <gtest/gtest.h>

#include <sched.h>
#include <thread>

namespace
{

using ORVA::Core::OS::usable_processors;

TEST(Processors, CountsThoseThatTheThreadMayRunOn)
{
    unsigned int const before = usable_processors();
    EXPECT_GE(before, 1U);
    unsigned int restricted = 0;
    std::thread(
        [&restricted]
        {
            cpu_set_t set;
            CPU_ZERO(&set);
            CPU_SET(static_cast<unsigned int>(::sched_getcpu()), &set);
            ASSERT_EQ(::sched_setaffinity(0, sizeof set, &set), 0);
            restricted = usable_processors();
        })
        .join();
    EXPECT_EQ(restricted, 1U);
    EXPECT_EQ(usable_processors(), before);
}

} // namespace
