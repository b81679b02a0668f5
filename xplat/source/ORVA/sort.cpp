#include "ORVA/Buffers/Sort.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ORVA::Buffers
{

namespace
{

using Byte = unsigned char;

constexpr unsigned long word_size = sizeof(std::uint64_t);
constexpr unsigned long block_size = 32;

// Both pieces are read before either is written, so that the result is defined for pieces that overlap. A constant
// size turns the copies into plain loads and stores of any alignment.
template <unsigned long Size>
inline void exchange_piece(Byte* a, Byte* b)
{
    Byte from_a[Size];
    Byte from_b[Size];
    std::memcpy(from_a, a, Size);
    std::memcpy(from_b, b, Size);
    std::memcpy(a, from_b, Size);
    std::memcpy(b, from_a, Size);
}

// Exchanges the pieces of `Size` bytes from `offset` up to `end`, ascending. Returns where it stopped.
template <unsigned long Size>
inline unsigned long exchange_pieces(Byte* a, Byte* b, unsigned long offset, unsigned long end)
{
    for (; offset < end; offset += Size)
        exchange_piece<Size>(a + offset, b + offset);
    return offset;
}

constexpr unsigned long whole(unsigned long width, unsigned long piece)
{
    return width - width % piece;
}

// The width classes. Each knows the distance of two elements and how to exchange two that do not overlap; the sort is
// built once for each, so that the choice is made per call and the loops of the sort hold the bare exchange.

// Common widths, known while compiling. At 64 bytes this takes a tenth off the time of a sort, against the loops of
// BlockElement.
template <unsigned long Width>
struct FixedElement
{
    static constexpr unsigned long width() { return Width; }
    static void exchange(Byte* a, Byte* b) { exchange_piece<Width>(a, b); }
};

// Widths below a word.
class ByteElement
{
public:
    explicit ByteElement(unsigned long width) : m_width(width) {}

    unsigned long width() const { return m_width; }
    void exchange(Byte* a, Byte* b) const { exchange_pieces<1>(a, b, 0, m_width); }

private:
    unsigned long m_width;
};

// Widths of words and, perhaps, a few bytes more.
class WordElement
{
public:
    explicit WordElement(unsigned long width) : m_width(width), m_words(whole(width, word_size)) {}

    unsigned long width() const { return m_width; }
    void exchange(Byte* a, Byte* b) const
    {
        unsigned long const offset = exchange_pieces<word_size>(a, b, 0, m_words);
        exchange_pieces<1>(a, b, offset, m_width);
    }

private:
    unsigned long m_width;
    unsigned long m_words;
};

// Widths from a block up, which take wide registers.
class BlockElement
{
public:
    explicit BlockElement(unsigned long width)
        : m_width(width), m_words(whole(width, word_size)), m_blocks(whole(width, block_size))
    {
    }

    unsigned long width() const { return m_width; }
    void exchange(Byte* a, Byte* b) const
    {
        unsigned long offset = exchange_pieces<block_size>(a, b, 0, m_blocks);
        offset = exchange_pieces<word_size>(a, b, offset, m_words);
        exchange_pieces<1>(a, b, offset, m_width);
    }

private:
    unsigned long m_width;
    unsigned long m_words;
    unsigned long m_blocks;
};

// The two forms of comparison, under one signature.
struct PlainOrder
{
    Sort::Compare compare;

    int operator()(void const* a, void const* b) const { return compare(a, b); }
};

struct ContextOrder
{
    Sort::CompareWithContext compare;
    void const* context;

    int operator()(void const* a, void const* b) const { return compare(a, b, context); }
};

// The ranges that wait for their turn. The larger part of a partition waits and the smaller one goes on, so the range
// at hand is less than half as large with each entry, and a range of a few elements is never split: 30 entries serve
// 2^33 elements, and are not checked for more.
class WorkList
{
public:
    void push(Byte* lo, Byte* hi)
    {
        m_lower[m_count] = lo;
        m_upper[m_count] = hi;
        ++m_count;
    }

    bool pop(Byte*& lo, Byte*& hi)
    {
        if (--m_count < 0)
            return false;
        lo = m_lower[m_count];
        hi = m_upper[m_count];
        return true;
    }

private:
    Byte* m_lower[30];
    Byte* m_upper[30];
    int m_count = 0;
};

constexpr unsigned long short_range = 8;

// Selection sort from the upper end: few exchanges, and for a few elements no more comparisons than anything else.
template <class Element, class Order>
inline void sort_short_range(Byte* lo, Byte* hi, Element const element, Order const order)
{
    unsigned long const width = element.width();
    while (hi > lo)
    {
        Byte* max = lo;
        for (Byte* p = lo + width; p <= hi; p += width)
            max = order(p, max) > 0 ? p : max;
        if (max != hi)
            element.exchange(max, hi);
        hi -= width;
    }
}

// Sorts `lo` to `hi`, both included. `loguy` goes no further than one past `hi`, and `higuy` starts there and goes no
// further than `lo`, whatever the comparison says.
template <class Element, class Order>
void sort_range(Byte* lo, Byte* hi, Element const element, Order const order)
{
    unsigned long const width = element.width();
    WorkList waiting;
    do
    {
        for (;;)
        {
            unsigned long const size = static_cast<unsigned long>(hi - lo) / width + 1;
            if (size <= short_range)
            {
                sort_short_range(lo, hi, element, order);
                break;
            }
            element.exchange(lo + (size >> 1) * width, lo);

            Byte* loguy = lo;
            Byte* higuy = hi + width;
            for (;;)
            {
                do
                    loguy += width;
                while (loguy <= hi && order(loguy, lo) <= 0);
                do
                    higuy -= width;
                while (higuy > lo && order(higuy, lo) >= 0);
                if (higuy < loguy)
                    break;
                if (loguy != higuy)
                    element.exchange(loguy, higuy);
            }
            if (higuy != lo)
                element.exchange(lo, higuy);

            bool const left_is_left = higuy - lo > static_cast<std::ptrdiff_t>(width);
            bool const right_is_left = loguy < hi;
            if (higuy - lo - 1 >= hi - loguy)
            {
                if (left_is_left)
                    waiting.push(lo, higuy - width);
                if (!right_is_left)
                    break;
                lo = loguy;
            }
            else
            {
                if (right_is_left)
                    waiting.push(loguy, hi);
                if (!left_is_left)
                    break;
                hi = higuy - width;
            }
        }
    } while (waiting.pop(lo, hi));
}

template <class Order>
void sort_by_width(void* base, unsigned long count, unsigned long width, Order const order)
{
    if (count < 2 || width == 0)
        return;
    Byte* const lo = static_cast<Byte*>(base);
    Byte* const hi = lo + (count - 1) * width;
    switch (width)
    {
    case 4:
        return sort_range(lo, hi, FixedElement<4>(), order);
    case 8:
        return sort_range(lo, hi, FixedElement<8>(), order);
    case 16:
        return sort_range(lo, hi, FixedElement<16>(), order);
    case 32:
        return sort_range(lo, hi, FixedElement<32>(), order);
    case 64:
        return sort_range(lo, hi, FixedElement<64>(), order);
    default:
        break;
    }
    if (width < word_size)
        sort_range(lo, hi, ByteElement(width), order);
    else if (width < block_size)
        sort_range(lo, hi, WordElement(width), order);
    else
        sort_range(lo, hi, BlockElement(width), order);
}

template <class Order>
unsigned long lower_bound(void const* key, void const* base, unsigned long count, unsigned long width,
                          Order const order)
{
    Byte const* const elements = static_cast<Byte const*>(base);
    if (count == 0 || order(key, elements) <= 0)
        return 0;
    unsigned long const last = count - 1;
    if (order(key, elements + last * width) > 0)
        return count;
    if (last < 2)
        return last;
    unsigned long lo = 0;
    unsigned long hi = last;
    while (hi - lo > 1)
    {
        unsigned long const mid = (lo + hi) >> 1;
        if (order(key, elements + mid * width) > 0)
            lo = mid;
        else
            hi = mid;
    }
    return hi;
}

bool overlap(Byte const* a, Byte const* b, unsigned long size)
{
    auto const first = reinterpret_cast<std::uintptr_t>(a);
    auto const second = reinterpret_cast<std::uintptr_t>(b);
    return (first < second ? second - first : first - second) < size;
}

} // namespace

void swap(void* a, void* b, unsigned long width)
{
    if (a == b)
        return;
    Byte* const first = static_cast<Byte*>(a);
    Byte* const second = static_cast<Byte*>(b);
    if (width < word_size)
        ByteElement(width).exchange(first, second);
    else if (width < block_size || overlap(first, second, whole(width, word_size)))
        WordElement(width).exchange(first, second);
    else
        BlockElement(width).exchange(first, second);
}

} // namespace ORVA::Buffers

namespace ORVA::Buffers::Sort
{

void vfqsort(void* base, unsigned long count, unsigned long width, Compare compare)
{
    sort_by_width(base, count, width, PlainOrder{compare});
}

void vfpqsort(void* base, unsigned long count, unsigned long width, void const* context, CompareWithContext compare)
{
    sort_by_width(base, count, width, ContextOrder{compare, context});
}

unsigned long vfqsearch(void const* key, void const* base, unsigned long count, unsigned long width, Compare compare)
{
    return lower_bound(key, base, count, width, PlainOrder{compare});
}

unsigned long vfqfind(void const* key, void const* base, unsigned long count, unsigned long width, Compare compare)
{
    return vfqsearch(key, base, count, width, compare);
}

unsigned long vfpqsearch(void const* key, void const* base, unsigned long count, unsigned long width,
                         void const* context, CompareWithContext compare)
{
    return lower_bound(key, base, count, width, ContextOrder{compare, context});
}

} // namespace ORVA::Buffers::Sort
