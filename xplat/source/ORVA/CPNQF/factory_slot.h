// The slot of the process's factory, for those who call it.
#pragma once

#include "CPNQF/framework_call.h"
#include "CPNQF/globals.h"

namespace ORVA::NQF
{

// A lock that is held while this lives.
template <class Lock>
class Holding
{
public:
    explicit Holding(Lock& lock) : m_lock(lock) { m_lock.Enter(); }
    ~Holding() { m_lock.Leave(); }
    Holding(Holding const&) = delete;
    Holding& operator=(Holding const&) = delete;

private:
    Lock& m_lock;
};

// A reference to the factory, taken under the lock and used without it; empty if there is none, or if its `AddRef`
// throws. Whatever becomes of the slot meanwhile, the factory lives as long as this does.
class FactoryReference
{
public:
    FactoryReference()
    {
        Holding const slot(g_csFactory);
        if (g_pFactory != nullptr && add_reference(*g_pFactory))
            m_factory = g_pFactory;
    }
    ~FactoryReference()
    {
        if (m_factory != nullptr)
            release_reference(*m_factory);
    }
    FactoryReference(FactoryReference const&) = delete;
    FactoryReference& operator=(FactoryReference const&) = delete;

    INQFComponentFactory* get() const noexcept { return m_factory; }

private:
    INQFComponentFactory* m_factory = nullptr;
};

} // namespace ORVA::NQF
