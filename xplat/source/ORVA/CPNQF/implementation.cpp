// The bases for code that implements framework interfaces.
#include "ORVA/NQF/ClassFactory.h"
#include "ORVA/NQF/UID.h"
#include "ORVA/NQF/UnknownBase.h"

#include "ORVA/Core.h"
#include "ORVA/Core/Atomic.h"

namespace ORVA::NQF
{

static_assert(static_cast<unsigned int>(eFactoryNoOutput) == 0x80000003U);
static_assert(static_cast<unsigned int>(eFactoryNoInterface) == 0x80000004U);
static_assert(static_cast<unsigned int>(eFactoryNoAggregation) == 0x80040110U);
static_assert(static_cast<unsigned int>(eFactoryNoClass) == 0x80040111U);

void* _cNQFUnknown::_queryinterface(_nqfUID const& id) const
{
    cnqfuid const asked(id);
    if (asked == __nqf_uuidof<INQFUnknown>() || asked == __nqf_uuidof<_cNQFUnknown>())
        return static_cast<INQFUnknown*>(base());
    return nullptr;
}

unsigned int _cNQFUnknown::_addRef() const
{
    if (Core::load_relaxed(m_lRefCnt) == 0)
        return 0;
    return Core::OS::InterlockedIncrement32(m_lRefCnt);
}

unsigned int _cNQFUnknown::_release() const
{
    if (Core::load_relaxed(m_lRefCnt) == 0)
        return 0;
    unsigned int const count = Core::OS::InterlockedDecrement32(m_lRefCnt);
    if (count == 0)
        base()->_destroy();
    return count;
}

void* _cNQFUnknown::_queryinterfaceadd(_nqfUID const& id) const
{
    void* const pointer = _queryinterface(id);
    if (pointer != nullptr)
        _addRef();
    return pointer;
}

int _csFactory::QueryInterface(_nqfUID const& id, void** out)
{
    if (out == nullptr)
        return eFactoryNoOutput;
    cnqfuid const asked(id);
    if (asked == __nqf_uuidof<INQFUnknown>() || asked == __nqf_uuidof<INQFClassFactory>())
    {
        *out = static_cast<INQFClassFactory*>(this);
        return eFactorySuccess;
    }
    *out = nullptr;
    return eFactoryNoInterface;
}

unsigned int _csFactory::AddRef()
{
    return 2;
}

unsigned int _csFactory::Release()
{
    return 0;
}

int _csFactory::CreateInstance(INQFUnknown*, INQFUnknown* outer, _nqfUID const& id, void** out)
{
    if (out == nullptr)
        return eFactoryNoOutput;
    if (outer != nullptr)
        return eFactoryNoAggregation;
    return _createinstance(id, out) != 0 ? eFactorySuccess : eFactoryNoClass;
}

} // namespace ORVA::NQF
