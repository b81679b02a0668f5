/// @file
/// What the tests of files and directories share.
#pragma once

#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"
#include "support/OpenDescriptors.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

namespace files
{

/// Calls `operation` with each of its allocations failing, once and with all after it: it has to fail, and `unchanged`
/// is called to check what is left. Undisturbed it has to succeed, and `undo` is called behind it.
template <class Operation, class Unchanged, class Undo>
void expect_all_or_nothing(Operation operation, Unchanged unchanged, Undo undo)
{
    for (auto const duration : {support::AllocationFailure::once, support::AllocationFailure::forever})
    {
        unsigned long failures = 1;
        for (unsigned long nth = 1; failures != 0; ++nth)
        {
            bool done;
            {
                support::AllocationFailure const failure(nth, duration);
                done = operation();
                failures = failure.failures();
            }
            EXPECT_EQ(failures == 0, done) << "allocation " << nth;
            EXPECT_FALSE(failures == 0 && nth == 1) << "it makes no allocation";
            if (failures != 0)
                unchanged();
        }
        undo();
    }
}

/// A directory of the test's own; afterwards no descriptor is left open, and nothing was reported that the test does
/// not take itself.
class FilesFixture : public testing::Test
{
protected:
    void TearDown() override
    {
        EXPECT_EQ(recorder.take(), support::LogMessages()) << "a report that the test does not state";
    }

    support::SameDescriptors descriptors;
    support::TemporaryDirectory directory;
    support::LogRecorder recorder;
};

} // namespace files
