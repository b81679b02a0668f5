// Comparisons that throw, in sorts and searches: the exception passes, and no element is lost.
#include "ORVA/Buffers/Sort.h"

#include "exceptions/thrown.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace
{

using namespace exceptions;
namespace Sort = ORVA::Buffers::Sort;

/// Elements of `width` bytes, of which the first two are the key and the others tell them apart.
class Elements
{
public:
    Elements(unsigned long count, unsigned long width, std::mt19937& random) : m_width(width)
    {
        for (unsigned long index = 0; index < count; ++index)
        {
            std::string element(width, static_cast<char>('A' + index % 26));
            element[0] = static_cast<char>(random() % 4);
            element[1] = static_cast<char>(random() % 4);
            m_bytes += element;
        }
    }

    void* base() { return m_bytes.data(); }
    unsigned long count() const { return m_bytes.size() / m_width; }
    std::string const& bytes() const { return m_bytes; }

    /// The elements in an order of their own.
    std::vector<std::string> as_a_set() const
    {
        std::vector<std::string> elements;
        for (unsigned long offset = 0; offset < m_bytes.size(); offset += m_width)
            elements.push_back(m_bytes.substr(offset, m_width));
        std::sort(elements.begin(), elements.end());
        return elements;
    }

    bool is_sorted() const
    {
        for (unsigned long index = 1; index < count(); ++index)
        {
            if (std::memcmp(&m_bytes[(index - 1) * m_width], &m_bytes[index * m_width], 2) > 0)
                return false;
        }
        return true;
    }

private:
    unsigned long m_width;
    std::string m_bytes;
};

Fuse* current = nullptr;

int compare(void const* a, void const* b)
{
    current->call();
    return std::memcmp(a, b, 2);
}

int compare_with_context(void const* a, void const* b, void const* context)
{
    EXPECT_EQ(context, current);
    return compare(a, b);
}

struct SortForm
{
    char const* name;
    void (*sort)(void* base, unsigned long count, unsigned long width);
};

constexpr SortForm sorts[] = {
    {"vfqsort",
     [](void* base, unsigned long count, unsigned long width) { Sort::vfqsort(base, count, width, &compare); }},
    {"vfpqsort", [](void* base, unsigned long count, unsigned long width)
     { Sort::vfpqsort(base, count, width, current, &compare_with_context); }},
};

TEST(ThrowingComparison, LeavesASortWithAllElementsInPlaceOfEachOther)
{
    std::mt19937 random(3);
    for (SortForm const& form : sorts)
    {
        // one of each class of widths: bytes, a word, fixed sizes, words and bytes, blocks
        for (unsigned long const width : {3UL, 4UL, 8UL, 16UL, 21UL, 40UL, 64UL, 70UL})
        {
            SCOPED_TRACE(testing::Message() << form.name << ", width " << width);
            Elements const unsorted(25, width, random);
            unsigned long const calls = at_each_call(
                [&](Fuse& fuse)
                {
                    Elements elements = unsorted;
                    current = &fuse;
                    lets_through(fuse, [&] { form.sort(elements.base(), elements.count(), width); });
                    EXPECT_EQ(elements.as_a_set(), unsorted.as_a_set());

                    Fuse whole;
                    current = &whole;
                    form.sort(elements.base(), elements.count(), width);
                    EXPECT_TRUE(elements.is_sorted());
                    EXPECT_EQ(elements.as_a_set(), unsorted.as_a_set());
                });
            EXPECT_GT(calls, 25U);
        }
    }
}

struct SearchForm
{
    char const* name;
    unsigned long (*search)(void const* key, void const* base, unsigned long count, unsigned long width);
};

constexpr SearchForm searches[] = {
    {"vfqsearch", [](void const* key, void const* base, unsigned long count, unsigned long width)
     { return Sort::vfqsearch(key, base, count, width, &compare); }},
    {"vfqfind", [](void const* key, void const* base, unsigned long count, unsigned long width)
     { return Sort::vfqfind(key, base, count, width, &compare); }},
    {"vfpqsearch", [](void const* key, void const* base, unsigned long count, unsigned long width)
     { return Sort::vfpqsearch(key, base, count, width, current, &compare_with_context); }},
};

TEST(ThrowingComparison, LeavesASearchAtEachOfItsCallsAndTouchesNothing)
{
    std::string const elements = "aaccffggiikkmmppttzz";
    for (SearchForm const& form : searches)
    {
        for (char const letter : {'A', 'a', 'b', 'g', 'j', 'z', '~'})
        {
            SCOPED_TRACE(testing::Message() << form.name << " of " << letter);
            std::string const key(2, letter);
            std::string const searched = elements;
            unsigned long expected = 0;
            while (expected < 10 && elements.compare(2 * expected, 2, key) < 0)
                ++expected;
            unsigned long const calls = at_each_call(
                [&](Fuse& fuse)
                {
                    current = &fuse;
                    unsigned long place = 99;
                    bool const thrown =
                        lets_through(fuse, [&] { place = form.search(key.data(), searched.data(), 10, 2); });
                    EXPECT_EQ(place, thrown ? 99 : expected);
                    EXPECT_EQ(searched, elements);
                });
            EXPECT_GT(calls, 0U);
        }
    }
}

} // namespace
