#include "ORVA/Buffers/CString.h"
#include "ORVA/Buffers/PlainMemory.h"
#include "support/BlockProbe.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <type_traits>

namespace
{

using namespace support;
using ORVA::Buffers::CPCString;

template <class T>
class CString : public testing::Test
{
};

using CharacterTypes = testing::Types<wchar_t, unsigned char>;
TYPED_TEST_SUITE(CString, CharacterTypes, );

TYPED_TEST(CString, is_a_handle_without_fields)
{
    static_assert(sizeof(CPCString<TypeParam>) == sizeof(void*) && !std::is_polymorphic_v<CPCString<TypeParam>>);
    CPCString<TypeParam> const empty;
    EXPECT_FALSE(empty);
    EXPECT_EQ(empty.GetTypeID(), nullptr) << "an empty handle is of no type";
}

TYPED_TEST(CString, has_a_table_whose_operations_are_those_of_bytes)
{
    tagCPOVTABL const& table = CPCString<TypeParam>::_vtbl;
    EXPECT_EQ(table._interface, &CPObjectMemory::_nointerface);
    char bytes[] = "1234";
    table._create(bytes, 5);
    table._finalize(bytes, 5);
    EXPECT_STREQ(bytes, "1234");
    table._clone(bytes + 1, bytes, 3);
    EXPECT_STREQ(bytes, "1123");
}

TYPED_TEST(CString, is_built_from_and_assigned_blocks_of_its_type_only)
{
    CPObjectMemory own;
    ASSERT_EQ(own.Alloc(3 * sizeof(TypeParam), &CPCString<TypeParam>::_vtbl), 1);
    CPObjectMemory foreign;
    ASSERT_EQ(foreign.Alloc(8, &ORVA::Buffers::CPPlainMemory::_vtbl), 1);

    CPCString<TypeParam> handle(own);
    EXPECT_TRUE(handle == own);
    EXPECT_EQ(handle.GetTypeID(), &CPCString<TypeParam>::_vtbl);
    EXPECT_FALSE(CPCString<TypeParam>(foreign));
    EXPECT_FALSE(CPCString<TypeParam>(CPObjectMemory()));

    handle = foreign;
    EXPECT_FALSE(handle);
    EXPECT_EQ(own.lockcnt(), 1U);
    handle = own;
    EXPECT_EQ(own.lockcnt(), 2U);
    handle = CPObjectMemory();
    EXPECT_FALSE(handle);
    EXPECT_EQ(own.lockcnt(), 1U);
}

TEST(CStringTypes, differ_by_character)
{
    EXPECT_NE(static_cast<void const*>(&CPCString<wchar_t>::_vtbl),
              static_cast<void const*>(&CPCString<unsigned char>::_vtbl));
}

TEST(CStringTypes, a_clone_copies_the_characters)
{
    LogRecorder recorder;
    CPObjectMemory text;
    ASSERT_EQ(text.Alloc(sizeof L"text", &CPCString<wchar_t>::_vtbl), 1);
    std::wcscpy(static_cast<wchar_t*>(text.get_ptr()), L"text");
    CPObjectMemory const other(text);
    ASSERT_EQ(text.clone(), 1);
    EXPECT_FALSE(text == other);
    EXPECT_STREQ(static_cast<wchar_t const*>(text.get_cptr()), L"text");
    EXPECT_EQ(recorder.count(), 0U);
}

} // namespace
