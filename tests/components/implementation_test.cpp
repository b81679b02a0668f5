#include "ORVA/NQF/ClassFactory.h"
#include "ORVA/NQF/UnknownBase.h"

#include "components/interface_pointer_support.h"

#include "ORVA/NQF/TypedInterface.h"

#include <atomic>
#include <thread>
#include <type_traits>
#include <vector>

// The bases for code that implements framework interfaces.
namespace
{

using namespace components;
using namespace support;
using ORVA::NQF::_cNQFUnknown;
using ORVA::NQF::_csFactory;

static_assert(std::is_base_of_v<INQFUnknown, _cNQFUnknown> && std::is_abstract_v<_cNQFUnknown>);
static_assert(sizeof(_cNQFUnknown) == 16 && !std::has_virtual_destructor_v<_cNQFUnknown>);
static_assert(std::is_base_of_v<INQFClassFactory, _csFactory> && std::is_abstract_v<_csFactory>);
static_assert(sizeof(_csFactory) == sizeof(void*) && !std::has_virtual_destructor_v<_csFactory>);

class Object : public _cNQFUnknown
{
public:
    explicit Object(unsigned int references = 0) { m_lRefCnt = references; }
    int QueryInterface(_nqfUID const& id, void** out) override
    {
        *out = _queryinterfaceadd(id);
        return *out != nullptr ? 0 : framework_failure;
    }
    unsigned int AddRef() override { return _addRef(); }
    unsigned int Release() override { return _release(); }
    void _destroy() override { ++destroyed; }
    void _reserved5() override { ADD_FAILURE() << "the library does not call this"; }

