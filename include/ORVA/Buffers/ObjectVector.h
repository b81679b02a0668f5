/// @file
/// Growable arrays of objects inside one block.
///
/// The number of elements is the block's used size divided by the element size.
///
/// Thread-safety: none. A vector has no lock: its owner serialises access, for all handles on one block together.
/// Ownership: the block owns its elements. A copy of a vector handle is a second handle on the same elements, not a
/// snapshot, and a write through one is seen through the other until one of them has to grow.
#pragma once

#include "ORVA/Buffers/ObjectMemory.h"
#include "ORVA/Develop/Log.h"

#include <climits>
#include <cstring>
#include <type_traits>
#include <utility>

namespace ORVA::Buffers
{

/// Whether a vector that is the only owner of its block may move its elements to a larger one by bytes alone, with
/// neither copies nor destructors. False unless specialised; true for the handles and records of this library.
template <class T>
struct MovesByBytes : std::false_type
{
};

template <>
struct MovesByBytes<CPObjectMemory> : std::true_type
{
};

/// A handle on an array of `T` that grows by 16 elements at a step.
///
/// `T` is constructed, copied and destroyed by its own operations, but shifted inside the array by plain memory moves:
/// it must hold no pointer into itself. Its destructor must not throw. Its copy constructor may, save where the vector is
/// cloned: elements that were not made would be destroyed. Results are 1 for success and 0 for failure; indexes and
/// counts are elements.
template <class T>
class ORVA_TEMPLATE_API CPObjectVector : public CPObjectMemory
{
public:
    /// The type table of these blocks.
    static tagCPOVTABL const _vtbl;

    CPObjectVector() noexcept = default;

    /// A second handle on the block of `source` if that is a vector of this type, otherwise empty.
    CPObjectVector(CPObjectMemory const& source)
    {
        if (source.IsNAssignable(sizeof(T), &_vtbl))
            CopyCPMemory(source);
    }

    /// As the constructor; a refused block leaves the handle empty, its own block released.
    CPObjectVector& operator=(CPObjectMemory const& source)
    {
        if (source.IsNAssignable(sizeof(T), &_vtbl))
            CopyCPMemory(source);
        else
            free();
        return *this;
    }

    /// Releases the block and allocates exactly `count` elements, all default-constructed; none for 0, which is a
    /// success. If a constructor throws, the vector holds the elements made so far.
    int Alloc(unsigned long count);

    /// Inserts a copy of `item` before the element at `index`; an index past the end appends. The first insertion
    /// makes room for 16 elements, and a full vector moves to a block with room for 16 more: other handles stay on the
    /// old one. `item` may be an element of this vector. If a copy throws, the vector is as it was.
    int Insert(T const& item, unsigned long index);

    /// Destroys the element at `index` and closes the gap; 0 if there is none. The capacity stays, unless
    /// `bFreeIfEmpty` is true and this was the last element: then the block goes.
    int Delete(unsigned long index, bool bFreeIfEmpty);

    /// Makes room for exactly `count` elements; existing ones are kept. Nothing happens if there are as many already.
    ///
    /// The test is against the elements in use and not against the capacity: a `count` above the former allocates
    /// anew even where the capacity would do. If a copy throws, the vector is as it was.
    int Reserve(unsigned long count);

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

    /// The operation of the type table: constructs as many elements as fit `size`.
    static void _create(void* payload, unsigned long size);
    /// The operation of the type table: constructs as many elements as fit `size` as copies.
    static void _clone(void* dest, void const* source, unsigned long size);
    /// The operation of the type table: destroys as many elements as fit `size`.
    static void _finalize(void* payload, unsigned long size);

private:
    static constexpr unsigned long growth = 16;

    /// @cond
    // The copy of an item on its way into a vector. It is destroyed unless its bytes have been put in place.
    class Arrival
    {
    public:
        explicit Arrival(T const& item) { ::new (static_cast<void*>(m_bytes), _nqfDebugLevel(0)) T(item); }
        ~Arrival()
        {
            if (!m_placed)
                reinterpret_cast<T*>(m_bytes)->~T();
        }
        Arrival(Arrival const&) = delete;
        Arrival& operator=(Arrival const&) = delete;

