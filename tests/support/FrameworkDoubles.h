/// @file
/// Objects in place of the component framework's. They note each call in a journal, count their references, and fail or
/// throw where the journal is told so.
///
/// What a query, a creation and an attribute write on failure is no pointer, and no value: whoever uses it is found
/// out. The other operations of the factory write null, or nothing.
#pragma once

#include "ORVA/NQF/Framework.h"

#include <atomic>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace support
{

/// A negative result of the framework.
constexpr int framework_failure = -0x7FFFBFFE;

/// An identifier of a test's own.
inline _nqfUID test_uid(unsigned int number)
{
    return _nqfUID{number, 0, 0, {}};
}

/// "INQFDefinition", "Definition_Name", "UInt32" for those that the library knows, "#7" for `test_uid(7)`.
std::string name_of(_nqfUID const& uid);

inline bool same(_nqfUID const& left, _nqfUID const& right)
{
    return std::memcmp(&left, &right, sizeof left) == 0;
}

using Calls = std::vector<std::string>;

/// The calls of all objects of a test, in their order: "factory.AddRef", "definition.QueryInterface(INQFDefinition)".
class CallJournal
{
public:
    /// Notes `call`, and throws if it is to throw. False if it is to fail.
    bool note(std::string const& call);

    /// The calls so far; the journal is empty afterwards.
    Calls take();

    /// From now on these calls fail, throw, or do neither any more.
    void fails(std::string const& call) { m_failing.insert(call); }
    void raises(std::string const& call) { m_raising.insert(call); }
    void succeeds() { m_failing.clear(), m_raising.clear(); }

    /// Is called in each call, after that was noted.
    std::function<void(std::string const&)> on_call;

    /// Notes nothing and takes no lock, for tests with threads. Calls neither fail nor throw.
    bool silent = false;

private:
    std::mutex m_lock;
    Calls m_calls;
    std::set<std::string> m_failing;
    std::set<std::string> m_raising;
};

/// What the doubles have in common.
class Counted
{
public:
    CallJournal& journal;
    std::string const name;
    /// The references: one to begin with, which is the test's. Nothing is destroyed, so it may become negative.
    std::atomic<int> count{1};

    /// Gives the object itself for `id`.
    void answer(_nqfUID const& id) { answer(id, m_pointer); }
    /// Gives `pointer` for `id`: another address for the same count, or null.
    void answer(_nqfUID const& id, void* pointer) { m_answers.emplace_back(id, pointer); }

    /// A reference for `*out`, as a framework call gives it.
    int give(void** out)
    {
        ++count;
        *out = m_pointer;
        return 0;
    }

protected:
    Counted(CallJournal& to, std::string called, void* pointer)
        : journal(to), name(std::move(called)), m_pointer(pointer)
    {
    }
    ~Counted() = default;

    int query(_nqfUID const& id, void** out);
    unsigned int add();
    unsigned int release();

private:
    void* const m_pointer;
    std::vector<std::pair<_nqfUID, void*>> m_answers;
};

/// An object that implements `Interface` as far as the root interface goes. It answers for the root interface, and for
/// the `others`, by its own address.
template <class Interface>
class CountedDouble : public Interface, public Counted
{
public:
    CountedDouble(CallJournal& to, std::string const& called, std::initializer_list<_nqfUID> others = {})
        : Counted(to, called, static_cast<Interface*>(this))
    {
        answer(__nqf_uuidof<INQFUnknown>());
        for (_nqfUID const& id : others)
            answer(id);
    }

    int QueryInterface(_nqfUID const& id, void** out) override { return query(id, out); }
    unsigned int AddRef() override { return add(); }
    unsigned int Release() override { return release(); }
};

/// An object with the root interface alone, and whatever it is told to answer for.
class ObjectDouble final : public CountedDouble<INQFUnknown>
{
public:
    using CountedDouble::CountedDouble;
};

class EnumDouble final : public CountedDouble<INQFEnumDefinitions>
{
public:
    EnumDouble(CallJournal& to, std::string const& called)
        : CountedDouble(to, called, {__nqf_uuidof<INQFEnumDefinitions>()})
    {
    }
};

/// A definition with attributes. One that it does not have is a failure.
class DefinitionDouble final : public CountedDouble<INQFDefinition>
{
public:
    DefinitionDouble(CallJournal& to, std::string const& called)
        : CountedDouble(to, called, {__nqf_uuidof<INQFDefinition>()})
    {
    }

    void set(_nqfUID const& attribute, _nqfUID const& value);
    void set(_nqfUID const& attribute, unsigned int value);
    /// Without a terminator if `terminated` is false.
    void set(_nqfUID const& attribute, std::wstring const& value, bool terminated = true);
    void remove(_nqfUID const& attribute);

    void _reserved3() override;
    void _reserved4() override;
    int GetAttribute(_nqfUID const& attribute, _nqfUID const& type, void* buffer, unsigned int size) override;

private:
    struct Attribute
    {
        _nqfUID id;
        _nqfUID type;
        std::vector<unsigned char> bytes;
    };

    void set(_nqfUID const& attribute, _nqfUID const& type, void const* value, unsigned long size);

    std::vector<Attribute> m_attributes;
};

/// A factory that makes and finds what it is told.
class FactoryDouble final : public CountedDouble<INQFComponentFactory>
{
public:
    explicit FactoryDouble(CallJournal& to, std::string const& called = "factory")
        : CountedDouble(to, called, {__nqf_uuidof<INQFComponentFactory>()})
    {
    }

    Counted* created = nullptr;     ///< what is made; success with null written without it
    Counted* enumeration = nullptr; ///< the walk over the definitions; a failure without it
    std::vector<std::pair<_nqfUID, Counted*>> definitions;
    bool writes_nothing = false;       ///< operations leave `out` alone
    bool gives_before_failing = false; ///< operations that are to fail or throw write an object all the same

    int CreateComponent(_nqfUID const& classId, INQFUnknown* outer, _nqfUID const& iid, void** out) override;
    int CreateInstance(_nqfUID const& classId, INQFUnknown* outer, _nqfUID const& iid, void** out) override;
    void _reserved5() override;
    int FindDefinition(_nqfUID const& id, _nqfUID const& iid, void** out) override;
    int EnumDefinitions(_nqfUID const& id, void** out) override;

private:
    int give_or_fail(std::string const& call, Counted* object, int without, void** out);
};

/// Gives a component and its plug-in all the attributes that a description is made of: "Reverb" of "Effects" 1.2.3.4 by
/// "Maker", with the identifiers 9 (definition), 10 (type), 11 (plug-in) and 12 (vendor).
inline void fill_in(DefinitionDouble& component, DefinitionDouble& plugin)
{
    component.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_Name>(), L"Reverb");
    component.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_UID>(), test_uid(9));
    component.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_TypeID>(), test_uid(10));
    component.set(__nqf_uuidof<REFID_phldr_VQXATTR_Component_PluginID>(), test_uid(11));
    plugin.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_Vendor>(), L"Maker");
    plugin.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_Name>(), L"Effects");
    plugin.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_VendorID>(), test_uid(12));
    plugin.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_MajorVersion>(), 1U);
    plugin.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_MinorVersion>(), 2U);
    plugin.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_PatchVersion>(), 3U);
    plugin.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_BuildVersion>(), 4U);
}

} // namespace support
