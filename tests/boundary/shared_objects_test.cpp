// The type of a block is an address, and the pool is one: both must be the same in a program and in all the components
// that it loads, each in a shared object of its own.
#include "component.h"

#include <gtest/gtest.h>

#include <cstring>

#include <dlfcn.h>

// A sanitizer's runtime is there once in a process.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define HAS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define HAS_SANITIZER 1
#endif
#endif
#if defined(LM_ID_NEWLM) && !defined(HAS_SANITIZER)
#define CAN_LOAD_A_SECOND_LIBRARY 1
#endif

namespace
{

class SharedObjects : public testing::Test
{
protected:
    void SetUp() override
    {
        m_first = load(FIRST_COMPONENT);
        m_second = load(SECOND_COMPONENT);
    }

    // Components stay loaded: blocks of their types may outlive a test.
    static Component load(char const* path)
    {
        void* const library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
        EXPECT_NE(library, nullptr) << dlerror();
        auto const entry = reinterpret_cast<ComponentEntry>(dlsym(library, "component_entry"));
        EXPECT_NE(entry, nullptr) << dlerror();
        return entry();
    }

    Component m_first;
    Component m_second;
};

TEST_F(SharedObjects, are_two_and_not_one_loaded_twice)
{
    EXPECT_NE(m_first.make_thing, m_second.make_thing);
}

TEST_F(SharedObjects, see_one_table_for_each_type)
{
    TypeTables const own = type_tables();
    EXPECT_EQ(std::memcmp(&own, &m_first.types, sizeof own), 0);
    EXPECT_EQ(std::memcmp(&own, &m_second.types, sizeof own), 0);
}

TEST_F(SharedObjects, give_each_type_a_table_of_its_own)
{
    TypeTables const own = type_tables();
    void const* tables[sizeof own / sizeof(void*)];
    std::memcpy(tables, &own, sizeof own);
    for (void const*& table : tables)
    {
        for (void const* const* other = &table + 1; other != std::end(tables); ++other)
            EXPECT_NE(table, *other);
    }
}

TEST_F(SharedObjects, see_each_identifier_at_one_place_and_with_the_same_bytes)
{
    Identifiers const own = identifiers();
    for (Component const* component : {&m_first, &m_second})
    {
        for (unsigned int index = 0; index < Identifiers::count; ++index)
        {
            EXPECT_EQ(component->identifiers.places[index], own.places[index]) << index;
            EXPECT_EQ(std::memcmp(&component->identifiers.values[index], &own.values[index], sizeof(_nqfUID)), 0)
                << index;
        }
    }
}

TEST_F(SharedObjects, tell_the_identifiers_apart)
{
    Identifiers const own = identifiers();
    for (unsigned int index = 0; index < Identifiers::count; ++index)
    {
        EXPECT_NE(std::memcmp(&own.values[index], &ORVA::NQF::nqfUID_null, sizeof(_nqfUID)), 0) << index;
        for (unsigned int other = 0; other < index; ++other)
            EXPECT_NE(std::memcmp(&own.values[index], &own.values[other], sizeof(_nqfUID)), 0) << index << " " << other;
    }
}

#ifdef CAN_LOAD_A_SECOND_LIBRARY
// A second copy of the library, in which nobody has used the two identifiers yet.
class IdentifierFromText : public testing::TestWithParam<_nqfUID const& (*)()>
{
};

TEST_P(IdentifierFromText, is_zero_before_its_first_use_and_made_once)
{
    _nqfUID const& own = GetParam()();
    Dl_info function;
    Dl_info object;
    ASSERT_NE(dladdr(reinterpret_cast<void*>(GetParam()), &function), 0);
    ASSERT_NE(dladdr(&own, &object), 0);
    ASSERT_STREQ(function.dli_fname, object.dli_fname);

    void* const library = dlmopen(LM_ID_NEWLM, object.dli_fname, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    void* const second_function = dlsym(library, function.dli_sname);
    ASSERT_NE(second_function, nullptr) << dlerror();
    Dl_info second;
    ASSERT_NE(dladdr(second_function, &second), 0);
    ASSERT_NE(second.dli_fbase, object.dli_fbase);
    char* const place = static_cast<char*>(second.dli_fbase) +
                        (reinterpret_cast<char const*>(&own) - static_cast<char const*>(object.dli_fbase));
    auto const uid = reinterpret_cast<_nqfUID const& (*)()>(second_function);

    EXPECT_EQ(std::memcmp(place, &ORVA::NQF::nqfUID_null, sizeof(_nqfUID)), 0);
    EXPECT_EQ(static_cast<void const*>(&uid()), place);
    EXPECT_EQ(std::memcmp(place, &own, sizeof(_nqfUID)), 0);
    place[0] = static_cast<char>(~place[0]);
    EXPECT_EQ(static_cast<void const*>(&uid()), place);
    EXPECT_NE(std::memcmp(place, &own, sizeof(_nqfUID)), 0) << "made a second time";
}

INSTANTIATE_TEST_SUITE_P(SharedObjects, IdentifierFromText,
                         testing::Values(&__nqf_uuidof<ORVA::Maintenance::IMaintenanceRequest>,
                                         &__nqf_uuidof<ORVA::Threading::IThreadExecute>));
#endif

TEST_F(SharedObjects, accept_the_blocks_of_each_other)
{
    ORVA::Buffers::CPObjectMemory const block = m_first.make_thing();
    EXPECT_EQ(m_second.read_thing(block), 17);
    ORVA::Buffers::CPObject<SharedThing> const thing(block);
    ASSERT_TRUE(thing);
    thing->number = 18;
    EXPECT_EQ(m_first.read_thing(block), 18);
}

TEST_F(SharedObjects, refuse_blocks_of_other_types)
{
    EXPECT_EQ(m_first.read_thing(m_second.pool(L"no thing")), -1);
}

TEST_F(SharedObjects, intern_into_one_pool)
{
    ORVA::String::CPPoolString const own(L"one pool for all");
    EXPECT_EQ(m_first.pool(L"one pool for all"), own);
    EXPECT_EQ(m_second.pool(L"one pool for all"), own);
}

TEST_F(SharedObjects, see_one_set_of_constants)
{
    EXPECT_EQ(m_first.pool(nullptr), ORVA::String::CPPoolString::pnull);
    EXPECT_EQ(m_second.pool(L""), ORVA::String::CPPoolString::pempty);
}

} // namespace
