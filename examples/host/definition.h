/// @file
/// What is known of a component, or of a class of a component, in the form in which the library asks for it.
#pragma once

#include "component.h"
#include "counted.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <vector>

namespace host
{

/// A definition: attributes, each with a type and a value. It has copies of all values, so that whoever holds it may keep
/// it when the component has gone.
class Definition final : public Counted<INQFDefinition>
{
public:
    /// Of the component as a whole, which the library calls a plug-in.
    explicit Definition(ComponentRecord const& component) : m_is_class(false)
    {
        add<REFID_phldr_NQFATTR_Definition_UID>(component.uidPlugin);
        add<REFID_phldr_NQFATTR_Definition_Name>(component.sName);
        add<REFID_phldr_NQFATTR_Definition_VendorID>(component.uidVendor);
        add<REFID_phldr_NQFATTR_Definition_Vendor>(component.sVendor);
        add<REFID_phldr_NQFATTR_Definition_MajorVersion>(component.version.uMajor);
        add<REFID_phldr_NQFATTR_Definition_MinorVersion>(component.version.uMinor);
        add<REFID_phldr_NQFATTR_Definition_PatchVersion>(component.version.uPatch);
        add<REFID_phldr_NQFATTR_Definition_BuildVersion>(component.version.uBuild);
    }

    /// Of one of its classes, which the library calls a component.
    Definition(ComponentRecord const& component, ClassRecord const& one) : m_is_class(true)
    {
        add<REFID_phldr_NQFATTR_Definition_UID>(one.uidDefinition);
        add<REFID_phldr_NQFATTR_Definition_TypeID>(__nqf_uuidof<ITask>());
        add<REFID_phldr_NQFATTR_Definition_Name>(one.sName);
        add<REFID_phldr_VQXATTR_Component_PluginID>(component.uidPlugin);
        add<REFID_phldr_VQXATTR_Component_CLSID>(one.uidClass);
    }

    void _reserved3() override {}
    void _reserved4() override {}

    /// Text is cut to `size` bytes; any other value needs room for all of it.
    int GetAttribute(_nqfUID const& attribute, _nqfUID const& type, void* buffer, unsigned int size) override
    {
        for (Attribute const& known : m_attributes)
        {
            if (known.uid != attribute || known.type != type)
                continue;
            if (known.value.size() > size && known.type != __nqf_uuidof<REFID_phldr_NQFTypeID_UnicodeString>())
                return -1;
            std::memcpy(buffer, known.value.data(), std::min<unsigned long>(known.value.size(), size));
            return 0;
        }
        return -1;
    }

    /// A class is an `INQFComponentDefinition` as well. That has no operations of its own, and the library goes on to ask
    /// the same pointer for attributes: the address is the same.
    void* _queryinterface(_nqfUID const& id) const override
    {
        if (m_is_class && ORVA::NQF::cnqfuid(id) == __nqf_uuidof<INQFComponentDefinition>())
            return Counted::_queryinterface(__nqf_uuidof<INQFDefinition>());
        return Counted::_queryinterface(id);
    }

private:
    struct Attribute
    {
        ORVA::NQF::cnqfuid uid;
        ORVA::NQF::cnqfuid type;
        std::vector<unsigned char> value;
    };

    template <class Uid, class Type>
    void add(void const* value, unsigned long size)
    {
        auto const* const bytes = static_cast<unsigned char const*>(value);
        m_attributes.push_back({__nqf_uuidof<Uid>(), __nqf_uuidof<Type>(), {bytes, bytes + size}});
    }
    template <class Uid>
    void add(_nqfUID const& value)
    {
        add<Uid, REFID_phldr_NQFTypeID_UID>(&value, sizeof value);
    }
    template <class Uid>
    void add(unsigned int value)
    {
        add<Uid, REFID_phldr_NQFTypeID_UInt32>(&value, sizeof value);
    }
    template <class Uid>
    void add(wchar_t const* text)
    {
        add<Uid, REFID_phldr_NQFTypeID_UnicodeString>(text, (std::wcslen(text) + 1) * sizeof *text);
    }

    bool m_is_class;
    std::vector<Attribute> m_attributes;
};

} // namespace host
