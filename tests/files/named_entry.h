/// @file
/// Entries of directories, made by hand.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include <dirent.h>

namespace files
{

/// An entry with a name and nothing else.
class NamedEntry
{
public:
    explicit NamedEntry(std::string const& name) : m_entry()
    {
        EXPECT_LT(name.size(), sizeof(m_entry.d_name));
        std::memcpy(m_entry.d_name, name.c_str(), name.size() + 1);
    }
    dirent& get() { return m_entry; }

private:
    dirent m_entry;
};

} // namespace files
