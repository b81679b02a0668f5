/// @file
/// Vectors of counted elements: made, and looked at, by their values.
#pragma once

#include "ORVA/Buffers/ObjectVector.h"
#include "support/CountedElement.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <climits>
#include <vector>

namespace support
{

using Values = std::vector<int>;

/// 0, 1, 2, ... below `count`.
inline Values sequence(int count)
{
    Values result;
    for (int value = 0; value < count; ++value)
        result.push_back(value);
    return result;
}

/// A vector with the elements 0, 1, 2, ... below `count`, made by insertion.
template <class Element>
ORVA::Buffers::CPObjectVector<Element> counted_vector(int count)
{
    ORVA::Buffers::CPObjectVector<Element> vector;
    for (int value = 0; value < count; ++value)
        EXPECT_EQ(vector.Insert(Element(value), ULONG_MAX), 1);
    return vector;
}

template <class Element>
Values values(ORVA::Buffers::CPObjectVector<Element> const& vector)
{
    Values result;
    for (Element const& element : vector)
        result.push_back(element.value());
    return result;
}

/// Starts each test with fresh counters, and tells of elements that are left and of reports that were not expected.
class CountedVectorTest : public testing::Test
{
protected:
    void SetUp() override { CountedElement::reset(); }
    void TearDown() override
    {
        EXPECT_EQ(CountedElement::live(), 0);
        EXPECT_EQ(recorder.take(), LogMessages()) << "a report that the test does not state";
    }
    LogRecorder recorder;
};

} // namespace support