        void put_at(T* place) noexcept
        {
            std::memcpy(static_cast<void*>(place), m_bytes, sizeof(T));
            m_placed = true;
        }

    private:
        alignas(T) unsigned char m_bytes[sizeof(T)];
        bool m_placed = false;
    };
    /// @endcond

    static CPObjectVector _make_room(unsigned long count);
    void _copy_elements_to(CPObjectVector& other) const;
    void _hand_elements_to(CPObjectVector& other);
    void _take_block_of(CPObjectVector& other);
    bool _may_move_by_bytes() const noexcept { return MovesByBytes<T>::value && lockcnt() == 1; }
};

template <class T>
tagCPOVTABL const CPObjectVector<T>::_vtbl = {&CPObjectVector::_create, &CPObjectVector::_clone,
                                              &CPObjectVector::_finalize, &CPObjectMemory::_nointerface};

template <class T>
void CPObjectVector<T>::_create(void* payload, unsigned long size)
{
    unsigned int const count = static_cast<unsigned int>(size / sizeof(T));
    T* const elements = static_cast<T*>(payload);
    for (unsigned int index = 0; index < count; ++index)
        ::new (elements + index, _nqfDebugLevel(0)) T();
}

template <class T>
void CPObjectVector<T>::_clone(void* dest, void const* source, unsigned long size)
{
    unsigned int const count = static_cast<unsigned int>(size / sizeof(T));
    T* const elements = static_cast<T*>(dest);
    T const* const originals = static_cast<T const*>(source);
    for (unsigned int index = 0; index < count; ++index)
        ::new (elements + index, _nqfDebugLevel(0)) T(originals[index]);
}

template <class T>
void CPObjectVector<T>::_finalize(void* payload, unsigned long size)
{
    unsigned int const count = static_cast<unsigned int>(size / sizeof(T));
    T* const elements = static_cast<T*>(payload);
    for (unsigned int index = 0; index < count; ++index)
        elements[index].~T();
}

// An empty vector with a block for `count` elements; without a block if that cannot be had.
template <class T>
CPObjectVector<T> CPObjectVector<T>::_make_room(unsigned long count)
{
    static_assert(alignof(T) <= 16, "a payload is aligned to 16 bytes");
    CPObjectVector room;
    if (count <= ULONG_MAX / sizeof(T))
        room.m_pMH = _allocate(count * sizeof(T), 0, &_vtbl);
    return room;
}

// The used size of the new block rises with each copy, so that its release destroys exactly what was made if one throws.
template <class T>
void CPObjectVector<T>::_copy_elements_to(CPObjectVector& other) const
{
    for (T const& element : *this)
    {
        ::new (other.end(), _nqfDebugLevel(0)) T(element);
        other.m_pMH->uSize += sizeof(T);
    }
}

// Moves the elements if they may be moved, otherwise copies them. A sole owner may have become one of several since it
// was last looked at: the copy of an item can hold a handle on this very block.
template <class T>
void CPObjectVector<T>::_hand_elements_to(CPObjectVector& other)
{
    if (!_may_move_by_bytes())
        return _copy_elements_to(other);
    if (unsigned long const size = GetCount() * sizeof(T); size != 0)
    {
        std::memcpy(other.get_ptr(), get_ptr(), size);
        other.m_pMH->uSize = size;
        m_pMH->uSize = 0;
    }
}

template <class T>
void CPObjectVector<T>::_take_block_of(CPObjectVector& other)
{
    Free(m_pMH);
    m_pMH = std::exchange(other.m_pMH, nullptr);
}

template <class T>
int CPObjectVector<T>::Alloc(unsigned long count)
{
    free();
    if (count == 0)
        return 1;
    CPObjectVector room = _make_room(count);
    if (!room)
        return 0;
    _take_block_of(room);
    T* const elements = begin();
    for (unsigned long index = 0; index < count; ++index)
    {
        ::new (elements + index, _nqfDebugLevel(0)) T();
        if constexpr (!std::is_nothrow_default_constructible_v<T>)
            m_pMH->uSize = (index + 1) * sizeof(T);
    }
    m_pMH->uSize = count * sizeof(T);
    return 1;
}

// All that may fail or throw comes before anything of this vector changes: the larger block, the copies of the old
// elements where they cannot be moved, and the copy of the item, which may be one of them. What follows moves bytes.
//
// A long block whose elements may be moved is made larger by the heap, which often need not move it: that keeps the cost
// of filling a vector of 100,000 in proportion to its length. As that cannot be undone, it is for items whose copy does not
// throw, as those of handles; an item that lies in the block moves with it.
template <class T>
int CPObjectVector<T>::Insert(T const& item, unsigned long index)
{
    constexpr unsigned long long_block = 1024; // bytes: moving less costs no more than asking the heap
    unsigned long const count = GetCount();
    bool const grows = m_pMH == nullptr || count >= GetAllocSize() / sizeof(T);
    if constexpr (std::is_trivially_copyable_v<T>)
    {
        // Nobody's code runs in a copy, so it can be made in its place.
        if (!grows && index >= count)
        {
            ::new (begin() + count, _nqfDebugLevel(0)) T(item);
            _set_size_in_use((count + 1) * sizeof(T));
            return 1;
        }
    }
    constexpr bool copies_throw = !std::is_nothrow_copy_constructible_v<T> && !std::is_base_of_v<CPObjectMemory, T>;
    bool const is_itself = static_cast<void const*>(&item) == this; // the element is to hold the block as it was
    bool const stretches = grows && !copies_throw && !is_itself && GetAllocSize() >= long_block && _may_move_by_bytes();
    T const* source = &item;
    CPObjectVector larger;
    if (stretches)
    {
        unsigned long const offset = reinterpret_cast<unsigned long>(source) - reinterpret_cast<unsigned long>(begin());
        if (!Incalloc((count + growth) * sizeof(T) - GetAllocSize()))
            return 0;
        if (offset < count * sizeof(T))
            source = reinterpret_cast<T const*>(static_cast<char const*>(get_cptr()) + offset);
    }
    else if (grows)
    {
        larger = _make_room(count + growth);
        if (!larger)
            return 0;
        if (!_may_move_by_bytes())
            _copy_elements_to(larger);
    }
    Arrival arrival(*source);
    if (larger)
    {
        if (larger.GetCount() < count)
            _hand_elements_to(larger);
        _take_block_of(larger);
    }
    unsigned long const position = index < count ? index : count;
    T* const place = begin() + position;
    if (position < count)
        std::memmove(static_cast<void*>(place + 1), static_cast<void const*>(place), (count - position) * sizeof(T));
    arrival.put_at(place);
    _set_size_in_use((count + 1) * sizeof(T));
    return 1;
}

template <class T>
int CPObjectVector<T>::Delete(unsigned long index, bool bFreeIfEmpty)
{
    unsigned long const count = GetCount();
    if (index >= count)
        return 0;
    T* const place = begin() + index;
    place->~T();
    _set_size_in_use((count - 1) * sizeof(T));
    if (count == 1)
    {
        if (bFreeIfEmpty)
            free();
        return 1;
    }
    std::memmove(static_cast<void*>(place), static_cast<void const*>(place + 1), (count - 1 - index) * sizeof(T));
    return 1;
}

template <class T>
int CPObjectVector<T>::Reserve(unsigned long count)
{
    unsigned long const used = GetCount();
    if (count <= used)
        return 1;
    if (used == 0)
        free();
    CPObjectVector room = _make_room(count);
    if (!room)
        return 0;
    _hand_elements_to(room);
    _take_block_of(room);
    SetSize(used * sizeof(T));
    return 1;
}

extern template class CPObjectVector<CPObjectMemory>;

} // namespace ORVA::Buffers
