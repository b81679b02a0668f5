/// @file
/// Bodies of threads made of any class with a `run()`.
///
/// `CPThreadContext<T>` is a block with a `T` in it that offers `IThreadExecute`: the caller fills the `T`, gives the
/// context to `CPThread::Execute`, and the thread calls `T::run()`.
///
/// Thread-safety: the exit code may be read from any thread; it orders nothing, so what the body has written is read
/// after the thread was joined. The handle is as safe as `CPObjectMemory`, and `T` as safe as it makes itself.
#pragma once

#include "ORVA/Buffers/ObjectMemory.h"
#include "ORVA/Develop/Log.h"
#include "ORVA/Threading/ThreadExecute.h"

#include <cstring>

namespace ORVA::Threading
{

/// A `T` that is the body of a thread. `T` needs a default constructor and an operation `run()`, whose result is not
/// used.
///
/// | exit code | meaning |
/// |---|---|
/// | 0 | not started |
/// | 1 | `run()` is running |
/// | 2 | `run()` ended with an exception |
/// | 3 | `run()` returned |
///
/// The interface lies at the start of the object, before `T`, unless `T` has virtual functions of its own.
template <class T>
class ORVA_TEMPLATE_API CThreadWrapper : public T, public IThreadExecute
{
public:
    CThreadWrapper() : T(), m_exit_code(not_started) {}
    CThreadWrapper(CThreadWrapper const&) = delete;
    CThreadWrapper& operator=(CThreadWrapper const&) = delete;

    /// Calls `run()`. No exception gets out, an interruption of the thread included, and nothing is reported but the
    /// exit code.
    void execute() override
    {
        Core::store_relaxed<unsigned int>(m_exit_code, running);
        try
        {
            T::run();
            Core::store_relaxed<unsigned int>(m_exit_code, returned);
        }
        catch (...)
        {
            Core::store_relaxed<unsigned int>(m_exit_code, thrown);
        }
    }

    /// One of the exit codes above.
    unsigned int exitCode() override { return Core::load_relaxed(m_exit_code); }

    /// The object's `IThreadExecute` for the identifier of that interface, null for any other.
    virtual void* queryInterface(_nqfUID const& uid) const
    {
        if (std::memcmp(&uid, &__nqf_uuidof<IThreadExecute>(), sizeof(uid)) != 0)
            return nullptr;
        return static_cast<IThreadExecute*>(const_cast<CThreadWrapper*>(this));
    }

private:
    enum : unsigned int
    {
        not_started,
        running,
        thrown,
        returned
    };

    unsigned int m_exit_code;
};

/// A handle on a block that holds one `CThreadWrapper<T>`, to be given to `CPThread::Execute`. The block cannot be
/// cloned.
template <class T>
class ORVA_TEMPLATE_API CPThreadContext : public Buffers::CPObjectMemory
{
    using Wrapper = CThreadWrapper<T>;

public:
    /// The type table of these blocks.
    static Buffers::tagCPOVTABL const _vtbl;

    /// The type of these blocks.
    static void const* GetTypeID() noexcept { return &_vtbl; }

    CPThreadContext() noexcept = default;

    /// A second handle on the block of `source` if that is of this type, otherwise empty.
    CPThreadContext(Buffers::CPObjectMemory const& source)
    {
        if (source.IsAssignable(sizeof(Wrapper), &_vtbl))
            CopyCPMemory(source);
    }

    /// As the constructor; a refused block leaves the handle empty, its own block released.
    CPThreadContext& operator=(Buffers::CPObjectMemory const& source)
    {
        if (source.IsAssignable(sizeof(Wrapper), &_vtbl))
            CopyCPMemory(source);
        else
            free();
        return *this;
    }

    /// The `T` of the block, made first if the handle is empty; null if the heap is exhausted. The block owns it. An
    /// exception of its constructor passes and leaves the handle empty.
    T* create()
    {
        if (m_pMH != nullptr)
            return operator->();
        return _make();
    }

    /// The body, with its exit code; the handle must not be empty.
    Wrapper* operator->() const noexcept { return static_cast<Wrapper*>(get_ptr()); }
    /// The body, with its exit code; the handle must not be empty.
    Wrapper& operator*() const noexcept { return *operator->(); }

    /// The operation of the type table: constructs the body. What its constructor throws passes.
    static void _create(void* payload, unsigned long) { _construct(payload); }
    /// The operation of the type table: destroys the body.
    static void _finalize(void* payload, unsigned long) { static_cast<Wrapper*>(payload)->Wrapper::~Wrapper(); }
    /// The operation of the type table: asks the body.
    static void* _interface(void* payload, _nqfUID const& uid)
    {
        return static_cast<Wrapper const*>(payload)->queryInterface(uid);
    }

private:
    static Wrapper* _construct(void* payload)
    {
        static_assert(alignof(Wrapper) <= 16, "a payload is aligned to 16 bytes");
        return ::new (payload, _nqfDebugLevel(0)) Wrapper();
    }

    // A block whose object was not constructed goes back to the heap past its type: nothing may be destroyed in it.
    T* _make()
    {
        if (!Alloc(sizeof(Wrapper), &_vtbl))
            return nullptr;
        try
        {
            return _construct(get_ptr());
        }
        catch (...)
        {
            Core::OS::_ffree(m_pMH);
            m_pMH = nullptr;
            throw;
        }
    }
};

template <class T>
Buffers::tagCPOVTABL const CPThreadContext<T>::_vtbl = {&CPThreadContext::_create, nullptr, &CPThreadContext::_finalize,
                                                        &CPThreadContext::_interface};

} // namespace ORVA::Threading
