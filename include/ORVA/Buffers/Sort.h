/// @file
/// Sorting and bisection over arrays of elements of any size, and the exchange of two elements.
///
/// An array is a base pointer, a count and a width in bytes. Its elements are opaque bytes that may stand at any
/// address, aligned or not, and must be movable by bytes. Order comes from a comparison function, which is called
/// through the pointer given.
///
/// Thread-safety: there is no state and no lock. The caller keeps the array stable for the length of a call.
/// Ownership: nothing is kept and nothing is allocated; the sort's work list stands on the stack.
///
/// An exception of a comparison passes through. A sort that is left so has every element still in the array, in
/// some order. A comparison that contradicts itself gives some order or some index, and never a look outside the
/// array.
#pragma once

#include "ORVA/Core/Export.h"

namespace ORVA::Buffers
{

/// Exchanges the `width` bytes at `a` with those at `b`. Does nothing if the two are the same address.
///
/// Ranges that overlap in part are exchanged in ascending order by 64-bit words and then by single bytes (by single
/// bytes only if `width` is below 8), so the bytes that they share take part more than once.
ORVA_API void swap(void* a, void* b, unsigned long width);

} // namespace ORVA::Buffers

namespace ORVA::Buffers::Sort
{

/// Gives a negative value, 0 or a positive one for `a` before, equal to or after `b`.
using Compare = int (*)(void const* a, void const* b);

/// As `Compare`, with the caller's own `context`, which is handed on as it is.
using CompareWithContext = int (*)(void const* a, void const* b, void const* context);

/// Sorts `count` elements of `width` bytes at `base` ascending, in place. With a count below 2 or a width of 0
/// nothing is touched and nothing compared.
///
/// The sort is a quicksort on the middle element, and **not stable**. It takes about `1.4 * count * log2(count)`
/// comparisons on elements in random or sorted order, but **quadratic time on an array with few distinct keys**,
/// such as a large one of zeros and ones in mixed order: a pass removes no more than a few of the equal elements.
/// Where such arrays are to be expected, let the comparison go on to a second criterion. An array of more
/// than 8 elements that are all equal takes only `2 * (count - 1)` comparisons.
///
/// The first argument of `compare` is the element that is looked at, the second the pivot or the greatest element
/// so far; both point into the array. The work list is made for up to 2^33 elements, and does not check for more.
ORVA_API void vfqsort(void* base, unsigned long count, unsigned long width, Compare compare);

/// As `vfqsort`, with a comparison that is given `context`.
ORVA_API void vfpqsort(void* base, unsigned long count, unsigned long width, void const* context,
                       CompareWithContext compare);

/// Searches a sorted array by bisection. Returns the index of the first element for which `compare(key, element)` is
/// not above 0, or `count` if there is none: the place where `key` is to be inserted. It does not tell whether `key`
/// is present: compare the element at the index, if that is below `count`.
///
/// `key` is always the first argument of `compare` and need not have the form of an element. Takes up to
/// `log2(count)` comparisons and two more, for the first and the last element.
ORVA_API unsigned long vfqsearch(void const* key, void const* base, unsigned long count, unsigned long width,
                                 Compare compare);

/// The same as `vfqsearch` in every respect: in spite of its name, it too gives a place and no proof of presence.
ORVA_API unsigned long vfqfind(void const* key, void const* base, unsigned long count, unsigned long width,
                               Compare compare);

/// As `vfqsearch`, with a comparison that is given `context`.
ORVA_API unsigned long vfpqsearch(void const* key, void const* base, unsigned long count, unsigned long width,
                                  void const* context, CompareWithContext compare);

} // namespace ORVA::Buffers::Sort
