/// @file
/// The plain twin of the sort and the bisection: one step after the other, with no width classes, as the oracle for the
/// exact sequence of comparisons and exchanges.
#pragma once

#include <cstddef>
#include <cstring>
#include <vector>

namespace reference
{

/// Exchanges by 64-bit words and then by bytes, ascending; by bytes only below a width of 8.
inline void plain_swap(void* a, void* b, unsigned long width)
{
    if (a == b)
        return;
    auto* first = static_cast<unsigned char*>(a);
    auto* second = static_cast<unsigned char*>(b);
    unsigned long left = width;
    while (left != 0)
    {
        unsigned long const step = left >= 8 ? 8 : 1;
        unsigned char from_first[8];
        unsigned char from_second[8];
        std::memcpy(from_first, first, step);
        std::memcpy(from_second, second, step);
        std::memcpy(first, from_second, step);
        std::memcpy(second, from_first, step);
        first += step;
        second += step;
        left -= step;
    }
}

/// What a run of the plain sort has met.
struct PlainSortCounts
{
    unsigned long comparisons = 0;
    unsigned long partitions = 0;
    unsigned long meetings = 0; ///< passes in which both sides stopped at one element
    int deepest = 0;            ///< most entries in the work list at a time
};

/// Sorts with `compare(void const* a, void const* b)`.
template <class Compare>
PlainSortCounts plain_sort(void* base, unsigned long count, unsigned long width, Compare compare)
{
    PlainSortCounts counts;
    if (count < 2 || width == 0)
        return counts;

    // Positions are signed distances from the base in bytes, so that a position before the base is only a number.
    auto* const bytes = static_cast<unsigned char*>(base);
    long const step = static_cast<long>(width);
    auto order = [&](long a, long b)
    {
        ++counts.comparisons;
        return compare(static_cast<void const*>(bytes + a), static_cast<void const*>(bytes + b));
    };
    auto exchange = [&](long a, long b)
    {
        if (a == b)
            return;
        std::vector<unsigned char> kept(width);
        std::memcpy(kept.data(), bytes + a, width);
        std::memcpy(bytes + a, bytes + b, width);
        std::memcpy(bytes + b, kept.data(), width);
    };

    long lower[64];
    long upper[64];
    int counter = 0;
    auto push = [&](long from, long to)
    {
        lower[counter] = from;
        upper[counter] = to;
        ++counter;
        if (counter > counts.deepest)
            counts.deepest = counter;
    };

    long lo = 0;
    long hi = static_cast<long>(count - 1) * step;
    for (;;)
    {
        long const size = (hi - lo) / step + 1;
        bool again = false;
        if (size <= 8)
        {
            while (hi > lo)
            {
                long max = lo;
                for (long p = lo + step; p <= hi; p += step)
                {
                    if (order(p, max) > 0)
                        max = p;
                }
                if (max != hi)
                    exchange(max, hi);
                hi -= step;
            }
        }
        else
        {
            ++counts.partitions;
            exchange(lo + (size >> 1) * step, lo);
            long loguy = lo;
            long higuy = hi + step;
            for (;;)
            {
                for (;;)
                {
                    loguy += step;
                    if (loguy > hi)
                        break;
                    if (order(loguy, lo) > 0)
                        break;
                }
                for (;;)
                {
                    higuy -= step;
                    if (higuy <= lo)
                        break;
                    if (order(higuy, lo) < 0)
                        break;
                }
                if (higuy < loguy)
                    break;
                if (higuy == loguy)
                {
                    ++counts.meetings;
                    continue;
                }
                exchange(loguy, higuy);
            }
            exchange(lo, higuy);

            if (higuy - 1 - lo >= hi - loguy)
            {
                if (lo + step < higuy)
                    push(lo, higuy - step);
                if (loguy < hi)
                {
                    lo = loguy;
                    again = true;
                }
            }
            else
            {
                if (loguy < hi)
                    push(loguy, hi);
                if (lo + step < higuy)
                {
                    hi = higuy - step;
                    again = true;
                }
            }
        }
        if (again)
            continue;
        --counter;
        if (counter < 0)
            return counts;
        lo = lower[counter];
        hi = upper[counter];
    }
}

/// The insertion index of `key`, with `compare(void const* key, void const* element)`.
template <class Compare>
unsigned long plain_search(void const* key, void const* base, unsigned long count, unsigned long width, Compare compare)
{
    auto const* const bytes = static_cast<unsigned char const*>(base);
    auto above = [&](unsigned long index) { return compare(key, static_cast<void const*>(bytes + index * width)) > 0; };
    if (count == 0)
        return 0;
    if (!above(0))
        return 0;
    unsigned long const last = count - 1;
    if (above(last))
        return count;
    if (last < 2)
        return last;
    unsigned long lo = 0;
    unsigned long hi = last;
    while (hi - lo > 1)
    {
        unsigned long const mid = (lo + hi) >> 1;
        if (above(mid))
            lo = mid;
        else
            hi = mid;
    }
    return hi;
}

} // namespace reference
