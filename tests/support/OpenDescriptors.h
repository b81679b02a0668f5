/// @file
/// What the process has open.
#pragma once

#include <gtest/gtest.h>

#include <dirent.h>

namespace support
{

/// The number of descriptors that the process has open.
inline long open_descriptors()
{
    DIR* const directory = ::opendir("/dev/fd");
    if (directory == nullptr)
    {
        ADD_FAILURE() << "the system does not tell what is open";
        return -1;
    }
    long count = -3; // ".", ".." and the descriptor of this walk
    while (::readdir(directory) != nullptr)
        ++count;
    ::closedir(directory);
    return count;
}

/// Fails the test unless as many descriptors are open at its end as at its start.
class SameDescriptors
{
public:
    SameDescriptors() : m_before(open_descriptors()) {}
    ~SameDescriptors() { EXPECT_EQ(m_before, open_descriptors()) << "descriptors are left open"; }
    SameDescriptors(SameDescriptors const&) = delete;
    SameDescriptors& operator=(SameDescriptors const&) = delete;

private:
    long m_before;
};

} // namespace support
