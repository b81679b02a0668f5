// Operations of a type table that throw: `_clone` and `_finalize`.
#include "ORVA/Buffers.h"
#include "ORVA/Lookup.h"

#include "exceptions/thrown.h"
#include "support/BlockProbe.h"
#include "support/LogRecorder.h"
#include "support/TableProbe.h"

#include <cstdlib>
#include <functional>
#include <utility>

namespace
{

using namespace exceptions;
using namespace support;
using ORVA::Buffers::CPOMVector;
using ORVA::Buffers::CPPlainMemory;
using ORVA::Buffers::CPTypedObjectVector;

LogMessage const free_exception = illegal_point("CPObjectMemory::Free exception");
LogMessage const clone_exception = illegal_point("CPObjectMemory::Clone exception");

CPObjectMemory make(unsigned long size = 8, tagCPOVTABL const& table = BlockProbe::table)
{
    CPObjectMemory handle;
    EXPECT_EQ(handle.Alloc(size, &table), 1);
    std::memset(handle.get_ptr(), 'a', size);
    return handle;
}

unsigned long type_of(tagCPOVTABL const& table)
{
    return reinterpret_cast<unsigned long>(&table);
}

class ThrowingType : public testing::Test
{
protected:
    void SetUp() override { BlockProbe::reset(); }
    void TearDown() override
    {
        BlockProbe::reset();
        EXPECT_EQ(recorder.take(), LogMessages()) << "a report that the test does not state";
    }

