#include "ORVA/NQF/ClassRegistry.h"

#include "components/factory_support.h"
#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"

#include "ORVA/NQF/UID.h"

// The class table. It is the process's, so each test registers identifiers of its own.
namespace
{

using namespace support;
using ORVA::Buffers::CPObject;
using ORVA::Buffers::CPObjectMemory;
using ORVA::NQF::CClassHash;
using ORVA::NQF::CPINQFUnknown;
using ORVA::NQF::g_rwClasses;
using ORVA::NQF::g_tblClasses;
using ORVA::NQF::SClassRegister;
using ORVA::String::CPPoolString;

static_assert(sizeof(SClassRegister) == 48);

CPINQFUnknown make_one(_nqfUID const&)
{
    ADD_FAILURE() << "no creator is ever called";
    return CPINQFUnknown();
}

CPINQFUnknown make_another(_nqfUID const& id)
{
    return make_one(id);
}

unsigned long key_of(_nqfUID const& uid)
{
    return ORVA::Buffers::CMachineCRC(64, 0x42f0e1eba9ea3693UL).Eval(&uid, 16, 0);
}

CPObject<SClassRegister> registered(_nqfUID const& uid)
{
    return CPObject<SClassRegister>(g_tblClasses.FindItem(key_of(uid), CPObjectMemory()));
}

_nqfUID next_uid()
{
    static unsigned int number = 0;
    return _nqfUID{++number, 0xC1A5, 0x5E5, {1, 2, 3, 4, 5, 6, 7, 8}};
}

TEST(ClassHash, is_the_crc_of_the_class_identifier)
{
    CPObject<SClassRegister> record;
    ASSERT_NE(record.create(), nullptr);
    record->uidClass = _nqfUID{0x12345678, 0x9ABC, 0xDEF0, {1, 2, 3, 4, 5, 6, 7, 8}};
    record->uidSecond = test_uid(4);
    record->sName = L"name";
    unsigned long plain = 0;
    unsigned char const bytes[] = {0x78, 0x56, 0x34, 0x12, 0xBC, 0x9A, 0xF0, 0xDE, 1, 2, 3, 4, 5, 6, 7, 8};
    for (unsigned char const byte : bytes)
    {
        plain ^= static_cast<unsigned long>(byte) << 56;
        for (int bit = 0; bit < 8; ++bit)
            plain = (plain << 1) ^ ((plain >> 63) != 0 ? 0x42f0e1eba9ea3693UL : 0UL);
    }
    EXPECT_EQ(CClassHash().hash(record), plain);
    EXPECT_EQ(g_tblClasses.hash(record), plain);
}

TEST(ClassHash, of_nil_is_0)
{
    CPObject<SClassRegister> record;
    ASSERT_NE(record.create(), nullptr);
    EXPECT_EQ(CClassHash().hash(record), 0U);
}

TEST(ClassTable, compares_nothing)
{
    CPObject<SClassRegister> one;
    CPObject<SClassRegister> two;
    ASSERT_TRUE(one.create() != nullptr && two.create() != nullptr);
    two->uidClass = test_uid(3);
    EXPECT_EQ(g_tblClasses.compare(one, two), 0);
    EXPECT_EQ(g_tblClasses.compare(two, CPObjectMemory()), 0);
    EXPECT_EQ(g_tblClasses.compare(CPObjectMemory(), CPObjectMemory()), 0);
}

TEST(ClassRecord, is_empty_at_first)
{
    SClassRegister const record;
    EXPECT_TRUE(same(record.uidClass, _nqfUID{}));
    EXPECT_TRUE(same(record.uidSecond, _nqfUID{}));
    EXPECT_TRUE(record.sName.isnull());
    EXPECT_EQ(record.pfnCreate, nullptr);
}

TEST(ClassRecord, is_cloned_with_its_name_and_ends_with_it)
{
    CPPoolString const name(L"ClassRecord.is_cloned");
    unsigned int const before = name.lockcnt();
    {
        CPObject<SClassRegister> record;
        ASSERT_NE(record.create(), nullptr);
        *record = SClassRegister{test_uid(1), test_uid(2), name, &make_one};
        CPObject<SClassRegister> copy(record);
        ASSERT_EQ(copy.clone(), 1);
        ASSERT_TRUE(copy != record);
        EXPECT_TRUE(same(copy->uidClass, test_uid(1)));
        EXPECT_TRUE(same(copy->uidSecond, test_uid(2)));
        EXPECT_TRUE(copy->sName == name);
        EXPECT_EQ(copy->pfnCreate, &make_one);
        EXPECT_EQ(name.lockcnt(), before + 2);
    }
    EXPECT_EQ(name.lockcnt(), before);
}

TEST(ClassRegistry, holds_what_was_registered)
{
    _nqfUID const uid = next_uid();
    CPPoolString const name(L"ClassRegistry.holds");
    unsigned long const before = g_tblClasses.GetNItems();
    EXPECT_EQ(CPINQFUnknown::Factory_RegisterClass(uid, test_uid(2), name, &make_one), 1);
    EXPECT_EQ(g_tblClasses.GetNItems(), before + 1);
    CPObject<SClassRegister> const record = registered(uid);
    ASSERT_TRUE(record);
    EXPECT_EQ(record.GetSize(), 48U);
    EXPECT_TRUE(same(record->uidClass, uid));
    EXPECT_TRUE(same(record->uidSecond, test_uid(2)));
    EXPECT_TRUE(record->sName == name);
    EXPECT_EQ(record->pfnCreate, &make_one);
    EXPECT_EQ(record.lockcnt(), 2U);
}

TEST(ClassRegistry, keeps_the_first_registration_and_is_1_for_the_next)
{
    LogRecorder log;
    _nqfUID const uid = next_uid();
    EXPECT_EQ(CPINQFUnknown::Factory_RegisterClass(uid, test_uid(2), L"first", &make_one), 1);
    unsigned long const before = g_tblClasses.GetNItems();
    EXPECT_EQ(CPINQFUnknown::Factory_RegisterClass(uid, test_uid(3), L"second", &make_another), 1);
    EXPECT_EQ(g_tblClasses.GetNItems(), before);
    CPObject<SClassRegister> const record = registered(uid);
    ASSERT_TRUE(record);
    EXPECT_TRUE(same(record->uidSecond, test_uid(2)));
    EXPECT_TRUE(record->sName == L"first");
    EXPECT_EQ(record->pfnCreate, &make_one);
    EXPECT_EQ(log.count(), 0U);
}

TEST(ClassRegistry, refuses_and_reports_a_name_without_text)
{
    LogRecorder log;
    _nqfUID const uid = ORVA::NQF::cnqfuid("0badc1a5-0001-0002-a3b4-0506070809ff");
    LogMessages const expected = {log_message(
        1, "CPNQF", 642, L"Factory_RegisterClass: ClassNames are mandatory! 0BADC1A5-0001-0002-A3B4-0506070809FF",
        L"Factory_RegisterClass: ClassNames are mandatory! %ls")};
    unsigned long const before = g_tblClasses.GetNItems();
    EXPECT_EQ(CPINQFUnknown::Factory_RegisterClass(uid, test_uid(2), CPPoolString(), &make_one), 0);
    EXPECT_EQ(log.take(), expected);
    EXPECT_EQ(CPINQFUnknown::Factory_RegisterClass(uid, test_uid(2), CPPoolString::pempty, &make_one), 0);
    EXPECT_EQ(log.take(), expected);
    EXPECT_EQ(g_tblClasses.GetNItems(), before);
    EXPECT_FALSE(registered(uid));
}

TEST(ClassRegistry, refuses_without_a_lock)
{
    EXPECT_TRUE(components::ends_while_held(
        g_rwClasses,
        [] { EXPECT_EQ(CPINQFUnknown::Factory_RegisterClass(test_uid(1), test_uid(2), CPPoolString(), nullptr), 0); }));
}

TEST(ClassRegistry, refuses_without_memory_for_the_text_of_the_identifier)
{
    LogRecorder log;
    AllocationFailure const failure(1, AllocationFailure::forever);
    EXPECT_EQ(CPINQFUnknown::Factory_RegisterClass(test_uid(1), test_uid(2), CPPoolString(), &make_one), 0);
    EXPECT_EQ(log.take(),
              LogMessages{log_message(1, "CPNQF", 642, L"Factory_RegisterClass: ClassNames are mandatory! ")});
}

TEST(ClassRegistry, looks_at_the_name_alone)
{
    LogRecorder log;
    EXPECT_EQ(CPINQFUnknown::Factory_RegisterClass(_nqfUID{}, _nqfUID{}, L"nil", nullptr), 1);
    CPObject<SClassRegister> const record = registered(_nqfUID{});
    ASSERT_TRUE(record);
    EXPECT_EQ(record->pfnCreate, nullptr);
    EXPECT_EQ(CPINQFUnknown::Factory_RegisterClass(next_uid(), _nqfUID{}, CPPoolString::ptrue, nullptr), 1);
    EXPECT_EQ(log.count(), 0U);
}

TEST(ClassRegistry, enters_exclusively)
{
    _nqfUID const uid = next_uid();
    g_rwClasses.EnterRead();
    locks::Waiter<int> waiter([&] { return CPINQFUnknown::Factory_RegisterClass(uid, uid, L"waits", nullptr); });
    EXPECT_TRUE(waiter.is_blocked());
    g_rwClasses.LeaveRead();
    EXPECT_EQ(waiter.result(), 1);
    EXPECT_TRUE(registered(uid));
}

TEST(ClassRegistry, enters_before_it_makes_the_record)
{
    _nqfUID const uid = next_uid();
    g_rwClasses.EnterRead();
    locks::Waiter<int> waiter(
        [&]
        {
            AllocationFailure const failure(1, AllocationFailure::forever);
            return CPINQFUnknown::Factory_RegisterClass(uid, uid, CPPoolString::ptrue, nullptr);
        });
    EXPECT_TRUE(waiter.is_blocked());
    g_rwClasses.LeaveRead();
    EXPECT_EQ(waiter.result(), 0);
    EXPECT_FALSE(registered(uid));
}

TEST(ClassRegistry, without_memory_is_0_and_leaves_table_and_lock)
{
    CPPoolString const name(L"ClassRegistry.without_memory");
    for (AllocationFailure::Duration const duration : {AllocationFailure::once, AllocationFailure::forever})
    {
        g_tblClasses.ClearTable();
        _nqfUID const uid = next_uid();
        unsigned int const references = name.lockcnt();
        unsigned long const allocations =
            for_each_allocation(duration,
                                [&](unsigned long nth)
                                {
                                    int const result = CPINQFUnknown::Factory_RegisterClass(uid, uid, name, &make_one);
                                    if (result == 0)
                                    {
                                        EXPECT_EQ(g_tblClasses.GetNItems(), 0U) << nth;
                                        EXPECT_FALSE(registered(uid)) << nth;
                                        EXPECT_EQ(name.lockcnt(), references) << nth;
                                    }
                                    EXPECT_TRUE(locks::is_free(g_rwClasses)) << nth;
                                });
        // the record, the index of the table, the bucket
        EXPECT_EQ(allocations, 3U);
        EXPECT_EQ(g_tblClasses.GetNItems(), 1U);
        EXPECT_TRUE(registered(uid));
        EXPECT_EQ(name.lockcnt(), references + 1);
    }
}

} // namespace
