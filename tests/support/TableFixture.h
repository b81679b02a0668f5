/// @file
/// What the tests of walks, sweeps and hooks share: a table of 16 buckets, and a look at what an operation left.
#pragma once

#include "ORVA/Lookup.h"

#include "support/TableProbe.h"

#include <gtest/gtest.h>

#include <vector>

namespace support
{

/// A time that is never over.
constexpr unsigned int no_limit = 0xFFFFFFFF;

class TableFixture : public ::testing::Test
{
protected:
    // Items 1, 2, ... under the keys.
    void fill(std::vector<unsigned long> const& keys)
    {
        int id = 0;
        for (unsigned long key : keys)
            table.AddItem(key, make_item(++id), ORVA::Lookup::eHashKeepEqual);
    }

    void expect_no_handle_left_over()
    {
        ASSERT_TRUE(table.cpIndex);
        EXPECT_EQ(table.cpIndex.lockcnt(), 1U);
        for (unsigned long number = 0; number < table.uBuckets; ++number)
        {
            EXPECT_LE(table.bucket(number).lockcnt(), 1U);
            for (TableProbe::HASHENTRY const& entry : table.bucket(number))
                EXPECT_EQ(entry.cpItem.lockcnt(), 1U);
        }
    }

    NoItemLeft first_made; // destroyed last
    TableProbe table{4};
    VisitorProbe visitor;
};

} // namespace support
