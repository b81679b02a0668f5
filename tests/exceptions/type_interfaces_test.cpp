// The operations of a type table that find an interface and construct, where they throw.
#include "ORVA/Buffers.h"
#include "ORVA/Threading/LockHandle.h"
#include "ORVA/Threading/Thread.h"

#include "exceptions/thrown.h"
#include "support/BlockProbe.h"
#include "support/LogRecorder.h"
#include "threading/thread_bodies.h"

namespace
{

using namespace exceptions;
using namespace support;
using ORVA::Buffers::CPInterface;

struct OwnInterface
{
};

} // namespace

/// An interface whose identifier is not to be had where the test says so.
template <>
_nqfUID const& __nqf_uuidof<OwnInterface>();

namespace
{

Fuse asked;

void* find_interface(void* payload, _nqfUID const&)
{
    asked.call();
    return payload;
}

tagCPOVTABL const asking_table = {&BlockProbe::create, &BlockProbe::clone, &BlockProbe::finalize, &find_interface};

} // namespace

template <>
_nqfUID const& __nqf_uuidof<OwnInterface>()
{
    static _nqfUID const uid = {1, 2, 3, {4}};
    asked.call();
    return uid;
}

namespace
{

class ThrowingOperation : public testing::Test
{
protected:
    void SetUp() override { BlockProbe::reset(); }
    void TearDown() override
    {
        asked = Fuse();
        EXPECT_EQ(recorder.count(), 0U);
    }

    LogRecorder recorder;
};

CPObjectMemory make_asking_block()
{
    CPObjectMemory handle;
    EXPECT_EQ(handle.Alloc(8, &asking_table), 1);
    return handle;
}

TEST_F(ThrowingOperation, OfAnInterfacePassesItsExceptionAndLeavesTheHandle)
{
    CPObjectMemory const block = make_asking_block();
    CPObjectMemory const first = make_asking_block();
    unsigned long const calls = at_each_call(
        [&](Fuse& fuse)
        {
            asked = Fuse();
            CPInterface<OwnInterface> handle(first);
            asked = fuse;
            lets_through(asked, [&] { CPInterface<OwnInterface> const made(block); });
            asked = fuse;
            bool const thrown = lets_through(asked, [&] { handle = block; });
            EXPECT_TRUE(static_cast<CPObjectMemory const&>(handle) == (thrown ? first : block));
            EXPECT_EQ(handle.lOffset, 0);
            EXPECT_EQ(block.lockcnt(), thrown ? 1U : 2U);
            fuse = asked;
        });
    EXPECT_EQ(calls, 2U) << "the identifier, and the block";
    asked = Fuse(1, Thrown::odd);
    EXPECT_EQ(thrown_by([&] { CPObjectMemory::pnull.queryinterface(block, {}); }), Thrown::odd);
}

TEST_F(ThrowingOperation, OfAnInterfaceStartsNoThread)
{
    using ORVA::Threading::_cThread;
    using ORVA::Threading::CPThread;
    for (Thrown const what : both_kinds)
    {
        CPObjectMemory block = make_asking_block();
        _cThread plain;
        asked = Fuse(1, what);
        EXPECT_EQ(thrown_by([&] { plain.Execute(block, 0); }), what);
        EXPECT_EQ(plain.Wait(0), -2);

        CPThread thread;
        asked = Fuse(1, what);
        EXPECT_EQ(thrown_by([&] { thread.Execute(block, 0); }), what);
        EXPECT_EQ(block.lockcnt(), 1U);
        EXPECT_TRUE(thread) << "it holds a thread that never ran";
        EXPECT_EQ(thread.Wait(0), -2);
        EXPECT_FALSE(thread);

        threads::Context body = threads::context_of([] {});
        EXPECT_TRUE(thread.Execute(body, 0));
        EXPECT_EQ(thread.Wait(threads::plenty), 0);
    }
}

TEST_F(ThrowingOperation, OfAConstructionGivesTheBlockOfALockHandleBack)
{
    struct OwnLock : ORVA::Threading::CPLockHandle
    {
        explicit OwnLock(tagCPOVTABL const& table) : CPLockHandle(8, table) {}
    };
    static Fuse fuse;
    static tagCPOVTABL const table = {[](void*, unsigned long) { fuse.call(); }, nullptr, &BlockProbe::finalize,
                                      &CPObjectMemory::_nointerface};
    for (Thrown const what : both_kinds)
    {
        fuse = Fuse(1, what);
        EXPECT_EQ(thrown_by([] { OwnLock const lock(table); }), what);
        EXPECT_EQ(BlockProbe::take(), Calls()) << "nothing was made, so nothing is destroyed";
        OwnLock lock(table);
        EXPECT_TRUE(static_cast<CPObjectMemory const&>(lock));
        lock.free();
        EXPECT_EQ(BlockProbe::take(), Calls{"finalize 8"});
    }
}

} // namespace
