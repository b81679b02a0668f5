// What a user writes, against the shared library: this file compiles and links only if the boundary is complete.
#include "ORVA/ORVA.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace ORVA;

struct Interface
{
    virtual int answer() const = 0;

protected:
    ~Interface() = default;
};

struct Base
{
    virtual ~Base() = default;
    long padding = 0;
};

struct Implementation : Base, Interface
{
    int answer() const override { return 42; }
    void* queryInterface(_nqfUID const& uid) const;
};

class CountingTable : public Lookup::CBaseHashTable
{
public:
    CountingTable() : CBaseHashTable(4) {}
    int compare(Buffers::CPObjectMemory const& a, Buffers::CPObjectMemory const& b) override
    {
        return a.key() < b.key() ? -1 : a.key() > b.key() ? 1 : 0;
    }
};

} // namespace

template <>
_nqfUID const& __nqf_uuidof<Interface>()
{
    static _nqfUID const uid = {0x7B3A0E15, 0x1C2D, 0x4E5F, {0x80, 1, 2, 3, 4, 5, 6, 7}};
    return uid;
}

namespace
{

void* Implementation::queryInterface(_nqfUID const& uid) const
{
    if (&uid != &__nqf_uuidof<Interface>())
        return nullptr;
    return const_cast<Interface*>(static_cast<Interface const*>(this));
}

TEST(Consumer, reaches_an_interface_in_a_block)
{
    Buffers::CPIObject<Implementation> object;
    ASSERT_NE(object.create(), nullptr);
    Buffers::CPInterface<Interface> const interface(object);
    ASSERT_TRUE(interface);
    EXPECT_EQ(interface->answer(), 42);
    EXPECT_GT(interface.lOffset, 0);
}

TEST(Consumer, keeps_strings_in_a_vector)
{
    Buffers::CPObjectVector<String::CPPoolString> names;
    for (int number = 0; number < 40; ++number)
        ASSERT_EQ(names.Insert(String::CPPoolString(number), 0), 1);
    EXPECT_EQ(names.GetCount(), 40u);
    EXPECT_EQ(names[0], String::CPPoolString(39));
    EXPECT_EQ(names[39], String::CPPoolString(0u));
}

TEST(Consumer, derives_a_table)
{
    CountingTable table;
    Buffers::CPObject<int> item;
    item.create();
    EXPECT_EQ(table.AddItem(5, item, Lookup::eHashKeepEqual), item);
    EXPECT_EQ(table.FindItem(5, Buffers::CPObjectMemory::pnull), item);
    EXPECT_EQ(table.GetNItems(), 1u);
}

TEST(Consumer, converts_text)
{
    String::CUTF8Char const utf8(L"gr\u00FC\u00DFe");
    EXPECT_STREQ(reinterpret_cast<char const*>(*utf8), "gr\xC3\xBC\xC3\x9F"
                                                       "e");
    String::CPPoolString const name(*utf8);
    EXPECT_EQ(name, L"gr\u00FC\u00DFe");
    EXPECT_EQ(name.UTF8Size(), 7u);
}

TEST(Consumer, locks)
{
    Threading::CPCriticalSection section;
    EXPECT_TRUE(section.TryEnter(0));
    EXPECT_TRUE(section.TryEnter(0));
    section.Leave();
    section.Leave();
}

TEST(Consumer, wraps_results)
{
    EXPECT_TRUE(hr(0));
    EXPECT_FALSE(hr(-1));
}

} // namespace
