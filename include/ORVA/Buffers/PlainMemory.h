/// @file
/// Blocks of plain bytes.
///
/// Thread-safety and ownership are those of `CPObjectMemory`.
#pragma once

#include "ORVA/Buffers/ObjectMemory.h"

namespace ORVA::Buffers
{

/// A handle on a block of raw bytes. Its contents are moved and copied by bytes alone.
///
/// Results of type `int` are 1 for success and 0 for failure. Sizes are bytes.
class ORVA_API CPPlainMemory : public CPObjectMemory
{
public:
    /// The type table of plain blocks.
    static tagCPOVTABL const _vtbl;

    /// The type of plain blocks.
    static void const* GetTypeID() noexcept { return &_vtbl; }

    CPPlainMemory() noexcept = default;

    /// A second handle on the block of `source` if that is plain and has bytes in use. Any other block, a plain one of
    /// size 0 included, leaves the handle empty.
    CPPlainMemory(CPObjectMemory const& source);

    /// As the constructor; a refused block leaves the handle empty, its own block released.
    CPPlainMemory& operator=(CPObjectMemory const& source);

    /// The bytes, or null for an empty handle.
    operator void*() noexcept { return get_ptr(); }
    /// The bytes for reading, or null for an empty handle.
    operator void const*() const noexcept { return get_cptr(); }

    // Without these two, `if (handle)` would have to choose between the conversions above and those of the base.
    /// True if the handle holds a block.
    operator bool() noexcept { return m_pMH != nullptr; }
    /// True if the handle holds a block.
    operator bool() const noexcept { return m_pMH != nullptr; }

    /// The bytes in use, 0 for an empty handle.
    unsigned long GetMemorySize() const noexcept { return GetSize(); }

    /// True if `p` lies inside this block: behind the first byte of its header and before the end of its capacity, so
    /// the rest of the header and spare capacity count as inside.
    bool isMemory(void const* p) const noexcept;

    /// Releases the held block and allocates one of `size` bytes, not cleared. A `size` of 0 gives an empty handle and
    /// is a success.
    int Alloc(unsigned long size);
    /// As `Alloc`, for blocks of type `table`; 0 if that is null and `size` is not 0.
    int _Alloc(unsigned long size, tagCPOVTABL const* table);

    /// Changes the bytes in use to `size` and keeps the contents up to the smaller size; new bytes are not cleared. The
    /// capacity never shrinks. A block that has to grow is replaced, and other handles stay on the old one.
    int Resize(unsigned long size);
    /// As `Resize`, for blocks of type `table`.
    int _Resize(unsigned long size, tagCPOVTABL const* table);

    /// Makes room for `size` bytes of type `table` and keeps the contents and the bytes in use. On failure with bytes in
    /// use the block is unchanged.
    ///
    /// The test is against the bytes in use and not against the capacity: a `size` above the former allocates anew
    /// even where the capacity would do.
    int _Reserve(unsigned long size, tagCPOVTABL const* table);

    /// The operation of the type table.
    static void _create(void* payload, unsigned long size);
    /// The operation of the type table: copies `size` bytes.
    static void _clone(void* dest, void const* source, unsigned long size);
    /// The operation of the type table: nothing.
    static void _finalize(void* payload, unsigned long size);

private:
    bool _accepts(CPObjectMemory const& source) const noexcept;
    int _replace_by_larger(unsigned long size, tagCPOVTABL const* table);
};

} // namespace ORVA::Buffers
