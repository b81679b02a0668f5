// public_operations.txt against the headers, and against the tests of this program.
#include "faults/FaultTest.h"
#include "faults/HeaderOperations.h"
#include "faults/OperationList.h"

namespace faults
{

namespace
{

using Operations = std::set<std::string>;

Operations listed(std::string const& mark = "")
{
    Operations operations;
    for (auto const& [name, its_mark] : listed_operations())
    {
        if (mark.empty() || mark == its_mark)
            operations.insert(name);
    }
    return operations;
}

/// One line for each of `operations` that is not in `others`.
std::string missing(Operations const& operations, Operations const& others)
{
    std::string lines;
    for (std::string const& operation : operations)
    {
        if (others.count(operation) == 0)
            lines += operation + '\n';
    }
    return lines;
}

TEST(PublicOperations, AreListedAsTheHeadersHaveThem)
{
#ifdef ORVA_CTAGS
    Operations const found = header_operations(ORVA_CTAGS, ORVA_PUBLIC_HEADERS);
    ASSERT_GT(found.size(), 800U) << "the headers could not be read";
    EXPECT_EQ(missing(found, listed()), "") << "in the headers, not in the list";
    EXPECT_EQ(missing(listed(), found), "") << "in the list, not in the headers";
#else
    GTEST_SKIP() << "universal-ctags is not installed";
#endif
}

TEST(PublicOperations, AreMarkedWithOneOfThreeWords)
{
    for (auto const& [name, mark] : listed_operations())
        EXPECT_TRUE(mark == "allocates" || mark == "nothing" || mark == "abstract") << mark << ": " << name;
}

TEST(PublicOperations, ThatAllocateAreAllCovered)
{
    EXPECT_EQ(missing(listed("allocates"), covered_operations()), "");
}

TEST(PublicOperations, ThatAreCoveredAreAllListedAsAllocating)
{
    EXPECT_EQ(missing(covered_operations(), listed("allocates")), "");
}

} // namespace
} // namespace faults
