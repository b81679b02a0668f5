#include "ORVA/String/Holders.h"
#include "text/holders_text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <type_traits>
#include <utility>

using namespace ORVA::String;

namespace
{

template <class Holder>
using Element = std::remove_const_t<std::remove_pointer_t<decltype(*std::declval<Holder const&>())>>;

/// Length of a holder that was filled with that many elements of its own type: the wide holder counts the terminator.
template <class Holder>
unsigned long copied_length(unsigned long elements)
{
    return std::is_same_v<Holder, CNQFWChar> ? elements + 1 : elements;
}

/// Length of a holder that was assigned a null pointer of its own type, or a copy of a holder of nothing.
template <class Holder>
unsigned long null_length()
{
    return std::is_same_v<Holder, CUTF8Char> ? all_bits : 0;
}

template <class Holder>
class HoldersTest : public testing::Test
{
public:
    using T = Element<Holder>;
    std::vector<T> const abc = {T('a'), T('b'), T('c'), T(0)};
    std::vector<T> const xy = {T('x'), T('y'), T(0)};
    std::vector<T> const empty = {T(0)};
    std::vector<T> const abc_units = {T('a'), T('b'), T('c')};
    std::vector<T> const xy_units = {T('x'), T('y')};
};

using Holders = testing::Types<CNQFWChar, CUTF8Char, CUTF16Char, CANSIChar>;

struct HolderNames
{
    template <class Holder>
    static std::string GetName(int)
    {
        return std::is_same_v<Holder, CNQFWChar>    ? "CNQFWChar"
               : std::is_same_v<Holder, CUTF8Char>  ? "CUTF8Char"
               : std::is_same_v<Holder, CUTF16Char> ? "CUTF16Char"
                                                    : "CANSIChar";
    }
};

TYPED_TEST_SUITE(HoldersTest, Holders, HolderNames);

static_assert(sizeof(CNQFWChar) == 16 && sizeof(CUTF8Char) == 16 && sizeof(CUTF16Char) == 16 &&
              sizeof(CANSIChar) == 16);
static_assert(std::is_same_v<Element<CNQFWChar>, wchar_t> && std::is_same_v<Element<CUTF8Char>, unsigned char> &&
              std::is_same_v<Element<CUTF16Char>, unsigned short> && std::is_same_v<Element<CANSIChar>, char>);

template <class Holder, class... Sources>
constexpr bool takes_all()
{
    return (... && (std::is_constructible_v<Holder, Sources> && std::is_assignable_v<Holder&, Sources> &&
                    std::is_convertible_v<Sources, Holder>));
}

template <class Holder, class... Sources>
constexpr bool takes_none()
{
    return (... && (!std::is_constructible_v<Holder, Sources> && !std::is_assignable_v<Holder&, Sources>));
}

using Wide = wchar_t const*;
using Utf8 = unsigned char const*;
using Utf16 = unsigned short const*;
using Utf32 = unsigned int const*;
using Ansi = char const*;

static_assert(takes_all<CNQFWChar, Wide, Utf8, Utf16, Utf32, Ansi, CNQFWChar const&, CUTF8Char const&,
                        CUTF16Char const&, CANSIChar const&, CNQFWChar, CUTF8Char, CUTF16Char, CANSIChar>());
static_assert(takes_all<CUTF8Char, Wide, Utf8, Utf16, Ansi, CNQFWChar const&, CUTF8Char const&, CUTF16Char const&,
                        CANSIChar const&, CNQFWChar, CUTF8Char, CUTF16Char, CANSIChar>());
static_assert(takes_all<CUTF16Char, Wide, Utf8, Utf16, Ansi, CNQFWChar const&, CUTF8Char const&, CUTF16Char const&,
                        CANSIChar const&, CNQFWChar, CUTF8Char, CUTF16Char, CANSIChar>());
static_assert(takes_all<CANSIChar, Wide, Ansi, CNQFWChar const&, CANSIChar const&, CNQFWChar, CANSIChar>());
static_assert(takes_all<CNQFWChar, wchar_t*, unsigned char*, unsigned short*, unsigned int*, char*>());
static_assert(takes_none<CUTF8Char, Utf32>() && takes_none<CUTF16Char, Utf32>());
static_assert(takes_none<CANSIChar, Utf8, Utf16, Utf32, CUTF8Char const&, CUTF16Char const&>());

TYPED_TEST(HoldersTest, default_holder_holds_nothing)
{
    TypeParam const holder;
    EXPECT_EQ(nullptr, *holder);
    EXPECT_EQ(0U, holder.len());
    EXPECT_FALSE(holder);
}

TYPED_TEST(HoldersTest, pointer_and_length_are_the_two_fields_in_this_order)
{
    TypeParam const holder(this->abc.data());
    Element<TypeParam> const* pointer = nullptr;
    unsigned long length = 0;
    std::memcpy(&pointer, reinterpret_cast<unsigned char const*>(&holder), 8);
    std::memcpy(&length, reinterpret_cast<unsigned char const*>(&holder) + 8, 8);
    EXPECT_EQ(*holder, pointer);
    EXPECT_EQ(holder.len(), length);
}

TYPED_TEST(HoldersTest, owns_a_copy_of_a_text_of_its_own_type)
{
    auto source = this->abc;
    TypeParam const holder(source.data());
    source[0] = 'z';
    ASSERT_NE(nullptr, *holder);
    EXPECT_NE(source.data(), *holder);
    EXPECT_EQ(this->abc_units, units(*holder));
    EXPECT_EQ(copied_length<TypeParam>(3), holder.len());
}

TYPED_TEST(HoldersTest, null_pointer_of_its_own_type_gives_a_holder_of_nothing)
{
    TypeParam const holder(static_cast<Element<TypeParam> const*>(nullptr));
    EXPECT_FALSE(holder);
    EXPECT_EQ(nullptr, *holder);
    EXPECT_EQ(null_length<TypeParam>(), holder.len());
}

TYPED_TEST(HoldersTest, empty_text_of_its_own_type_is_held_and_true)
{
    TypeParam const holder(this->empty.data());
    EXPECT_TRUE(holder);
    ASSERT_NE(nullptr, *holder);
    EXPECT_EQ(0, (*holder)[0]);
    EXPECT_EQ(copied_length<TypeParam>(0), holder.len());
}

TYPED_TEST(HoldersTest, both_operators_give_the_same_pointer)
{
    TypeParam const holder(this->abc.data());
    Element<TypeParam> const* const converted = holder;
    EXPECT_EQ(*holder, converted);
    EXPECT_EQ('b', holder[1]);
    EXPECT_EQ('a', holder[0]);
}

TYPED_TEST(HoldersTest, serves_as_a_condition_without_ambiguity)
{
    TypeParam const held(this->empty.data());
    TypeParam const nothing;
    int taken = 0;
    if (held)
        taken += 1;
    if (!nothing)
        taken += 2;
    taken += held ? 4 : 0;
    taken += nothing ? 0 : 8;
    taken += held && !nothing ? 16 : 0;
    bool const plain = held;
    taken += plain ? 32 : 0;
    taken += nothing == nullptr ? 64 : 0;
    taken += held.operator bool() && !static_cast<bool>(nothing) ? 128 : 0;
    EXPECT_EQ(255, taken);
}

TYPED_TEST(HoldersTest, copy_owns_its_own_buffer)
{
    TypeParam source(this->abc.data());
    TypeParam const copy(source);
    EXPECT_NE(*source, *copy);
    source = this->xy.data();
    EXPECT_EQ(this->abc_units, units(*copy));
    EXPECT_EQ(copied_length<TypeParam>(3), copy.len());
}

TYPED_TEST(HoldersTest, copy_of_nothing_is_as_from_a_null_pointer)
{
    TypeParam const nothing;
    TypeParam const copy(nothing);
    EXPECT_FALSE(copy);
    EXPECT_EQ(null_length<TypeParam>(), copy.len());

    TypeParam assigned(this->abc.data());
    assigned = nothing;
    EXPECT_FALSE(assigned);
    EXPECT_EQ(null_length<TypeParam>(), assigned.len());
}

TYPED_TEST(HoldersTest, copy_assignment_replaces_the_old_text)
{
    TypeParam const source(this->abc.data());
    TypeParam target(this->xy.data());
    EXPECT_EQ(&target, &(target = source));
    EXPECT_EQ(this->abc_units, units(*target));
    EXPECT_EQ(copied_length<TypeParam>(3), target.len());
    EXPECT_NE(*source, *target);
}

TYPED_TEST(HoldersTest, self_assignment_changes_nothing)
{
    TypeParam holder(this->abc.data());
    auto const* const pointer = *holder;
    TypeParam& self = holder;
    holder = self;
    EXPECT_EQ(pointer, *holder);
    EXPECT_EQ(copied_length<TypeParam>(3), holder.len());

    TypeParam nothing;
    TypeParam& nothing_itself = nothing;
    nothing = nothing_itself;
    EXPECT_EQ(nullptr, *nothing);
    EXPECT_EQ(0U, nothing.len());
}

TYPED_TEST(HoldersTest, assignment_of_its_own_pointer_keeps_the_text)
{
    TypeParam holder(this->abc.data());
    holder = *holder;
    EXPECT_EQ(this->abc_units, units(*holder));
    EXPECT_EQ(copied_length<TypeParam>(3), holder.len());
}

TYPED_TEST(HoldersTest, assignment_from_within_its_own_text_keeps_the_rest)
{
    TypeParam holder(this->abc.data());
    holder = *holder + 2;
    EXPECT_EQ((std::vector<Element<TypeParam>>{'c'}), units(*holder));
    EXPECT_EQ(copied_length<TypeParam>(1), holder.len());
}

TYPED_TEST(HoldersTest, assignment_of_a_null_pointer_drops_the_old_text)
{
    TypeParam holder(this->abc.data());
    holder = static_cast<Element<TypeParam> const*>(nullptr);
    EXPECT_FALSE(holder);
    EXPECT_EQ(null_length<TypeParam>(), holder.len());
    holder = this->xy.data();
    EXPECT_EQ(this->xy_units, units(*holder));
    EXPECT_EQ(copied_length<TypeParam>(2), holder.len());
}

TYPED_TEST(HoldersTest, moving_carries_pointer_and_length_over)
{
    TypeParam source(this->abc.data());
    auto const* const pointer = *source;
    TypeParam moved(std::move(source));
    EXPECT_EQ(pointer, *moved);
    EXPECT_EQ(copied_length<TypeParam>(3), moved.len());
    EXPECT_EQ(nullptr, *source);
    EXPECT_EQ(0U, source.len());

    TypeParam assigned(this->xy.data());
    EXPECT_EQ(&assigned, &(assigned = std::move(moved)));
    EXPECT_EQ(pointer, *assigned);
    EXPECT_EQ(copied_length<TypeParam>(3), assigned.len());
    EXPECT_FALSE(moved);
    EXPECT_EQ(0U, moved.len());
}

TYPED_TEST(HoldersTest, moving_carries_the_length_of_an_assigned_null_over)
{
    TypeParam source(static_cast<Element<TypeParam> const*>(nullptr));
    TypeParam const moved(std::move(source));
    EXPECT_EQ(nullptr, *moved);
    EXPECT_EQ(null_length<TypeParam>(), moved.len());
}

TYPED_TEST(HoldersTest, self_move_changes_nothing)
{
    TypeParam holder(this->abc.data());
    auto const* const pointer = *holder;
    TypeParam& self = holder;
    holder = std::move(self);
    EXPECT_EQ(pointer, *holder);
    EXPECT_EQ(copied_length<TypeParam>(3), holder.len());
}

TYPED_TEST(HoldersTest, moves_and_destruction_do_not_throw)
{
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<TypeParam>);
    EXPECT_TRUE(std::is_nothrow_move_assignable_v<TypeParam>);
    EXPECT_TRUE(std::is_nothrow_destructible_v<TypeParam>);
}

TYPED_TEST(HoldersTest, long_text_of_its_own_type_is_copied_whole)
{
    for (unsigned long length = 1; length < 300; length += 7)
    {
        std::vector<Element<TypeParam>> text;
        for (unsigned long at = 0; at < length; ++at)
            text.push_back(static_cast<Element<TypeParam>>('0' + at % 64));
        TypeParam const holder(terminated(text).data());
        ASSERT_EQ(text, units(*holder));
        ASSERT_EQ(copied_length<TypeParam>(length), holder.len());
    }
}

} // namespace
