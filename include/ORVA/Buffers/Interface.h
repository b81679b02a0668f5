/// @file
/// Handles on an interface of the object in a block.
///
/// Thread-safety and ownership are those of `CPObjectMemory`.
#pragma once

#include "ORVA/Buffers/ObjectMemory.h"

namespace ORVA::Buffers
{

/// A handle on a block, and where in its payload the interface `T` lies.
///
/// What the block's type throws when it is asked, or the identifier of `T`, passes, and the handle is as it was.
template <class T>
class ORVA_TEMPLATE_API CPInterface : public CPObjectMemory
{
public:
    CPInterface() noexcept = default;

    /// A second handle on the block of `source` if that offers the interface `T`, otherwise empty.
    CPInterface(CPObjectMemory const& source) { _assign(source); }

    /// As the constructor; a block without the interface leaves the handle empty, its own block released.
    CPInterface& operator=(CPObjectMemory const& source)
    {
        _assign(source);
        return *this;
    }

    /// The interface; the handle must not be empty.
    T* operator->() const noexcept { return reinterpret_cast<T*>(static_cast<char*>(get_ptr()) + lOffset); }

    /// The interface; the handle must not be empty.
    T& operator*() const noexcept { return *operator->(); }

    /// The offset in bytes of the interface in the payload; -1 for a block that does not offer it, and the handle is
    /// then empty.
    long lOffset = -1;

private:
    void _assign(CPObjectMemory const& source)
    {
        lOffset = queryinterface(source, __nqf_uuidof<T>());
        if (lOffset == -1)
            free();
        else
            CopyCPMemory(source);
    }
};

} // namespace ORVA::Buffers