    LogRecorder recorder;
};

/// Lets `finalize` throw while it lives.
class ThrowingFinaliser
{
public:
    explicit ThrowingFinaliser(Thrown what)
    {
        BlockProbe::take();
        BlockProbe::records().on_finalize = [what] { raise(what); };
    }
    ~ThrowingFinaliser() { BlockProbe::records().on_finalize = nullptr; }
    ThrowingFinaliser(ThrowingFinaliser const&) = delete;
    ThrowingFinaliser& operator=(ThrowingFinaliser const&) = delete;
};

/// A way to release one block of 8 bytes for good. `release` is handed the only reference to it.
struct Release
{
    char const* name;
    std::function<void(CPObjectMemory)> release;
};

/// Releases by an operation of a hash table.
template <class Operation>
std::function<void(CPObjectMemory)> from_a_table(Operation operation)
{
    return [operation](CPObjectMemory block)
    {
        TableProbe table(4);
        table.on_compare = [](CPObjectMemory const&, CPObjectMemory const&) { return 0; };
        table.on_disposable = [](CPObjectMemory const&) { return true; };
        table.AddItem(3, block, ORVA::Lookup::eHashKeepEqual);
        block.free();
        BlockProbe::take();
        operation(table);
        EXPECT_EQ(BlockProbe::take(), Calls{"finalize 8"});
        EXPECT_TRUE(!table.cpIndex || table.cpIndex.lockcnt() == 1);
        unsigned long const left = table.GetNItems();
        CPObjectMemory const other = make(16, CPPlainMemory::_vtbl);
        EXPECT_TRUE(table.AddItem(4, other, ORVA::Lookup::eHashKeepEqual) == other);
        EXPECT_EQ(table.GetNItems(), left + 1);
    };
}

std::vector<Release> const releases = {
    {"free", [](CPObjectMemory block) { block.free(); }},
    {"the destructor", [](CPObjectMemory block) { CPObjectMemory const last = std::move(block); }},
    {"a copy", [](CPObjectMemory block) { block = CPObjectMemory::pnull; }},
    {"a move", [](CPObjectMemory block) { block = CPObjectMemory(); }},
    {"Alloc", [](CPObjectMemory block) { EXPECT_EQ(block.Alloc(16, &CPPlainMemory::_vtbl), 1); }},
    {"Reserve", [](CPObjectMemory block) { EXPECT_EQ(block.Reserve(16, &CPPlainMemory::_vtbl), 1); }},
    {"a handle of another type",
     [](CPObjectMemory block)
     {
         CPPlainMemory plain;
         plain._Alloc(16, &CPPlainMemory::_vtbl);
         block = plain;
         EXPECT_EQ(plain.lockcnt(), 2U);
     }},
    {"_Resize",
     [](CPObjectMemory block)
     {
         CPPlainMemory plain;
         plain.CopyCPMemory(block);
         block.free();
         EXPECT_EQ(plain._Resize(100, &CPPlainMemory::_vtbl), 1);
         EXPECT_EQ(plain.GetSize(), 100U);
         EXPECT_EQ(*static_cast<char*>(plain.get_ptr()), 'a');
     }},
    {"_Reserve",
     [](CPObjectMemory block)
     {
         CPPlainMemory plain;
         plain.CopyCPMemory(block);
         block.free();
         EXPECT_EQ(plain._Reserve(100, &CPPlainMemory::_vtbl), 1);
         EXPECT_EQ(plain.GetSize(), 8U);
     }},
    {"a vector's Delete",
     [](CPObjectMemory block)
     {
         CPOMVector vector;
         vector.Insert(block, 0);
         block.free();
         EXPECT_EQ(vector.Delete(0, false), 1);
         EXPECT_EQ(vector.GetCount(), 0U);
     }},
    {"a vector's end",
     [](CPObjectMemory block)
     {
         CPOMVector vector;
         CPObjectMemory const other = make(16, CPPlainMemory::_vtbl);
         vector.Insert(block, 0);
         vector.Insert(other, 1);
         block.free();
         vector.free();
         EXPECT_EQ(other.lockcnt(), 1U) << "the elements behind are released all the same";
     }},
    {"a set of types, of the original and of its own copy",
     [](CPObjectMemory block)
     {
         CPTypedObjectVector set;
         set.Set(block);
         block.free();
         EXPECT_EQ(set.Delete(type_of(BlockProbe::table)), 1);
         EXPECT_FALSE(set.Get(type_of(BlockProbe::table)));
     }},
    {"a table's DeleteItem", from_a_table([](TableProbe& table) { table.DeleteItem(3, CPObjectMemory::pnull); })},
    {"a table's DeleteIndex", from_a_table([](TableProbe& table) { table.DeleteIndex(3); })},
    {"a table's ClearTable", from_a_table([](TableProbe& table) { table.ClearTable(); })},
    {"a table's DisposeTable", from_a_table([](TableProbe& table) { table.DisposeTable(0xFFFFFFFF); })},
    {"a table's PurgeTable", from_a_table(
                                 [](TableProbe& table)
                                 {
                                     VisitorProbe none([](unsigned long, CPObjectMemory&) { return false; });
                                     EXPECT_EQ(table.PurgeTable(&none), 1);
                                 })},
    {"a replacement in a table", from_a_table(
                                     [](TableProbe& table)
                                     {
                                         CPObjectMemory const other = make(8, CPPlainMemory::_vtbl);
                                         table.AddItem(3, other, ORVA::Lookup::eHashReplaceKey);
                                         EXPECT_EQ(table.FindItem(3, CPObjectMemory::pnull), other);
                                     })},
};

// A sanitizer tells if the memory were not given back.
TEST_F(ThrowingType, WhoseFinaliserThrowsIsReportedWhereverABlockIsReleased)
{
    for (Release const& release : releases)
    {
        for (Thrown const what : both_kinds)
        {
            SCOPED_TRACE(testing::Message() << release.name << ", " << testing::PrintToString(what));
            {
                ThrowingFinaliser const finaliser(what);
                CPObjectMemory block = make();
                std::optional<Thrown> const thrown = thrown_by([&] { release.release(std::move(block)); });
                EXPECT_FALSE(thrown.has_value());
            }
            EXPECT_FALSE(recorder.count() == 0);
            for (LogMessage const& message : recorder.take())
                EXPECT_EQ(message, free_exception);
            release.release(make());
            EXPECT_EQ(recorder.count(), 0U) << "the same without an exception";
        }
    }
}

TEST_F(ThrowingType, WhoseFinaliserThrowsDisturbsNoOtherElementOfAVector)
{
    for (Thrown const what : both_kinds)
    {
        CPOMVector vector;
        for (int number = 0; number < 3; ++number)
            vector.Insert(make(), 0);
        {
            ThrowingFinaliser const finaliser(what);
            EXPECT_FALSE(thrown_by([&] { vector.free(); }).has_value());
        }
        EXPECT_EQ(recorder.take(), (LogMessages{free_exception, free_exception, free_exception}));
        EXPECT_EQ(BlockProbe::take(), (Calls{"finalize 8", "finalize 8", "finalize 8"}));
    }
}

TEST_F(ThrowingType, WhoseCopyThrowsIsReportedAndTheBlockStaysShared)
{
    for (Thrown const what : both_kinds)
    {
        CPObjectMemory handle = make();
        CPObjectMemory const other(handle);
        BlockProbe::take();
        BlockProbe::records().on_clone = [what] { raise(what); };
        int result = 99;
        EXPECT_FALSE(thrown_by([&] { result = handle.clone(); }).has_value());
        EXPECT_EQ(result, 1);
        EXPECT_EQ(recorder.take(), LogMessages{clone_exception});
        EXPECT_EQ(BlockProbe::take(), (Calls{"clone 8", "finalize 8"}));
        EXPECT_TRUE(handle == other);
        EXPECT_EQ(other.lockcnt(), 2U);

        BlockProbe::records().on_clone = nullptr;
        EXPECT_EQ(handle.clone(), 1);
        EXPECT_FALSE(handle == other);
        EXPECT_EQ(other.lockcnt(), 1U);
    }
}

TEST_F(ThrowingType, WhoseCopyThrowsIsSharedByASetOfTypes)
{
    for (Thrown const what : both_kinds)
    {
        CPTypedObjectVector set;
        CPObjectMemory const block = make();
        BlockProbe::records().on_clone = [what] { raise(what); };
        for (int time = 1; time <= 2; ++time)
        {
            EXPECT_FALSE(thrown_by([&] { EXPECT_EQ(set.Set(block), 1); }).has_value()) << "new, and in its place";
            EXPECT_EQ(recorder.take(), LogMessages{clone_exception});
            EXPECT_EQ(block.lockcnt(), 2U);
        }
        EXPECT_TRUE(set.Get(type_of(BlockProbe::table)) == block);
        EXPECT_EQ(recorder.take(), LogMessages{clone_exception});
        EXPECT_EQ(block.lockcnt(), 2U);

        BlockProbe::records().on_clone = nullptr;
        CPObjectMemory const own = set.Get(type_of(BlockProbe::table));
        EXPECT_TRUE(own);
        EXPECT_FALSE(own == block);
        EXPECT_EQ(set.Delete(type_of(BlockProbe::table)), 1);
        EXPECT_EQ(block.lockcnt(), 1U);
    }
}

// What a type has to do whose copies may throw: the finaliser meets whatever the copy has left.
struct Pieces
{
    static constexpr unsigned long count = 3;
    void* pieces[count];

