/// @file
/// Growable arrays of plain values inside one block of plain bytes.
///
/// Thread-safety and ownership are those of `CPObjectVector`: there is no lock and no copy on write.
#pragma once

#include "ORVA/Buffers/PlainMemory.h"

#include <cstring>
#include <type_traits>

namespace ORVA::Buffers
{

/// A handle on an array of plain values that grows by 16 elements (128 bytes for pointers) at a step.
template <class T>
class ORVA_TEMPLATE_API CPPlainVector : public CPPlainMemory
{
    static_assert(std::is_trivially_copyable_v<T>, "elements are moved and copied by bytes");
    static constexpr unsigned long growth = 16 * sizeof(T);

public:
    /// As `CPPlainMemory` does: empty, or a second handle on a block of plain bytes.
    using CPPlainMemory::CPPlainMemory;
    using CPPlainMemory::operator=;

    /// Inserts `item` before the element at `index`; an index past the end appends. 1 for success; 0, with the vector
    /// unchanged, if the heap is exhausted. A full vector moves to a larger block: other handles stay on the old one.
    int Insert(T const& item, unsigned long index)
    {
        T const copy = item;
        unsigned long const count = GetCount();
        if (m_pMH == nullptr)
        {
            if (!_Reserve(growth, &CPPlainMemory::_vtbl))
                return 0;
        }
        else if (count >= GetAllocSize() / sizeof(T))
        {
            if (!Resize((GetSize() + growth) / sizeof(T) * sizeof(T)))
                return 0;
        }
        unsigned long const position = index < count ? index : count;
        T* const place = begin() + position;
        std::memmove(place + 1, place, (count - position) * sizeof(T));
        *place = copy;
        return SetSize((count + 1) * sizeof(T));
    }

    /// The number of elements.
    unsigned long GetCount() const noexcept { return GetSize() / sizeof(T); }

    /// The element at `index`, which must be below the count.
    T& operator[](unsigned long index) noexcept { return begin()[index]; }
    /// The element at `index` for reading; it must be below the count.
    T const& operator[](unsigned long index) const noexcept { return begin()[index]; }

    /// The first element, null without a block.
    T* begin() noexcept { return static_cast<T*>(get_ptr()); }
    /// Behind the last element, null without a block.
    T* end() noexcept { return begin() + GetCount(); }
    /// The first element for reading, null without a block.
    T const* begin() const noexcept { return static_cast<T const*>(get_cptr()); }
    /// Behind the last element for reading, null without a block.
    T const* end() const noexcept { return begin() + GetCount(); }
};

} // namespace ORVA::Buffers
