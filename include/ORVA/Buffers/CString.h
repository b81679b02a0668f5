/// @file
/// Blocks of characters.
///
/// Thread-safety and ownership are those of `CPObjectMemory`.
#pragma once

#include "ORVA/Buffers/ObjectMemory.h"

#include <cstring>

namespace ORVA::Buffers
{

/// A handle on a block that holds an array of characters of type `T`; `CPObjectMemory::Alloc` with the size in bytes
/// and `&_vtbl` makes one.
template <class T>
class ORVA_TEMPLATE_API CPCString : public CPObjectMemory
{
public:
    /// The type table of these blocks.
    static tagCPOVTABL const _vtbl;

    CPCString() noexcept = default;

    /// A second handle on the block of `source` if that holds characters of this type, otherwise empty.
    CPCString(CPObjectMemory const& source)
    {
        if (source.IsType(&_vtbl))
            CopyCPMemory(source);
    }

    /// As the constructor; a refused block leaves the handle empty, its own block released.
    CPCString& operator=(CPObjectMemory const& source)
    {
        if (source.IsType(&_vtbl))
            CopyCPMemory(source);
        else
            free();
        return *this;
    }

    /// The operation of the type table: nothing, the characters stay as they are.
    static void _create(void*, unsigned long) {}
    /// The operation of the type table: copies `size` bytes.
    static void _clone(void* dest, void const* source, unsigned long size) { std::memmove(dest, source, size); }
    /// The operation of the type table: nothing.
    static void _finalize(void*, unsigned long) {}
};

template <class T>
tagCPOVTABL const CPCString<T>::_vtbl = {&CPCString::_create, &CPCString::_clone, &CPCString::_finalize,
                                         &CPObjectMemory::_nointerface};

extern template class CPCString<wchar_t>;
extern template class CPCString<unsigned char>;

} // namespace ORVA::Buffers
