#include "support/FrameworkDoubles.h"

#include "ORVA/NQF/UID.h"

#include <algorithm>

namespace support
{

namespace
{

void* no_pointer()
{
    return reinterpret_cast<void*>(0xBAD0BAD0BAD0UL);
}

} // namespace

std::string name_of(_nqfUID const& uid)
{
    struct Known
    {
        _nqfUID const& uid;
        char const* name;
    };
    static Known const known[] = {
        {__nqf_uuidof<INQFUnknown>(), "INQFUnknown"},
        {__nqf_uuidof<INQFDefinition>(), "INQFDefinition"},
        {__nqf_uuidof<INQFComponentDefinition>(), "INQFComponentDefinition"},
        {__nqf_uuidof<INQFComponentFactory>(), "INQFComponentFactory"},
        {__nqf_uuidof<INQFEnumDefinitions>(), "INQFEnumDefinitions"},
        {__nqf_uuidof<REFID_phldr_VQXATTR_Component_CLSID>(), "Component_CLSID"},
        {__nqf_uuidof<REFID_phldr_VQXATTR_Component_PluginID>(), "Component_PluginID"},
        {__nqf_uuidof<REFID_phldr_NQFATTR_Definition_Name>(), "Definition_Name"},
        {__nqf_uuidof<REFID_phldr_NQFATTR_Definition_UID>(), "Definition_UID"},
        {__nqf_uuidof<REFID_phldr_NQFATTR_Definition_TypeID>(), "Definition_TypeID"},
        {__nqf_uuidof<REFID_phldr_NQFATTR_Definition_Vendor>(), "Definition_Vendor"},
        {__nqf_uuidof<REFID_phldr_NQFATTR_Definition_VendorID>(), "Definition_VendorID"},
        {__nqf_uuidof<REFID_phldr_NQFATTR_Definition_MajorVersion>(), "Definition_MajorVersion"},
        {__nqf_uuidof<REFID_phldr_NQFATTR_Definition_MinorVersion>(), "Definition_MinorVersion"},
        {__nqf_uuidof<REFID_phldr_NQFATTR_Definition_PatchVersion>(), "Definition_PatchVersion"},
        {__nqf_uuidof<REFID_phldr_NQFATTR_Definition_BuildVersion>(), "Definition_BuildVersion"},
        {__nqf_uuidof<REFID_phldr_NQFTypeID_UID>(), "UID"},
        {__nqf_uuidof<REFID_phldr_NQFTypeID_UnicodeString>(), "UnicodeString"},
        {__nqf_uuidof<REFID_phldr_NQFTypeID_UInt32>(), "UInt32"},
    };
    for (Known const& entry : known)
    {
        if (same(entry.uid, uid))
            return entry.name;
    }
    if (same(test_uid(uid.Data1), uid))
        return "#" + std::to_string(uid.Data1);
    return *ORVA::NQF::cnqfuid(uid).ANSI();
}

bool CallJournal::note(std::string const& call)
{
    if (silent)
        return true;
    {
        std::lock_guard<std::mutex> const hold(m_lock);
        m_calls.push_back(call);
    }
    if (on_call)
        on_call(call);
    if (m_raising.count(call) != 0)
        throw std::runtime_error(call);
    return m_failing.count(call) == 0;
}

Calls CallJournal::take()
{
    std::lock_guard<std::mutex> const hold(m_lock);
    return std::exchange(m_calls, {});
}

int Counted::query(_nqfUID const& id, void** out)
{
    *out = no_pointer();
    bool const wanted = journal.silent || journal.note(name + ".QueryInterface(" + name_of(id) + ")");
    auto const found =
        std::find_if(m_answers.begin(), m_answers.end(), [&](auto const& entry) { return same(entry.first, id); });
    if (!wanted || found == m_answers.end())
        return framework_failure;
    if (found->second != nullptr)
        ++count;
    *out = found->second;
    return 0;
}

unsigned int Counted::add()
{
    if (!journal.silent)
        journal.note(name + ".AddRef");
    return static_cast<unsigned int>(++count);
}

unsigned int Counted::release()
{
    if (!journal.silent)
        journal.note(name + ".Release");
    return static_cast<unsigned int>(--count);
}

void DefinitionDouble::set(_nqfUID const& attribute, _nqfUID const& type, void const* value, unsigned long size)
{
    remove(attribute);
    auto const* const bytes = static_cast<unsigned char const*>(value);
    m_attributes.push_back({attribute, type, {bytes, bytes + size}});
}

void DefinitionDouble::set(_nqfUID const& attribute, _nqfUID const& value)
{
    set(attribute, __nqf_uuidof<REFID_phldr_NQFTypeID_UID>(), &value, sizeof value);
}

void DefinitionDouble::set(_nqfUID const& attribute, unsigned int value)
{
    set(attribute, __nqf_uuidof<REFID_phldr_NQFTypeID_UInt32>(), &value, sizeof value);
}

void DefinitionDouble::set(_nqfUID const& attribute, std::wstring const& value, bool terminated)
{
    set(attribute, __nqf_uuidof<REFID_phldr_NQFTypeID_UnicodeString>(), value.c_str(),
        (value.size() + (terminated ? 1 : 0)) * sizeof(wchar_t));
}

void DefinitionDouble::remove(_nqfUID const& attribute)
{
    m_attributes.erase(std::remove_if(m_attributes.begin(), m_attributes.end(),
                                      [&](Attribute const& entry) { return same(entry.id, attribute); }),
                       m_attributes.end());
}

void DefinitionDouble::_reserved3()
{
    journal.note(name + "._reserved3");
}

void DefinitionDouble::_reserved4()
{
    journal.note(name + "._reserved4");
}

int DefinitionDouble::GetAttribute(_nqfUID const& attribute, _nqfUID const& type, void* buffer, unsigned int size)
{
    std::memset(buffer, 0xEE, size);
    bool const wanted = journal.silent || journal.note(name + ".GetAttribute(" + name_of(attribute) + ", " +
                                                       name_of(type) + ", " + std::to_string(size) + ")");
    auto const found =
        std::find_if(m_attributes.begin(), m_attributes.end(),
                     [&](Attribute const& entry) { return same(entry.id, attribute) && same(entry.type, type); });
    if (!wanted || found == m_attributes.end())
        return framework_failure;
    std::memcpy(buffer, found->bytes.data(), std::min<unsigned long>(size, found->bytes.size()));
    return 0;
}

int FactoryDouble::give_or_fail(std::string const& call, Counted* object, int without, void** out)
{
    if (gives_before_failing)
        object->give(out);
    if (!journal.silent && !journal.note(call))
        return framework_failure;
    if (writes_nothing || gives_before_failing)
        return 0;
    if (object != nullptr)
        return object->give(out);
    *out = nullptr;
    return without;
}

int FactoryDouble::CreateComponent(_nqfUID const& classId, INQFUnknown* outer, _nqfUID const& iid, void** out)
{
    if (!writes_nothing)
        *out = no_pointer();
    return give_or_fail(name + ".CreateComponent(" + name_of(classId) + ", " + (outer ? "outer" : "null") + ", " +
                            name_of(iid) + ")",
                        created, 0, out);
}

int FactoryDouble::CreateInstance(_nqfUID const& classId, INQFUnknown* outer, _nqfUID const& iid, void** out)
{
    if (!writes_nothing)
        *out = no_pointer();
    return give_or_fail(name + ".CreateInstance(" + name_of(classId) + ", " + (outer ? "outer" : "null") + ", " +
                            name_of(iid) + ")",
                        created, 0, out);
}

void FactoryDouble::_reserved5()
{
    journal.note(name + "._reserved5");
}

int FactoryDouble::FindDefinition(_nqfUID const& id, _nqfUID const& iid, void** out)
{
    auto const found =
        std::find_if(definitions.begin(), definitions.end(), [&](auto const& entry) { return same(entry.first, id); });
    return give_or_fail(name + ".FindDefinition(" + name_of(id) + ", " + name_of(iid) + ")",
                        found != definitions.end() ? found->second : nullptr, framework_failure, out);
}

int FactoryDouble::EnumDefinitions(_nqfUID const& id, void** out)
{
    return give_or_fail(name + ".EnumDefinitions(" + name_of(id) + ")", enumeration, framework_failure, out);
}

} // namespace support
