// The type of a block is an address, and the pool is one: both must be the same in a program and in all the components
// that it loads, each in a shared object of its own.
#include "component.h"

#include <gtest/gtest.h>

#include <cstring>

#include <dlfcn.h>

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