    inline static Fuse fuse;

    static void clone(void* dest, void const*, unsigned long size)
    {
        std::memset(dest, 0, size);
        for (void*& piece : static_cast<Pieces*>(dest)->pieces)
        {
            fuse.call();
            piece = std::malloc(10);
        }
    }
    static void finalize(void* payload, unsigned long)
    {
        for (void* const piece : static_cast<Pieces*>(payload)->pieces)
            std::free(piece);
    }
    inline static tagCPOVTABL const table = {&BlockProbe::create, &clone, &finalize, &CPObjectMemory::_nointerface};
};

TEST_F(ThrowingType, MayCopyInStepsIfItClearsThePayloadFirst)
{
    unsigned long const calls = at_each_call(
        [this](Fuse& fuse)
        {
            CPObjectMemory handle = make(sizeof(Pieces), Pieces::table);
            std::memset(handle.get_ptr(), 0, sizeof(Pieces));
            CPObjectMemory const other(handle);
            Pieces::fuse = fuse;
            EXPECT_EQ(handle.clone(), 1);
            fuse = Pieces::fuse;
            EXPECT_EQ(handle == other, fuse.has_blown());
            EXPECT_EQ(recorder.take(), fuse.has_blown() ? LogMessages{clone_exception} : LogMessages());
        });
    EXPECT_EQ(calls, Pieces::count);
}

} // namespace
