#include "ORVA/NQF/ComponentInfo.h"

#include "CPNQF/framework_call.h"
#include "CPNQF/globals.h"

#include "ORVA/Core/Atomic.h"
#include "ORVA/Develop/Log.h"
#include "ORVA/NQF/TypedInterface.h"

namespace ORVA::NQF
{

namespace
{

// The attributes of a definition. Each read tells whether it succeeded.
class Attributes
{
public:
    explicit Attributes(INQFDefinition& definition) : m_definition(definition) {}

    template <class Attribute>
    bool read(_nqfUID& value)
    {
        return get<Attribute, REFID_phldr_NQFTypeID_UID>(&value, sizeof value);
    }

    template <class Attribute>
    bool read(unsigned int& value)
    {
        return get<Attribute, REFID_phldr_NQFTypeID_UInt32>(&value, sizeof value);
    }

    // Text that fills the buffer need not be terminated, and loses its last character.
    template <class Attribute>
    bool read(String::CNQFWChar& value)
    {
        nqfWChar text[256] = {};
        if (!get<Attribute, REFID_phldr_NQFTypeID_UnicodeString>(text, sizeof text))
            return false;
        text[255] = 0;
        value = static_cast<nqfWChar const*>(text);
        return true;
    }

private:
    template <class Attribute, class Type>
    bool get(void* buffer, unsigned int size)
    {
        return succeeds(
            [&] { return m_definition.GetAttribute(__nqf_uuidof<Attribute>(), __nqf_uuidof<Type>(), buffer, size); });
    }

    INQFDefinition& m_definition;
};

bool read_component(Attributes component, tagCOMPONENT_INFO& info)
{
    return component.read<REFID_phldr_NQFATTR_Definition_Name>(info.sName) &&
           component.read<REFID_phldr_NQFATTR_Definition_UID>(info.uidDefinition) &&
           component.read<REFID_phldr_NQFATTR_Definition_TypeID>(info.uidType) &&
           component.read<REFID_phldr_VQXATTR_Component_PluginID>(info.uidPlugin);
}

// The definition of a plug-in may lack the last two parts of its version.
bool read_plugin(Attributes plugin, tagCOMPONENT_INFO& info)
{
    if (!plugin.read<REFID_phldr_NQFATTR_Definition_Vendor>(info.sVendor) ||
        !plugin.read<REFID_phldr_NQFATTR_Definition_Name>(info.sPluginName) ||
        !plugin.read<REFID_phldr_NQFATTR_Definition_VendorID>(info.uidVendor) ||
        !plugin.read<REFID_phldr_NQFATTR_Definition_MajorVersion>(info.uMajorVersion) ||
        !plugin.read<REFID_phldr_NQFATTR_Definition_MinorVersion>(info.uMinorVersion))
        return false;
    if (!plugin.read<REFID_phldr_NQFATTR_Definition_PatchVersion>(info.uPatchVersion))
    {
        info.uPatchVersion = 0;
        info.uBuildVersion = 0;
    }
    else if (!plugin.read<REFID_phldr_NQFATTR_Definition_BuildVersion>(info.uBuildVersion))
    {
        info.uBuildVersion = 0;
    }
    return true;
}

} // namespace

int CPINQFUnknown::Factory_GetComponentInfo(_nqfUID const& id, tagCOMPONENT_INFO& info)
{
    if (Core::load_relaxed(g_pFactory) == nullptr)
        return 0;
    CPNQI<INQFDefinition> definition(Factory_FindDefinition(id));
    if (!definition)
        return 0;
    return Factory_GetComponentInfo(definition, info);
}

int CPINQFUnknown::Factory_GetComponentInfo(CPINQFUnknown& definition, tagCOMPONENT_INFO& info)
{
    if (Develop::_istrue_(info.sSizeStruct != sizeof info, "CPNQF,551:CompInfo.sSizeStruct != sizeof(COMPONENT_INFO)"))
        return 0;
    CPNQI<INQFDefinition> reader(definition);
    if (!reader || !read_component(Attributes(*reader.operator->()), info))
        return 0;
    reader = Factory_FindDefinition(info.uidPlugin);
    if (!reader || !read_plugin(Attributes(*reader.operator->()), info))
        return 0;
    return 1;
}

} // namespace ORVA::NQF
