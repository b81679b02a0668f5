// What the tests of this program share: what else can be made to fail than `malloc`, and the count that the program ends
// with.
#include "faults/FaultTest.h"
#include "faults/new_faults.h"

#include "ORVA/Core.h"

#include <cerrno>
#include <cstdio>
#include <new>

#include <dirent.h>

// The names are those that the linker's --wrap gives.
extern "C" DIR* __real_opendir(char const* path);
extern "C" DIR* __wrap_opendir(char const* path);

// The system's library takes its memory past `malloc` as the library sees it, so an opening counts as an allocation.
extern "C" DIR* __wrap_opendir(char const* path)
{
    void* const memory = ORVA::Core::OS::_falloc(1); // no compiler may leave this one out
    ORVA::Core::OS::_ffree(memory);
    if (memory != nullptr)
        return __real_opendir(path);
    errno = ENOMEM;
    return nullptr;
}

namespace faults
{

namespace
{

thread_local unsigned int new_fails = 0;

} // namespace

NewFails::NewFails()
{
    ++new_fails;
}

NewFails::~NewFails()
{
    --new_fails;
}

bool NewFails::here()
{
    return new_fails != 0;
}

namespace
{

class Report : public testing::Environment
{
public:
    void TearDown() override { std::printf("%lu allocations were made to fail\n", failed_allocations()); }
};

// GoogleTest deletes it.
[[maybe_unused]] testing::Environment* const report = testing::AddGlobalTestEnvironment(new Report);

/// What a test of the means themselves makes fail does not count.
class Uncounted
{
public:
    ~Uncounted() { failed_allocations() = m_before; }

private:
    unsigned long m_before = failed_allocations();
};

TEST(FaultTest, NewFailsAsMallocDoesOnlyWhereItIsToldTo)
{
    if (!new_can_fail())
        GTEST_SKIP() << "the sanitizer keeps its own new";
    Uncounted const scope;
    unsigned long refused = 0;
    unsigned long const allocations = fail_each_allocation(
        [&refused](unsigned long)
        {
            ::operator delete(::operator new(8));
            NewFails const failing;
            try
            {
                ::operator delete(::operator new(8));
                ::operator delete[](::operator new[](16));
            }
            catch (std::bad_alloc const&)
            {
                ++refused;
            }
        });
    EXPECT_EQ(allocations, 2UL);
    EXPECT_EQ(refused, 4UL);
}

TEST(FaultTest, WhatIsUndisturbedNeitherCountsNorFails)
{
    Uncounted const scope;
    unsigned long failures = 0;
    unsigned long const allocations = fail_each_allocation(
        [&failures](unsigned long)
        {
            void* const disturbed = ORVA::Core::OS::_falloc(10);
            failures += disturbed == nullptr;
            ORVA::Core::OS::_ffree(disturbed);
            Undisturbed const pause;
            void* const memory = ORVA::Core::OS::_falloc(10);
            EXPECT_NE(memory, nullptr);
            ORVA::Core::OS::_ffree(memory);
        });
    EXPECT_EQ(allocations, 1UL);
    EXPECT_EQ(failures, 2UL);
}

} // namespace
} // namespace faults
