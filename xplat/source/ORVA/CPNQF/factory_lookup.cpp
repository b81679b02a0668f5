// What the factory knows: definitions and classes. No call here runs under the lock of the slot.
#include "CPNQF/factory_slot.h"

#include "ORVA/NQF/InterfacePointer.h"
#include "ORVA/NQF/TypedInterface.h"

namespace ORVA::NQF
{

namespace
{

// Lets `ask(factory, out)` write to `target`, which stays empty if that fails. False only if there is no factory.
template <class Ask>
bool ask_factory(CPINQFUnknown& target, Ask ask)
{
    FactoryReference const factory;
    if (factory.get() == nullptr)
        return false;
    void** const word = target.rec();
    if (!succeeds([&] { return ask(*factory.get(), word); }))
        target.free();
    return true;
}

} // namespace

CPINQFUnknown CPINQFUnknown::Factory_EnumDefinitions(_nqfUID const& id)
{
    CPNQI<INQFEnumDefinitions> definitions;
    ask_factory(definitions,
                [&](INQFComponentFactory& factory, void** out) { return factory.EnumDefinitions(id, out); });
    return CPINQFUnknown(definitions);
}

CPINQFUnknown CPINQFUnknown::Factory_FindDefinition(_nqfUID const& id)
{
    CPNQI<INQFDefinition> definition;
    ask_factory(definition, [&](INQFComponentFactory& factory, void** out)
                { return factory.FindDefinition(id, __nqf_uuidof<INQFDefinition>(), out); });
    return CPINQFUnknown(definition);
}

int CPINQFUnknown::Factory_FindClass(_nqfUID const& id, _nqfUID& classId)
{
    classId = _nqfUID{};
    CPNQI<INQFDefinition> component;
    if (!ask_factory(component, [&](INQFComponentFactory& factory, void** out)
                     { return factory.FindDefinition(id, __nqf_uuidof<INQFComponentDefinition>(), out); }))
        return 0;
    INQFDefinition* const definition = component.operator->();
    if (definition == nullptr)
        return 0;
    if (!succeeds(
            [&]
            {
                return definition->GetAttribute(__nqf_uuidof<REFID_phldr_VQXATTR_Component_CLSID>(),
                                                __nqf_uuidof<REFID_phldr_NQFTypeID_UID>(), &classId, sizeof classId);
            }))
    {
        classId = _nqfUID{};
        return 0;
    }
    return 1;
}

} // namespace ORVA::NQF
