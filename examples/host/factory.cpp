#include "factory.h"

#include "definition.h"

#include <algorithm>

namespace host
{

using namespace ORVA::NQF;

bool Factory::add(ComponentRecord const& component)
{
    bool taken = find(component.uidPlugin).component != nullptr;
    std::for_each_n(component.classes, component.classCount,
                    [&](ClassRecord const& one) {
                        taken = taken || find(one.uidClass).component != nullptr ||
                                find(one.uidDefinition).component != nullptr;
                    });
    if (!taken)
        m_components.push_back(&component);
    return !taken;
}

void Factory::forget(ComponentRecord const& component)
{
    m_components.erase(std::remove(m_components.begin(), m_components.end(), &component), m_components.end());
}

int Factory::CreateComponent(_nqfUID const& classId, INQFUnknown* outer, _nqfUID const& iid, void** out)
{
    return CreateInstance(classId, outer, iid, out);
}

// What the component throws passes on to the handle that asks, which takes it for a failure.
int Factory::CreateInstance(_nqfUID const& classId, INQFUnknown* outer, _nqfUID const& iid, void** out)
{
    ClassRecord const* const one = find(classId).one;
    if (one == nullptr || cnqfuid(classId) != one->uidClass)
        return eFactoryNoClass;
    return one->factory->CreateInstance(nullptr, outer, iid, out);
}

int Factory::FindDefinition(_nqfUID const& id, _nqfUID const& iid, void** out)
{
    Found const found = find(id);
    if (found.component == nullptr || (found.one != nullptr && cnqfuid(id) != found.one->uidDefinition))
        return eFactoryNoInterface;
    auto* const made =
        found.one != nullptr ? new Definition(*found.component, *found.one) : new Definition(*found.component);
    int const result = made->QueryInterface(iid, out);
    made->Release();
    return result;
}

int Factory::EnumDefinitions(_nqfUID const&, void**)
{
    return eFactoryNoInterface;
}

Factory::Found Factory::find(cnqfuid const& uid) const
{
    for (ComponentRecord const* const component : m_components)
    {
        if (uid == component->uidPlugin)
            return {component, nullptr};
        auto const* const end = component->classes + component->classCount;
        auto const* const one =
            std::find_if(component->classes, end,
                         [&](ClassRecord const& known) { return uid == known.uidClass || uid == known.uidDefinition; });
        if (one != end)
            return {component, one};
    }
    return {nullptr, nullptr};
}

} // namespace host
