/// @file
/// Object memory: typed, reference-counted blocks, and the handle on them that the whole library stands on.
///
/// A block is a header and, directly behind it, a payload. The header holds a count of references, two sizes and the
/// address of a table of operations, which is the block's type. `CPObjectMemory` is one pointer to a block.
///
/// | state of a handle | what it holds | copying and releasing |
/// |---|---|---|
/// | empty | nothing | nothing |
/// | counted | a heap block, count 1 or more | one atomic operation; the last release destroys the block |
/// | static | a block in static storage, count 0 | nothing is counted, nothing is ever freed |
///
/// Ownership: a handle owns one reference to its block; the block owns its payload. There is no copy on write: all
/// handles on a block see one payload, and `clone()` is the one way to a private copy.
///
/// Thread-safety: counts are changed by sequentially consistent interlocked operations, so handles on one block may be
/// copied and released in any threads, as long as the source of a copy lives during the copy. One handle must not be
/// assigned from two threads at once, and the payload is as safe as its own type makes it.
#pragma once

#include "ORVA/Core.h"
#include "ORVA/Core/Export.h"
#include "ORVA/Core/Types.h"

#include <cstddef>

namespace ORVA::Buffers
{

/// The operations of a block type. The address of the table is the type's identity, so a type has one table, in
/// static storage. Payload sizes are in bytes.
struct tagCPOVTABL
{
    /// Constructs a payload of `size` bytes.
    void (*_create)(void* payload, unsigned long size);
    /// Constructs `dest` as a copy of `source`. Null: the type cannot be cloned. If it throws, `_finalize` is called on
    /// whatever it has left in `dest`.
    void (*_clone)(void* dest, void const* source, unsigned long size);
    /// Destroys the contents of a payload; `size` is the block's used size. What it throws is reported and dropped.
    void (*_finalize)(void* payload, unsigned long size);
    /// Gives the interface `uid` inside the payload, or null. `CPObjectMemory::_nointerface` for types with none. What it
    /// throws passes to who asked.
    void* (*_interface)(void* payload, _nqfUID const& uid);
};

/// The header of a block; the payload starts directly behind it.
struct tagCPOMEMHEADER
{
    unsigned int lRefCnt;     ///< handles on the block; 0 marks a static block, which is not counted and never freed
    unsigned long uAllocSize; ///< payload capacity in bytes
    unsigned long uSize;      ///< payload bytes in use
    tagCPOVTABL const* pVTbl; ///< the block's type
};

static_assert(sizeof(tagCPOMEMHEADER) == 32, "the payload starts 32 bytes behind the header's address");
static_assert(offsetof(tagCPOMEMHEADER, uAllocSize) == 8 && offsetof(tagCPOMEMHEADER, uSize) == 16 &&
                  offsetof(tagCPOMEMHEADER, pVTbl) == 24,
              "the header's layout is fixed");

/// A handle on a block of object memory, one pointer wide. It accepts blocks of every type; the typed handles derive
/// from it.
///
/// Results of type `int` are 1 for success and 0 for failure. Failed assumptions are reported to the log and the
/// operation goes on. Sizes are payload bytes.
class ORVA_API CPObjectMemory
{
public:
    /// An empty handle, for use as a constant reference.
    static CPObjectMemory const pnull;

    CPObjectMemory() noexcept = default;

    /// A second handle on the block of `source`.
    CPObjectMemory(CPObjectMemory const& source) { CopyCPMemory(source); }

    /// Takes the reference of `source`, which becomes empty. No count changes.
    CPObjectMemory(CPObjectMemory&& source) noexcept : m_pMH(source.m_pMH) { source.m_pMH = nullptr; }

    /// Releases the reference.
    ~CPObjectMemory() { Free(m_pMH); }

    /// Releases the old block and becomes a second handle on the block of `source`.
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): CopyCPMemory handles it
    CPObjectMemory& operator=(CPObjectMemory const& source)
    {
        CopyCPMemory(source);
        return *this;
    }

