/// @file
/// Bases for implementing interfaces: a counted object, and the factory that makes objects of its class.
#pragma once

#include "ORVA/NQF.h"

#include <atomic>
#include <new>

namespace host
{

/// How many counted objects are alive. Hidden, so that the host and each component have a number of their own.
__attribute__((visibility("hidden"))) inline std::atomic<unsigned int> objects_alive{0};

inline unsigned int count_objects()
{
    return objects_alive;
}

/// An object with the interface `Interface`, made by `new` and ended by its last `Release`. Its maker has the first
/// reference.
///
/// The interface comes first, and the root interface is answered with its address: handles of the library rely on one
/// address for both. `_cNQFUnknown` lies behind it.
template <class Interface>
class Counted : public Interface, public ORVA::NQF::_cNQFUnknown
{
public:
    int QueryInterface(_nqfUID const& id, void** out) final
    {
        if (out == nullptr)
            return ORVA::NQF::eFactoryNoOutput;
        *out = _queryinterfaceadd(id);
        return *out != nullptr ? ORVA::NQF::eFactorySuccess : ORVA::NQF::eFactoryNoInterface;
    }
    unsigned int AddRef() final { return _addRef(); }
    unsigned int Release() final { return _release(); }

    void _destroy() final { delete this; }
    void _reserved5() override {}

    void* _queryinterface(_nqfUID const& id) const override
    {
        ORVA::NQF::cnqfuid const asked(id);
        if (asked == __nqf_uuidof<INQFUnknown>() || asked == __nqf_uuidof<Interface>())
            return const_cast<Interface*>(static_cast<Interface const*>(this));
        return _cNQFUnknown::_queryinterface(id);
    }

protected:
    Counted()
    {
        m_lRefCnt = 1; // 0 would mean: not counted, never destroyed
        ++objects_alive;
    }
    virtual ~Counted() { --objects_alive; }
};

/// Makes objects of the class `T`, a `Counted`. Static: it has no count, and lives as long as the code.
template <class T>
class ClassFactory final : public ORVA::NQF::_csFactory
{
public:
    int _createinstance(_nqfUID const& id, void** out) override
    {
        T* const made = new (std::nothrow) T;
        if (made == nullptr)
            return 0;
        int const result = made->QueryInterface(id, out);
        made->Release(); // the maker's reference; the caller has its own now, if the query succeeded
        return result >= 0 ? 1 : 0;
    }
};

} // namespace host
