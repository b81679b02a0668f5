// The slot: who sets the factory, who releases it, who is given a reference.
#include "CPNQF/factory_slot.h"

#include "ORVA/Core/Atomic.h"
#include "ORVA/Develop/Log.h"
#include "ORVA/NQF/InterfacePointer.h"
#include "ORVA/NQF/TypedInterface.h"

namespace ORVA::NQF
{

INQFComponentFactory* g_pFactory = nullptr;
unsigned int g_uFactoryLock = 0;

int CPINQFUnknown::Factory_Set(INQFComponentFactory* factory)
{
    if (factory == nullptr)
        return 0;
    Holding const slot(g_csFactory);
    if (g_pFactory == nullptr)
    {
        if (g_uFactoryLock != 0)
            Develop::OS::RTABox("Runtime assumption failed", "g_uFactoryLock == 0");
        if (!add_reference(*factory))
            return 0;
        Core::store_relaxed(g_pFactory, factory);
    }
    else if (g_pFactory != factory)
    {
        return 0;
    }
    ++g_uFactoryLock;
    return 1;
}

int CPINQFUnknown::Factory_Set(INQFUnknown* object)
{
    CPNQI<INQFComponentFactory> const factory(object);
    return Factory_Set(factory.operator->());
}

int CPINQFUnknown::Factory_Set(CPINQFUnknown& object)
{
    CPNQI<INQFComponentFactory> const factory(object);
    return Factory_Set(factory.operator->());
}

// The factory is still in the slot, without users, while it is released. If it sets itself again from there, the slot
// is emptied all the same, and the next Factory_Set reports the user that is left.
int CPINQFUnknown::Factory_Release()
{
    Holding const slot(g_csFactory);
    if (g_uFactoryLock != 0 && --g_uFactoryLock == 0 && g_pFactory != nullptr)
    {
        release_reference(*g_pFactory);
        Core::store_relaxed<INQFComponentFactory*>(g_pFactory, nullptr);
    }
    return 1;
}

bool CPINQFUnknown::Factory_IsAvailable()
{
    return Core::load_relaxed(g_pFactory) != nullptr;
}

int CPINQFUnknown::Factory_Acquire(INQFComponentFactory** out)
{
    if (out == nullptr)
        return 0;
    Holding const slot(g_csFactory);
    *out = g_pFactory;
    if (*out != nullptr && !add_reference(**out))
        *out = nullptr;
    return *out != nullptr ? 1 : 0;
}

int CPINQFUnknown::Factory_Acquire(CPINQFUnknown& target)
{
    {
        Holding const slot(g_csFactory);
        INQFUnknown* const own = target._addRef(g_pFactory);
        target.free();
        target._own(own);
    }
    return target._getptr() != nullptr ? 1 : 0;
}

} // namespace ORVA::NQF
