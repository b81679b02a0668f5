/// @file
/// Blocks that hold one object.
///
/// Thread-safety and ownership are those of `CPObjectMemory`; the object is as safe as its own type makes it.
///
/// What the object's destructor throws, where it is declared to, is reported and dropped. The copy constructor of an
/// object whose block is cloned must not throw: the object that was not made would be destroyed.
#pragma once

#include "ORVA/Buffers/ObjectMemory.h"
#include "ORVA/Develop/Log.h"

#include <type_traits>

namespace ORVA::Buffers
{

/// What `CPObject<T>` and `CPIObject<T>` have in common; `Handle` is the one of the two that derives from it and has the
/// type table.
template <class T, class Handle>
class ORVA_TEMPLATE_API CPObjectHandle : public CPObjectMemory
{
public:
    /// The type of these blocks.
    static void const* GetTypeID() noexcept { return &Handle::_vtbl; }

    CPObjectHandle() noexcept = default;

    /// A second handle on the block of `source` if that is of this type, otherwise empty.
    CPObjectHandle(CPObjectMemory const& source)
    {
        if (source.IsAssignable(sizeof(T), &Handle::_vtbl))
            CopyCPMemory(source);
    }

    /// The object, made first if the handle is empty; null if the heap is exhausted. The block owns it.
    ///
    /// A handle that already holds a block gives its payload, whatever its type: the type is not tested here. If the
    /// constructor of `T` throws, the exception passes and the handle keeps a block whose object was never constructed
    /// but is destroyed with the block: give `T` a default constructor that does not throw.
    T* create()
    {
        static_assert(alignof(T) <= 16, "a payload is aligned to 16 bytes");
        if (m_pMH == nullptr)
        {
            if (!Alloc(sizeof(T), &Handle::_vtbl))
                return nullptr;
            return ::new (get_ptr(), _nqfDebugLevel(0)) T();
        }
        return static_cast<T*>(get_ptr());
    }

    /// The object; the handle must not be empty.
    T* operator->() const noexcept { return static_cast<T*>(get_ptr()); }
    /// The object; the handle must not be empty.
    T& operator*() const noexcept { return *static_cast<T*>(get_ptr()); }

    /// The operation of the type table: constructs the object. What its constructor throws passes.
    static void _create(void* payload, unsigned long) { ::new (payload, _nqfDebugLevel(0)) T(); }
    /// The operation of the type table: constructs the object as a copy. What its constructor throws passes.
    static void _clone(void* dest, void const* source, unsigned long)
    {
        ::new (dest, _nqfDebugLevel(0)) T(*static_cast<T const*>(source));
    }
    /// The operation of the type table: destroys the object.
    static void _finalize(void* payload, unsigned long) { static_cast<T*>(payload)->T::~T(); }

protected:
    /// Takes over `source` under the type test; a refused block leaves the handle empty.
    void _assign(CPObjectMemory const& source)
    {
        if (source.IsAssignable(sizeof(T), &Handle::_vtbl))
            CopyCPMemory(source);
        else
            free();
    }

    /// The clone operation, null for a `T` that cannot be copied.
    static constexpr auto _clone_operation() noexcept -> decltype(tagCPOVTABL::_clone)
    {
        if constexpr (std::is_copy_constructible_v<T>)
            return &CPObjectHandle::_clone;
        else
            return nullptr;
    }
};

/// A handle on a block that holds one `T` without interfaces. A `T` that cannot be copied makes blocks that cannot be
/// cloned.
template <class T>
class ORVA_TEMPLATE_API CPObject : public CPObjectHandle<T, CPObject<T>>
{
    using Base = CPObjectHandle<T, CPObject<T>>;
    friend Base;

public:
    /// The type table of these blocks.
    static tagCPOVTABL const _vtbl;

    using Base::Base;

    /// As the constructor; a refused block leaves the handle empty, its own block released.
    CPObject& operator=(CPObjectMemory const& source)
    {
        Base::_assign(source);
        return *this;
    }
};

template <class T>
tagCPOVTABL const CPObject<T>::_vtbl = {&CPObject::_create, CPObject::_clone_operation(), &CPObject::_finalize,
                                        &CPObjectMemory::_nointerface};

/// A handle on a block that holds one `T` that exposes interfaces: it has
/// `void* queryInterface(_nqfUID const& uid) const`, which gives the interface `uid` inside the object or null.
template <class T>
class ORVA_TEMPLATE_API CPIObject : public CPObjectHandle<T, CPIObject<T>>
{
    using Base = CPObjectHandle<T, CPIObject<T>>;
    friend Base;

public:
    /// The type table of these blocks.
    static tagCPOVTABL const _vtbl;

    using Base::Base;

    /// As the constructor; a refused block leaves the handle empty, its own block released.
    CPIObject& operator=(CPObjectMemory const& source)
    {
        Base::_assign(source);
        return *this;
    }

    /// The operation of the type table: asks the object.
    static void* _interface(void* payload, _nqfUID const& uid)
    {
        return static_cast<T const*>(payload)->queryInterface(uid);
    }
};

template <class T>
tagCPOVTABL const CPIObject<T>::_vtbl = {&CPIObject::_create, CPIObject::_clone_operation(), &CPIObject::_finalize,
                                         &CPIObject::_interface};

} // namespace ORVA::Buffers