    unsigned int references() const { return m_lRefCnt; }
    std::atomic<unsigned int> destroyed{0};
};

TEST(UnknownBase, has_its_operations_in_order)
{
    EXPECT_EQ(table_place(&_cNQFUnknown::_destroy), 3U);
    EXPECT_EQ(table_place(&_cNQFUnknown::_queryinterface), 4U);
    EXPECT_EQ(table_place(&_cNQFUnknown::_reserved5), 5U);
}

TEST(UnknownBase, is_not_counted_at_first)
{
    class Plain final : public _cNQFUnknown
    {
    public:
        int QueryInterface(_nqfUID const&, void**) override { return 0; }
        unsigned int AddRef() override { return 0; }
        unsigned int Release() override { return 0; }
        void _destroy() override {}
        void _reserved5() override {}
        unsigned int references() const { return m_lRefCnt; }
    };
    EXPECT_EQ(Plain().references(), 0U);
}

TEST(UnknownBase, without_a_count_neither_counts_nor_ends)
{
    Object const object;
    EXPECT_EQ(object._addRef(), 0U);
    EXPECT_EQ(object._release(), 0U);
    EXPECT_EQ(object._release(), 0U);
    EXPECT_EQ(object.references(), 0U);
    EXPECT_EQ(object.destroyed, 0U);
}

TEST(UnknownBase, counts_once_it_has_a_count)
{
    Object const object(1);
    EXPECT_EQ(object._addRef(), 2U);
    EXPECT_EQ(object._addRef(), 3U);
    EXPECT_EQ(object._release(), 2U);
    EXPECT_EQ(object._release(), 1U);
    EXPECT_EQ(object.destroyed, 0U);
}

TEST(UnknownBase, ends_once_with_its_last_reference)
{
    Object const object(1);
    EXPECT_EQ(object._release(), 0U);
    EXPECT_EQ(object.destroyed, 1U);
    EXPECT_EQ(object.references(), 0U);
    EXPECT_EQ(object._release(), 0U);
    EXPECT_EQ(object.destroyed, 1U);
}

/// Begins with one reference and ends with its last.
class SelfDeleting final : public _cNQFUnknown
{
public:
    explicit SelfDeleting(bool& flag) : m_ended(flag) { m_lRefCnt = 1; }
    int QueryInterface(_nqfUID const& id, void** out) override
    {
        *out = _queryinterfaceadd(id);
        return *out != nullptr ? 0 : framework_failure;
    }
    unsigned int AddRef() override { return _addRef(); }
    unsigned int Release() override { return _release(); }
    void _destroy() override
    {
        m_ended = true;
        delete this;
    }
    void _reserved5() override {}

private:
    bool& m_ended;
};

TEST(UnknownBase, may_be_gone_when_release_returns)
{
    bool ended = false;
    auto* const object = new SelfDeleting(ended);
    EXPECT_EQ(object->_release(), 0U);
    EXPECT_TRUE(ended);
}

TEST(UnknownBase, answers_for_the_root_interface_and_for_itself_without_a_reference)
{
    Object const object(1);
    void* const self = const_cast<_cNQFUnknown*>(static_cast<_cNQFUnknown const*>(&object));
    EXPECT_EQ(object._queryinterface(__nqf_uuidof<INQFUnknown>()), self);
    EXPECT_EQ(object._queryinterface(__nqf_uuidof<_cNQFUnknown>()), self);
    EXPECT_EQ(object._queryinterface(__nqf_uuidof<INQFDefinition>()), nullptr);
    EXPECT_EQ(object._queryinterface(_nqfUID{}), nullptr);
    EXPECT_EQ(object.references(), 1U);
    EXPECT_EQ(object.base(), self);
}

TEST(UnknownBase, adds_a_reference_to_an_answer_if_it_is_counted)
{
    Object const counted(1);
    EXPECT_EQ(counted._queryinterfaceadd(__nqf_uuidof<INQFUnknown>()), counted.base());
    EXPECT_EQ(counted.references(), 2U);
    EXPECT_EQ(counted._queryinterfaceadd(__nqf_uuidof<INQFDefinition>()), nullptr);
    EXPECT_EQ(counted.references(), 2U);

    Object const uncounted;
    EXPECT_EQ(uncounted._queryinterfaceadd(__nqf_uuidof<_cNQFUnknown>()), uncounted.base());
    EXPECT_EQ(uncounted.references(), 0U);
}

TEST(UnknownBase, adds_the_reference_by_itself)
{
    class Derived final : public Object
    {
    public:
        using Object::Object;
        unsigned int AddRef() override
        {
            ADD_FAILURE() << "the count is changed directly";
            return 0;
        }
    };
    Derived const object(1);
    EXPECT_EQ(object._queryinterfaceadd(__nqf_uuidof<INQFUnknown>()), object.base());
    EXPECT_EQ(object.references(), 2U);
}

TEST(UnknownBase, asks_the_derived_class)
{
    class Derived final : public Object
    {
    public:
        using Object::Object;
        void* _queryinterface(_nqfUID const& id) const override { return same(id, own_interface) ? base() : nullptr; }
    };
    Derived const object(1);
    EXPECT_EQ(object._queryinterfaceadd(own_interface), object.base());
    EXPECT_EQ(object._queryinterfaceadd(__nqf_uuidof<INQFUnknown>()), nullptr);
    EXPECT_EQ(object.references(), 2U);
}

TEST(UnknownBase, serves_a_handle)
{
    Object object(1);
    {
        ORVA::NQF::CPNQI<_cNQFUnknown> const handle(&object);
        EXPECT_EQ(object.references(), 2U);
        EXPECT_EQ(handle->base(), &object);
    }
    EXPECT_EQ(object.references(), 1U);
}

TEST(UnknownBase, lives_exactly_as_long_as_the_handles_on_it)
{
    bool ended = false;
    ORVA::NQF::CPINQFUnknown handle;
    handle._assign(new SelfDeleting(ended));
    ORVA::NQF::CPINQFUnknown const& itself = handle;
    handle = itself;
    handle = handle._getptr();
    EXPECT_FALSE(ended);
    {
        ORVA::NQF::CPNQI<_cNQFUnknown> const second(handle);
        handle.free();
        EXPECT_FALSE(ended);
        EXPECT_EQ(second->_addRef(), 2U);
        EXPECT_EQ(second->_release(), 1U);
        handle = second;
        handle = nullptr;
        EXPECT_FALSE(ended);
    }
    EXPECT_TRUE(ended);
}

TEST(UnknownBase, ends_once_whoever_gives_the_last_reference_back)
{
    constexpr unsigned int thread_count = 8;
    constexpr unsigned int rounds = 2000;
    Object const object(thread_count);
    std::vector<std::thread> threads;
    for (unsigned int index = 0; index < thread_count; ++index)
    {
        threads.emplace_back(
            [&object]
            {
                for (unsigned int round = 0; round < rounds; ++round)
                {
                    object._addRef();
                    object._release();
                }
                object._release();
            });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(object.destroyed, 1U);
    EXPECT_EQ(object.references(), 0U);
}

class ClassFactory final : public _csFactory
{
public:
    int _createinstance(_nqfUID const& id, void** out) override
    {
        ++calls;
        asked = id;
        *out = this;
        return result;
    }
    int result = 1;
    int calls = 0;
    _nqfUID asked = {};
};

unsigned int code(int result)
{
    return static_cast<unsigned int>(result);
}

TEST(ClassFactoryBase, has_its_operations_in_order)
{
    EXPECT_EQ(table_place(&_csFactory::QueryInterface), 0U);
    EXPECT_EQ(table_place(&_csFactory::AddRef), 1U);
    EXPECT_EQ(table_place(&_csFactory::Release), 2U);
    EXPECT_EQ(table_place(&_csFactory::CreateInstance), 3U);
    EXPECT_EQ(table_place(&_csFactory::_createinstance), 4U);
}

TEST(ClassFactoryBase, has_the_results_of_the_framework)
{
    EXPECT_EQ(ORVA::NQF::eFactorySuccess, 0);
    EXPECT_EQ(code(ORVA::NQF::eFactoryNoOutput), 0x80000003U);
    EXPECT_EQ(code(ORVA::NQF::eFactoryNoInterface), 0x80000004U);
    EXPECT_EQ(code(ORVA::NQF::eFactoryNoAggregation), 0x80040110U);
    EXPECT_EQ(code(ORVA::NQF::eFactoryNoClass), 0x80040111U);
}

TEST(ClassFactoryBase, is_not_counted)
{
    ClassFactory factory;
    for (int call = 0; call < 3; ++call)
        EXPECT_EQ(factory.AddRef(), 2U);
    for (int call = 0; call < 5; ++call)
        EXPECT_EQ(factory.Release(), 0U);
    EXPECT_EQ(factory.AddRef(), 2U);
}

TEST(ClassFactoryBase, answers_for_its_two_interfaces)
{
    ClassFactory factory;
    void* out = nullptr;
    EXPECT_EQ(factory.QueryInterface(__nqf_uuidof<INQFUnknown>(), &out), 0);
    EXPECT_EQ(out, static_cast<INQFClassFactory*>(&factory));
    out = nullptr;
    EXPECT_EQ(factory.QueryInterface(__nqf_uuidof<INQFClassFactory>(), &out), 0);
    EXPECT_EQ(out, static_cast<INQFClassFactory*>(&factory));
}

TEST(ClassFactoryBase, gives_null_for_others)
{
    ClassFactory factory;
    for (_nqfUID const& id : {__nqf_uuidof<INQFComponentFactory>(), __nqf_uuidof<_cNQFUnknown>(), _nqfUID{}})
    {
        void* out = &factory;
        EXPECT_EQ(code(factory.QueryInterface(id, &out)), 0x80000004U);
        EXPECT_EQ(out, nullptr);
    }
}

TEST(ClassFactoryBase, refuses_a_question_without_an_output_whatever_is_asked)
{
    ClassFactory factory;
    EXPECT_EQ(code(factory.QueryInterface(__nqf_uuidof<INQFUnknown>(), nullptr)), 0x80000003U);
    EXPECT_EQ(code(factory.QueryInterface(_nqfUID{}, nullptr)), 0x80000003U);
}

TEST(ClassFactoryBase, makes_what_the_derived_factory_makes)
{
    ClassFactory factory;
    void* out = nullptr;
    EXPECT_EQ(factory.CreateInstance(nullptr, nullptr, own_interface, &out), 0);
    EXPECT_EQ(out, &factory);
    EXPECT_TRUE(same(factory.asked, own_interface));
    factory.result = -5;
    EXPECT_EQ(factory.CreateInstance(nullptr, nullptr, own_interface, &out), 0);
    factory.result = 0;
    EXPECT_EQ(code(factory.CreateInstance(nullptr, nullptr, own_interface, &out)), 0x80040111U);
    EXPECT_EQ(factory.calls, 3);
}

TEST(ClassFactoryBase, ignores_the_first_argument)
{
    ClassFactory factory;
    void* out = nullptr;
    EXPECT_EQ(factory.CreateInstance(&factory, nullptr, own_interface, &out), 0);
    EXPECT_EQ(factory.calls, 1);
}

TEST(ClassFactoryBase, looks_at_the_output_before_the_outer_object)
{
    ClassFactory factory;
    void* out = &out;
    EXPECT_EQ(code(factory.CreateInstance(nullptr, &factory, own_interface, nullptr)), 0x80000003U);
    EXPECT_EQ(code(factory.CreateInstance(nullptr, nullptr, own_interface, nullptr)), 0x80000003U);
    EXPECT_EQ(code(factory.CreateInstance(nullptr, &factory, own_interface, &out)), 0x80040110U);
    EXPECT_EQ(out, &out);
    EXPECT_EQ(factory.calls, 0);
}

} // namespace