    /// Releases the old block and takes the reference of `source`, which becomes empty.
    // NOLINTNEXTLINE(performance-noexcept-move-constructor): part of the boundary as it is
    CPObjectMemory& operator=(CPObjectMemory&& source)
    {
        if (this != &source)
        {
            tagCPOMEMHEADER* const old = m_pMH;
            m_pMH = source.m_pMH;
            source.m_pMH = nullptr;
            Free(old);
        }
        return *this;
    }

    /// True if both handles hold the same block, or none. Contents are never compared.
    bool operator==(CPObjectMemory const& other) const noexcept { return m_pMH == other.m_pMH; }
    /// The negation of `operator==`.
    bool operator!=(CPObjectMemory const& other) const noexcept { return m_pMH != other.m_pMH; }

    /// True if the handle holds a block.
    operator bool() noexcept { return m_pMH != nullptr; }
    /// True if the handle holds a block.
    operator bool() const noexcept { return m_pMH != nullptr; }

    /// The payload, or null for an empty handle. It moves when the block is reallocated.
    void* get_ptr() const noexcept { return m_pMH == nullptr ? nullptr : m_pMH + 1; }
    /// The payload for reading, or null for an empty handle.
    void const* get_cptr() const noexcept { return get_ptr(); }

    /// The payload bytes in use, 0 if empty.
    unsigned long GetSize() const noexcept { return m_pMH == nullptr ? 0 : m_pMH->uSize; }
    /// The payload capacity in bytes, 0 if empty.
    unsigned long GetAllocSize() const noexcept { return m_pMH == nullptr ? 0 : m_pMH->uAllocSize; }
    /// The number of handles on the block; 0 for a static block and for an empty handle. Other threads may change it
    /// at any time.
    unsigned int lockcnt() const noexcept { return m_pMH == nullptr ? 0 : Core::load_relaxed(m_pMH->lRefCnt); }

    /// The block's address shifted right by 3, 0 if empty.
    unsigned long key() const noexcept { return reinterpret_cast<unsigned long>(m_pMH) >> 3; }
    /// The two halves of the block's address combined by XOR: 0 if empty, and never 0 for a block.
    unsigned int hash() const noexcept;

    /// The block's type, null if empty.
    void const* GetTypeID() const noexcept { return m_pMH == nullptr ? nullptr : m_pMH->pVTbl; }
    /// True if the handle holds a block of type `id`.
    bool IsType(void const* id) const noexcept { return m_pMH != nullptr && m_pMH->pVTbl == id; }
    /// The index of the first of the `count` types in `list` that is the block's, or 0xFFFFFFFF if there is none.
    unsigned int GetType(unsigned long const* list, unsigned int count) const noexcept;

    /// True if the handle can take one object of `size` bytes of type `table`: it is empty, or holds a block of that
    /// type with at least `size` bytes in use.
    bool IsAssignable(unsigned long size, tagCPOVTABL const* table) const noexcept;
    /// As `IsAssignable` for an array of elements of `size` bytes: the used size must be a whole number of them.
    bool IsNAssignable(unsigned long size, tagCPOVTABL const* table) const noexcept;

    /// Releases the held block and allocates one with `size` bytes in use. The payload is raw: `_create` is not
    /// called. A `size` of 0 gives a block with no payload. 0 with an empty handle if `table` is null or the heap is
    /// exhausted.
    int Alloc(unsigned long size, tagCPOVTABL const* table);
    /// As `Alloc`, with nothing in use yet.
    int Reserve(unsigned long size, tagCPOVTABL const* table);
    /// Grows the capacity by `more` bytes; the block may move. 0, with nothing changed, for an empty handle, for a
    /// block that is shared or static, for 0 bytes, and when the heap is exhausted.
    int Incalloc(unsigned long more);
    /// Sets the bytes in use, within the capacity. Elements are neither constructed nor destroyed.
    int SetSize(unsigned long size);

    /// Releases the block and becomes empty.
    void free();

