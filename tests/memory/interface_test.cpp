#include "ORVA/Buffers/Interface.h"
#include "ORVA/Buffers/Object.h"
#include "ORVA/Buffers/PlainMemory.h"
#include "support/BlockProbe.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

struct INamed
{
    virtual int name() = 0;

protected:
    ~INamed() = default;
};

struct ICounted
{
    virtual int count() = 0;

protected:
    ~ICounted() = default;
};

struct IAbsent
{
    virtual int absent() = 0;

protected:
    ~IAbsent() = default;
};

_nqfUID const named_uid = {1, 0, 0, {}};
_nqfUID const counted_uid = {2, 0, 0, {}};
_nqfUID const absent_uid = {3, 0, 0, {}};

} // namespace

template <>
_nqfUID const& __nqf_uuidof<INamed>()
{
    return named_uid;
}

template <>
_nqfUID const& __nqf_uuidof<ICounted>()
{
    return counted_uid;
}

template <>
_nqfUID const& __nqf_uuidof<IAbsent>()
{
    return absent_uid;
}

namespace
{

using namespace support;
using ORVA::Buffers::CPInterface;
using ORVA::Buffers::CPIObject;
using ORVA::Buffers::CPObject;

// Two bases: the second interface does not lie at the start of the object.
class Implementation : public INamed, public ICounted
{
public:
    virtual ~Implementation() = default;
    int name() override { return 10 + m_value; }
    int count() override { return 20 + m_value; }
    virtual void* queryInterface(_nqfUID const& uid) const
    {
        auto* const self = const_cast<Implementation*>(this);
        if (std::memcmp(&uid, &named_uid, sizeof uid) == 0)
            return static_cast<INamed*>(self);
        if (std::memcmp(&uid, &counted_uid, sizeof uid) == 0)
            return static_cast<ICounted*>(self);
        return nullptr;
    }
    int m_value = 0;
};

class Interface : public testing::Test
{
protected:
    void SetUp() override { object.create(); }
    void TearDown() override { EXPECT_EQ(recorder.take(), LogMessages()) << "nothing here is reported"; }
    LogRecorder recorder;
    CPIObject<Implementation> object;
};

static_assert(sizeof(CPInterface<INamed>) == 2 * sizeof(void*));
static_assert(std::is_same_v<decltype(CPInterface<INamed>::lOffset), long>);

TEST_F(Interface, an_empty_handle_has_the_offset_minus_1)
{
    CPInterface<INamed> const handle;
    EXPECT_FALSE(handle);
    EXPECT_EQ(handle.lOffset, -1);
}

TEST_F(Interface, is_found_at_its_offset_in_the_payload)
{
    CPInterface<INamed> const named(object);
    CPInterface<ICounted> const counted(object);
    EXPECT_EQ(object.lockcnt(), 3U);
    EXPECT_TRUE(named == object);
    EXPECT_TRUE(counted == object);

    Implementation* const implementation = object.create();
    auto const offset_of = [&](void const* part)
    { return static_cast<char const*>(part) - static_cast<char const*>(object.get_cptr()); };
    EXPECT_EQ(named.lOffset, offset_of(static_cast<INamed*>(implementation)));
    EXPECT_EQ(counted.lOffset, offset_of(static_cast<ICounted*>(implementation)));
    EXPECT_NE(named.lOffset, counted.lOffset);

    EXPECT_EQ(named->name(), 10);
    EXPECT_EQ(counted->count(), 20);
    object->m_value = 5;
    EXPECT_EQ(counted->count(), 25) << "one payload for all handles";
}

TEST_F(Interface, that_the_block_does_not_have_leaves_the_handle_empty)
{
    CPInterface<IAbsent> const handle(object);
    EXPECT_FALSE(handle);
    EXPECT_EQ(handle.lOffset, -1);
    EXPECT_EQ(object.lockcnt(), 1U);
}

TEST_F(Interface, of_blocks_without_interfaces_or_of_none_is_empty)
{
    CPObjectMemory plain;
    ASSERT_EQ(plain.Alloc(8, &ORVA::Buffers::CPPlainMemory::_vtbl), 1);
    for (CPObjectMemory const& source : {plain, CPObjectMemory()})
    {
        CPInterface<INamed> const handle(source);
        EXPECT_FALSE(handle);
        EXPECT_EQ(handle.lOffset, -1);
    }
    EXPECT_EQ(plain.lockcnt(), 1U);
}

TEST_F(Interface, holds_for_a_clone_as_well)
{
    CPInterface<ICounted> counted(object);
    ASSERT_EQ(counted.clone(), 1);
    EXPECT_FALSE(counted == object);
    object->m_value = 5;
    EXPECT_EQ(counted->count(), 20);
}

TEST_F(Interface, assignment_looks_for_the_interface_again)
{
    CPInterface<ICounted> counted;
    counted = static_cast<CPObjectMemory const&>(object);
    EXPECT_EQ(counted->count(), 20);
    EXPECT_EQ(object.lockcnt(), 2U);
    CPObjectMemory plain;
    ASSERT_EQ(plain.Alloc(8, &ORVA::Buffers::CPPlainMemory::_vtbl), 1);
    counted = plain;
    EXPECT_FALSE(counted);
    EXPECT_EQ(counted.lOffset, -1);
    EXPECT_EQ(object.lockcnt(), 1U);
}

TEST_F(Interface, copies_keep_the_offset)
{
    CPInterface<ICounted> const counted(object);
    CPInterface<ICounted> copy(counted);
    EXPECT_EQ(copy.lOffset, counted.lOffset);
    EXPECT_EQ(object.lockcnt(), 3U);
    CPInterface<ICounted> assigned;
    assigned = copy;
    EXPECT_EQ(assigned->count(), 20);
}

TEST_F(Interface, keeps_the_object_alive)
{
    CPInterface<ICounted> const counted(object);
    object.free();
    EXPECT_EQ(counted->count(), 20);
    EXPECT_EQ(counted.lockcnt(), 1U);
}

} // namespace
