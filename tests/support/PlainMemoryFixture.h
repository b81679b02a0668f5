/// @file
/// What the tests of plain blocks share.
#pragma once

#include "ORVA/Buffers/PlainMemory.h"
#include "support/BlockProbe.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <string>

namespace support
{

// Plain blocks, and no report that a test does not take itself.
class PlainMemoryFixture : public testing::Test
{
protected:
    void SetUp() override { BlockProbe::reset(); }
    void TearDown() override
    {
        EXPECT_EQ(recorder.take(), LogMessages()) << "a report that the test does not state";
        BlockProbe::reset();
    }
    // "abcdefgh..." in `size` bytes.
    static ORVA::Buffers::CPPlainMemory filled(unsigned long size)
    {
        ORVA::Buffers::CPPlainMemory made;
        EXPECT_EQ(made.Alloc(size), 1);
        for (unsigned long index = 0; index < size; ++index)
            static_cast<char*>(made.get_ptr())[index] = static_cast<char>('a' + index % 26);
        return made;
    }
    static std::string text(CPObjectMemory const& handle)
    {
        return std::string(static_cast<char const*>(handle.get_cptr()), handle.GetSize());
    }
    LogRecorder recorder;
};

} // namespace support