    /// Gives this handle a private copy if the block is shared; spare capacity is not copied. A block that is not
    /// shared, a static block and an empty handle are left as they are, with result 1. 0 if the type cannot be cloned,
    /// which is reported even for a sole owner, or if the heap is exhausted; the handle then keeps its block.
    ///
    /// A copy operation that throws is reported, and the result is 1 although the handle still shares its block. The
    /// unfinished copy is destroyed as if it were whole: copies of a type's own must not throw unless that does no harm.
    int clone();

    /// The offset in bytes of the interface `uid` in the payload of `object`, or -1. It holds for every block of that
    /// type, wherever the block moves. The handle it is called on plays no part.
    long queryinterface(CPObjectMemory const& object, _nqfUID const& uid) const;

    /// Releases one reference on `header`; the last one destroys the payload and frees the block. Null and static
    /// blocks are left alone. An exception of the type's `_finalize` is reported and dropped.
    static void Free(tagCPOMEMHEADER* header)
    {
        if (header == nullptr || Core::load_relaxed(header->lRefCnt) == 0)
            return;
        if (Core::OS::InterlockedDecrement32(header->lRefCnt) == 0)
            _destroy(header);
    }

    /// Releases the old block and becomes a second handle on the block of `source`. Copying the same block again
    /// changes nothing. If the count wraps, this is reported and the handle stays empty; the old block is then not
    /// released.
    void CopyCPMemory(CPObjectMemory const& source);

    /// The fourth operation of types without interfaces: null.
    static void* _nointerface(void* payload, _nqfUID const& uid);

protected:
    /// A new block with one reference, `size` bytes of capacity and `used` in use; null if `size` plus the header
    /// cannot be had.
    static tagCPOMEMHEADER* _allocate(unsigned long size, unsigned long used, tagCPOVTABL const* table);

    /// Reports the failed assumption `condition`. False if the report let an exception out, which is dropped.
    static bool _report_assumption(char const* condition) noexcept;
    /// Reports what is wrong with a block that is to be changed: it is static, or has no type. False if a report let
    /// an exception out, which is dropped.
    static bool _report_unusable(tagCPOMEMHEADER const* header) noexcept;

    /// As `SetSize`, of a block that is there and has the room.
    void _set_size_in_use(unsigned long size)
    {
        if (lockcnt() != 0 && m_pMH->pVTbl != nullptr)
            m_pMH->uSize = size;
        else
            SetSize(size); // which reports what is wrong with the block
    }

    tagCPOMEMHEADER* m_pMH = nullptr; ///< the block, null for an empty handle

private:
    static void _destroy(tagCPOMEMHEADER* header);
    static bool _report_wrapped_count() noexcept;
};

static_assert(sizeof(CPObjectMemory) == sizeof(void*), "a handle is exactly one pointer");

// The handle stands empty until the new block's count is raised, so it never points at a block that it does not count
// on. The source must outlive the call; under that condition the count read here cannot fall to 0 before it is raised,
// and a raised count of 1 or a wrapped one tells of a caller who broke it.
inline void CPObjectMemory::CopyCPMemory(CPObjectMemory const& source)
{
    tagCPOMEMHEADER* const old = m_pMH;
    tagCPOMEMHEADER* const block = source.m_pMH;
    if (block == old)
        return;
    m_pMH = nullptr;
    if (block != nullptr && (block->pVTbl != nullptr || _report_assumption("pMHO->pVTbl")))
    {
        if (Core::load_relaxed(block->lRefCnt) == 0)
        {
            m_pMH = block;
        }
        else
        {
            unsigned int const count = Core::OS::InterlockedIncrement32(block->lRefCnt);
            if (count > 1)
            { // NOLINT(bugprone-branch-clone): the case that is not reported stands alone
                m_pMH = block;
            }
            else if (count == 0)
            {
                if (_report_wrapped_count())
                    return;
            }
            else if (_report_assumption("pMHO->lRefCnt > 1") && Core::load_relaxed(block->lRefCnt) >= 2)
            {
                m_pMH = block;
            }
        }
    }
    Free(old);
}

} // namespace ORVA::Buffers
