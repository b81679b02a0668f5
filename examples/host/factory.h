/// @file
/// The host's component factory: what the library asks when somebody wants an object or a definition.
#pragma once

#include "component.h"
#include "counted.h"

#include <vector>

namespace host
{

/// Knows the components that are loaded. The library calls it from whatever thread asks, with no lock held; so components
/// are added and forgotten while no other thread asks, as here, or under a lock of one's own.
class Factory final : public Counted<INQFComponentFactory>
{
public:
    /// False, with nothing done, if one of the component's identifiers is known already.
    bool add(ComponentRecord const& component);
    /// From now on nobody can make the component's objects.
    void forget(ComponentRecord const& component);

    /// To this host a component and an instance are one thing: an object of the class.
    int CreateComponent(_nqfUID const& classId, INQFUnknown* outer, _nqfUID const& iid, void** out) override;
    int CreateInstance(_nqfUID const& classId, INQFUnknown* outer, _nqfUID const& iid, void** out) override;
    int FindDefinition(_nqfUID const& id, _nqfUID const& iid, void** out) override;
    /// Not offered: the library knows no operation of such a walk.
    int EnumDefinitions(_nqfUID const& id, void** out) override;

private:
    // What an identifier belongs to: a class, a component (`one` is null then), or nothing (both are null).
    struct Found
    {
        ComponentRecord const* component;
        ClassRecord const* one;
    };
    Found find(ORVA::NQF::cnqfuid const& uid) const;

    std::vector<ComponentRecord const*> m_components;
};

} // namespace host
