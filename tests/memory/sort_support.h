/// @file
/// Elements with keys and a record of comparisons, for the tests of the sort and the bisection.
#pragma once

#include "ORVA/Buffers/Sort.h"

#include "reference/plain_sort.h"

#include <sys/mman.h>

#include <algorithm>
#include <functional>
#include <random>
#include <stdexcept>
#include <utility>
#include <vector>

namespace sorting
{

using Bytes = std::vector<unsigned char>;
using Calls = std::vector<std::pair<long, long>>;

/// Widths of every class, and those at the bounds of the classes.
inline constexpr unsigned long all_widths[] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  12, 16,
                                               23, 24, 31, 32, 33, 40, 63, 64, 71, 96, 100};

/// An element begins with its key. The bytes behind it tell equal elements apart: they are made of the index that the
/// element had at first. An element of one byte holds the key in its upper half and a few bits of the index below.
inline int key_of(void const* element, unsigned long width)
{
    int const first = *static_cast<unsigned char const*>(element);
    return width == 1 ? first >> 4 : first;
}

inline Bytes make_elements(std::vector<int> const& keys, unsigned long width)
{
    Bytes bytes(keys.size() * width);
    for (unsigned long i = 0; i < keys.size(); ++i)
    {
        unsigned char* const element = bytes.data() + i * width;
        if (width == 1)
        {
            element[0] = static_cast<unsigned char>((keys[i] << 4) | static_cast<int>(i & 15));
            continue;
        }
        element[0] = static_cast<unsigned char>(keys[i]);
        element[1] = static_cast<unsigned char>(i);
        for (unsigned long k = 2; k < width; ++k)
            element[k] = static_cast<unsigned char>(k == 2 ? i >> 8 : i * 31 + k * 7);
    }
    return bytes;
}

/// What the comparison functions look at: a plain function has no other way to the array under test.
struct Probe
{
    unsigned char const* base = nullptr;
    unsigned long width = 0;
    Calls calls;
    std::function<int(void const*, void const*)> verdict;

    long position(void const* element) const { return static_cast<unsigned char const*>(element) - base; }

    int compare(void const* a, void const* b)
    {
        calls.emplace_back(position(a), position(b));
        if (verdict)
            return verdict(a, b);
        return key_of(a, width) - key_of(b, width);
    }
};

inline Probe* current = nullptr;

inline int compare_current(void const* a, void const* b)
{
    return current->compare(a, b);
}

inline int compare_in_context(void const* a, void const* b, void const* context)
{
    return (*static_cast<Probe* const*>(context))->compare(a, b);
}

/// The two forms of the sort.
enum class Form
{
    plain,
    context
};

inline constexpr Form both_forms[] = {Form::plain, Form::context};

/// Sorts with the function of `form`, and records its calls in `probe`.
inline void sort(Form form, Probe& probe, void* base, unsigned long count, unsigned long width)
{
    probe.base = static_cast<unsigned char const*>(base);
    probe.width = width;
    Probe* const context = &probe;
    current = form == Form::plain ? &probe : nullptr;
    if (form == Form::plain)
        ORVA::Buffers::Sort::vfqsort(base, count, width, compare_current);
    else
        ORVA::Buffers::Sort::vfpqsort(base, count, width, &context, compare_in_context);
}

/// Sorts with the twin, and records its calls in `probe`.
inline reference::PlainSortCounts sort_plainly(Probe& probe, void* base, unsigned long count, unsigned long width)
{
    probe.base = static_cast<unsigned char const*>(base);
    probe.width = width;
    return reference::plain_sort(base, count, width, [&](void const* a, void const* b) { return probe.compare(a, b); });
}

/// A page that traps every write, with `contents` in it.
class ReadOnlyPage
{
public:
    explicit ReadOnlyPage(Bytes const& contents)
        : m_page(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))
    {
        if (m_page == MAP_FAILED || contents.size() > size)
            throw std::runtime_error("no page");
        std::copy(contents.begin(), contents.end(), static_cast<unsigned char*>(m_page));
        if (mprotect(m_page, size, PROT_READ) != 0)
            throw std::runtime_error("no protection");
    }

    ReadOnlyPage(ReadOnlyPage const&) = delete;
    ReadOnlyPage& operator=(ReadOnlyPage const&) = delete;

    ~ReadOnlyPage() { munmap(m_page, size); }

    void* data() const { return m_page; }

private:
    static constexpr unsigned long size = 4096;
    void* m_page;
};

inline std::vector<int> random_keys(unsigned long count, int distinct, std::mt19937& random)
{
    std::vector<int> keys(count);
    for (auto& key : keys)
        key = static_cast<int>(random() % static_cast<unsigned int>(distinct));
    return keys;
}

} // namespace sorting
