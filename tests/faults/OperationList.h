/// @file
/// public_operations.txt, and a check of what it says of operations that take no memory.
#pragma once

#include "faults/FaultTest.h"

#include <fstream>
#include <map>

namespace faults
{

/// Reads the operations of the list, each with its mark.
inline std::map<std::string, std::string> read_operations()
{
    std::map<std::string, std::string> marks;
    std::ifstream file(ORVA_PUBLIC_OPERATIONS);
    EXPECT_TRUE(file) << "no list: " << ORVA_PUBLIC_OPERATIONS;
    for (std::string line; std::getline(file, line);)
    {
        if (line.empty() || line[0] == '#')
            continue;
        std::string const mark = line.substr(0, line.find(' '));
        auto const start = line.find_first_not_of(' ', mark.size());
        if (start == std::string::npos)
        {
            ADD_FAILURE() << "a line without an operation: " << line;
            continue;
        }
        std::string const name = line.substr(start, line.find("  # ") - start);
        EXPECT_TRUE(marks.emplace(name, mark).second) << "listed twice: " << name;
    }
    return marks;
}

inline std::map<std::string, std::string> const& listed_operations()
{
    static std::map<std::string, std::string> const marks = read_operations();
    return marks;
}

/// Calls `operation()`, which is to be a call of the operation that the list has under `name` and nothing else, and
/// checks that the list says that it takes no memory, and that it does not.
template <class Operation>
void takes_nothing(std::string const& name, Operation operation)
{
    auto const entry = listed_operations().find(name);
    EXPECT_TRUE(entry != listed_operations().end() && entry->second == "nothing") << name;
    support::AllocationFailure const counting(0);
    {
        NewFails const new_too;
        operation();
    }
    EXPECT_EQ(counting.attempts(), 0UL) << name;
}

} // namespace faults
