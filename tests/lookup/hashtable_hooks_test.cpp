#include "ORVA/Develop.h"
#include "ORVA/Lookup.h"

#include "support/TableFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <vector>

// What hooks, visitors, comparisons and the destruction of items may do to the table that they are called by.
namespace
{

using namespace ORVA::Lookup;
using support::CPObjectMemory;
using support::Events;
using support::id_of;
using support::make_item;
using support::no_limit;
using support::ProbeItem;
using support::TableProbe;

using Ids = std::vector<int>;
using HashTableHooks = support::TableFixture;

TEST_F(HashTableHooks, DisposeDropsNothingTwiceIfHooksShrinkTheBucket)
{
    // The question itself takes the entry away: no hook for it, and nothing to remove.
    fill({0x01, 0x11});
    table.on_disposable = [&](CPObjectMemory const&)
    {
        table.DeleteItem(0x11, CPObjectMemory());
        return true;
    };
    EXPECT_EQ(table.DisposeTable(no_limit), 1);
    EXPECT_EQ(table.take_events(), (Events{"disposable 2", "disposable 1", "finalize 1"}));
    EXPECT_EQ(table.GetNItems(), 0U);

    // The finalizer does it.
    fill({0x01, 0x11, 0x21, 0x02});
    table.on_disposable = [](CPObjectMemory const& item) { return id_of(item) == 3; };
    table.on_finalize = [&](CPObjectMemory const&)
    {
        table.DeleteItem(0x11, CPObjectMemory());
        table.DeleteItem(0x21, CPObjectMemory());
    };
    EXPECT_EQ(table.DisposeTable(no_limit), 1);
    EXPECT_EQ(table.take_events(), (Events{"disposable 3", "finalize 3", "disposable 1", "disposable 4"}));
    EXPECT_EQ(table.ids(1), Ids{1});
    EXPECT_EQ(table.ids(2), Ids{4});
    expect_no_handle_left_over();
}

TEST_F(HashTableHooks, DeleteItemFailsIfItsHookShortensTheBucket)
{
    fill({0x01, 0x11, 0x21});
    table.on_finalize = [&](CPObjectMemory const&) { table.DeleteItem(0x01, CPObjectMemory()); };
    EXPECT_EQ(table.DeleteItem(0x21, make_item(3)), 0);
    EXPECT_EQ(table.ids(1), (Ids{2, 3}));
    expect_no_handle_left_over();

    table.on_finalize = [&](CPObjectMemory const&) { table.DeleteItem(0x21, CPObjectMemory()); };
    EXPECT_EQ(table.DeleteItem(0x21, make_item(3)), 0);
    EXPECT_EQ(table.ids(1), Ids{2});

    table.on_finalize = [&](CPObjectMemory const&) { table.DeleteItem(0x11, CPObjectMemory()); };
    EXPECT_EQ(table.DeleteItem(0x11, make_item(2)), 0); // the bucket is gone
    EXPECT_FALSE(table.bucket(1));
    expect_no_handle_left_over();
}

// Kept behaviour: the position is tested, not the entry. A hook that removes one before it shifts another one there.
TEST_F(HashTableHooks, DeleteItemRemovesWhateverStandsAtThePositionAfterTheHook)
{
    fill({0x01, 0x11, 0x21});
    table.on_finalize = [&](CPObjectMemory const&) { table.DeleteItem(0x01, CPObjectMemory()); };
    EXPECT_EQ(table.DeleteItem(0x11, make_item(2)), 1);
    EXPECT_EQ(table.ids(1), Ids{2});
    EXPECT_EQ(ProbeItem::live(), 1);
}

TEST_F(HashTableHooks, OperationsThatWriteBackBringTheIndexBack)
{
    struct Row
    {
        char const* name;
        std::function<int()> operation;
        Ids left;
    };
    table.on_finalize = [&](CPObjectMemory const&) { table.ClearTable(); };
    table.on_disposable = [&](CPObjectMemory const& item) { return id_of(item) == 2; };
    std::vector<Row> const rows = {
        {"DeleteItem", [&] { return table.DeleteItem(0x13, make_item(2)); }, {1}},
        {"DeleteIndex", [&] { return table.DeleteIndex(3); }, {}},
        {"DisposeTable", [&] { return table.DisposeTable(no_limit); }, {1}},
    };
    for (Row const& row : rows)
    {
        fill({0x03, 0x13, 0x04});
        EXPECT_EQ(row.operation(), 1) << row.name;
        EXPECT_EQ(table.ids(3), row.left) << row.name;
        EXPECT_EQ(table.ids(4), Ids{3}) << row.name;
        expect_no_handle_left_over();
        table.ClearTable();
        EXPECT_EQ(ProbeItem::live(), 0);
    }
}

TEST_F(HashTableHooks, DisposeOfATableThatIsClearedByTheQuestionBringsItBack)
{
    fill({0x03, 0x13, 0x04});
    table.on_disposable = [&](CPObjectMemory const& item)
    {
        table.ClearTable();
        return id_of(item) == 1;
    };
    EXPECT_EQ(table.DisposeTable(no_limit), 1);
    EXPECT_EQ(table.take_events(), (Events{"disposable 2", "disposable 1", "finalize 1", "disposable 3"}));
    EXPECT_EQ(table.ids(3), Ids{2});
    EXPECT_EQ(table.ids(4), Ids{3});
    expect_no_handle_left_over();
}

TEST_F(HashTableHooks, WrittenBackIndexReplacesOneThatAHookMade)
{
    fill({0x03});
    table.on_finalize = [&](CPObjectMemory const&)
    {
        table.on_finalize = nullptr;
        table.ClearTable();
        table.AddItem(0x05, make_item(50), eHashKeepEqual);
    };
    EXPECT_EQ(table.DeleteItem(0x03, make_item(1)), 1);
    EXPECT_EQ(table.GetNItems(), 0U);
    EXPECT_EQ(ProbeItem::live(), 0);
    EXPECT_TRUE(table.cpIndex);
}

TEST_F(HashTableHooks, WrittenBackBucketReplacesOneThatAHookMoved)
{
    for (unsigned long n = 0; n < 16; ++n)
        table.AddItem(n << 4, make_item(static_cast<int>(n) + 1), eHashKeepEqual);
    table.on_finalize = [&](CPObjectMemory const&) { table.AddItem(0x1000, make_item(50), eHashKeepEqual); };
    EXPECT_EQ(table.DeleteItem(0x00, make_item(1)), 1);
    EXPECT_EQ(table.ids(0), (Ids{2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}));
    EXPECT_EQ(ProbeItem::live(), 15);
    expect_no_handle_left_over();
}

TEST_F(HashTableHooks, ComparisonMayClearTheTableOrShortenTheBucket)
{
    using Comparison = std::function<int(CPObjectMemory const&, CPObjectMemory const&)>;
    // Honest so many times, then does it and answers with `result`.
    auto const comparison = [](int honest, std::function<void()> const& damage, int result) -> Comparison
    {
        return [=, calls = 0](CPObjectMemory const& a, CPObjectMemory const& b) mutable
        {
            if (calls++ < honest)
                return support::in(a).rank - support::in(b).rank;
            damage();
            return result;
        };
    };
    std::function<void()> const damages[] = {
        [&] { table.ClearTable(); },
        [&] { table.DeleteIndex(3); },
        [&] { table.DeleteItem(3, CPObjectMemory()); },
    };
    auto const check = [&](Comparison const& compare, int rank, unsigned int operation)
    {
        for (int id : {1, 2, 3, 4})
            table.AddItem(0x03, make_item(id), eHashKeepEqual);
        CPObjectMemory const item = make_item(9, rank);
        table.on_compare = compare;
        if (operation < 4)
        {
            EXPECT_TRUE(table.AddItem(0x03, item, static_cast<eHashCollision>(operation)));
        }
        else if (operation == 4)
        {
            table.FindItem(0x03, item);
        }
        else
        {
            EXPECT_EQ(table.DeleteItem(0x03, item), 1);
        }
        table.on_compare = nullptr;
        table.ClearTable();
        EXPECT_EQ(item.lockcnt(), 1U);
        EXPECT_EQ(ProbeItem::live(), 1);
    };
    for (std::function<void()> const& damage : damages)
    {
        for (int honest = 0; honest < 5; ++honest)
        {
            for (int rank : {0, 2, 5})
            {
                for (unsigned int operation = 0; operation < 6; ++operation)
                {
                    check(comparison(honest, damage, 0), rank, operation);
                    check(comparison(honest, damage, 1), rank, operation);
                }
            }
        }
    }
}

struct HookError : std::runtime_error
{
    HookError() : std::runtime_error("hook") {}
};

TEST_F(HashTableHooks, ExceptionsPassThroughAndLeaveNoHandleBehind)
{
    for (int id : {1, 2, 3})
        table.AddItem(0x03, make_item(id), eHashKeepEqual);
    table.AddItem(0x13, make_item(4), eHashKeepEqual);
    table.AddItem(0x04, make_item(5), eHashKeepEqual);
    CPObjectMemory const item = make_item(2);

    table.on_compare = [](CPObjectMemory const&, CPObjectMemory const&) -> int { throw HookError(); };
    for (unsigned int mode : {0U, 1U, 2U, 3U, 4U})
        EXPECT_THROW(table.AddItem(0x03, item, static_cast<eHashCollision>(mode)), HookError);
    EXPECT_THROW(table.AddItem(0x04, item, eHashKeepEqual), HookError);
    EXPECT_THROW(table.FindItem(0x03, item), HookError);
    EXPECT_THROW(table.DeleteItem(0x03, item), HookError);
    table.on_compare = nullptr;
    EXPECT_EQ(item.lockcnt(), 1U);
    expect_no_handle_left_over();

    table.on_finalize = [](CPObjectMemory const&) { throw HookError(); };
    EXPECT_THROW(table.DeleteItem(0x03, item), HookError);
    EXPECT_THROW(table.DeleteIndex(0x03), HookError);
    table.on_disposable = [](CPObjectMemory const&) { return true; };
    EXPECT_THROW(table.DisposeTable(no_limit), HookError);
    EXPECT_EQ(table.uDisposeNext, 3U); // the bucket is not done
    table.on_disposable = [](CPObjectMemory const&) -> bool { throw HookError(); };
    EXPECT_THROW(table.DisposeTable(no_limit), HookError);
    EXPECT_EQ(item.lockcnt(), 1U);
    expect_no_handle_left_over();

    visitor.answer = [](unsigned long, CPObjectMemory&) -> bool { throw HookError(); };
    EXPECT_THROW(table.EnumTableBy(&visitor, 0, false), HookError);
    EXPECT_THROW(table.EnumTableBy(&visitor, 0x03, true), HookError);
    EXPECT_THROW(table.PurgeTable(&visitor), HookError);
    EXPECT_EQ(table.ids(3), (Ids{1, 2, 3, 4}));
    EXPECT_EQ(table.ids(4), Ids{5});
    expect_no_handle_left_over();
}

TEST_F(HashTableHooks, ExceptionInTheMiddleKeepsWhatWasRemovedBefore)
{
    fill({0x03, 0x13, 0x23});
    visitor.answer = [](unsigned long key, CPObjectMemory&)
    {
        if (key == 0x03)
            throw HookError();
        return false;
    };
    EXPECT_THROW(table.PurgeTable(&visitor), HookError);
    EXPECT_EQ(table.ids(3), Ids{1});
    expect_no_handle_left_over();

    fill({0x04, 0x14, 0x24});
    table.on_disposable = [](CPObjectMemory const&) { return true; };
    table.on_finalize = [](CPObjectMemory const& item)
    {
        if (id_of(item) == 2)
            throw HookError();
    };
    table.uDisposeNext = 4;
    EXPECT_THROW(table.DisposeTable(no_limit), HookError);
    EXPECT_EQ(table.ids(4), (Ids{1, 2}));
    expect_no_handle_left_over();
}

TEST_F(HashTableHooks, AddThatFailsOnAClearedTableBringsNoIndexBack)
{
    fill({0x03});
    table.on_compare = [&](CPObjectMemory const&, CPObjectMemory const&) -> int
    {
        table.ClearTable();
        throw HookError();
    };
    EXPECT_THROW(table.AddItem(0x03, make_item(2), eHashKeepEqual), HookError);
    EXPECT_FALSE(table.cpIndex);
    EXPECT_EQ(ProbeItem::live(), 0);
}

// An item whose destruction looks at the table, while the bucket is being emptied.
TEST_F(HashTableHooks, DestructionDuringPurgeAndDisposeSeesTheEntryStillThere)
{
    std::vector<unsigned long> seen;
    auto const note = [&] { seen.push_back(table.GetNItems()); };
    for (int id : {1, 2, 3})
        table.AddItem(0x03, make_item(id, note), eHashKeepEqual);
    visitor.answer = [](unsigned long, CPObjectMemory&) { return false; };
    EXPECT_EQ(table.PurgeTable(&visitor), 1);
    EXPECT_EQ(seen, (std::vector<unsigned long>{3, 2, 1}));

    seen.clear();
    for (int id : {1, 2, 3})
        table.AddItem(0x03, make_item(id, note), eHashKeepEqual);
    table.on_disposable = [](CPObjectMemory const&) { return true; };
    EXPECT_EQ(table.DisposeTable(no_limit), 1);
    EXPECT_EQ(seen, (std::vector<unsigned long>{3, 2, 1}));

    seen.clear();
    for (int id : {1, 2, 3})
        table.AddItem(0x03, make_item(id, note), eHashKeepEqual);
    EXPECT_EQ(table.DeleteItem(0x03, CPObjectMemory()), 1);
    EXPECT_EQ(seen, (std::vector<unsigned long>{3, 2, 1}));
}

TEST_F(HashTableHooks, DestructionDuringAWalkMayClearTheTable)
{
    for (int id : {1, 2, 3})
        table.AddItem(0x03, make_item(id, [&] { table.ClearTable(); }), eHashKeepEqual);
    visitor.answer = [](unsigned long, CPObjectMemory&) { return false; };
    EXPECT_EQ(table.PurgeTable(&visitor), 1);
    EXPECT_FALSE(table.cpIndex);
    EXPECT_EQ(ProbeItem::live(), 0);
}

// The last handle of an item goes while its entry still stands in the table.
TEST_F(HashTableHooks, DestructionOfAnItemSeesItsEntry)
{
    unsigned long seen = 0;
    table.AddItem(7, make_item(1), eHashKeepEqual);
    table.AddItem(7, make_item(2, [&] { seen = table.GetNItems(); }), eHashKeepEqual);
    table.AddItem(7, make_item(3), eHashKeepEqual);
    EXPECT_EQ(table.DeleteItem(7, make_item(99, 2)), 1);
    EXPECT_EQ(seen, 3U);
    EXPECT_EQ(table.ids(7), (Ids{1, 3}));
}

TEST_F(HashTableHooks, DestructionOfAnItemMayRemoveOthersOfItsBucket)
{
    // Positions of the item that goes, and of the other one that goes with it; equal: it deletes itself again.
    for (int going : {1, 2, 3})
    {
        for (int other : {1, 2, 3})
        {
            for (int id : {1, 2, 3})
            {
                auto const remove_other = [this, other] { table.DeleteItem(7, make_item(99, other)); };
                table.AddItem(7, id == going ? make_item(id, remove_other) : make_item(id), eHashKeepEqual);
            }
            EXPECT_EQ(table.DeleteItem(7, make_item(99, going)), 1);
            Ids left = {1, 2, 3};
            left.erase(std::remove_if(left.begin(), left.end(), [&](int id) { return id == going || id == other; }),
                       left.end());
            EXPECT_EQ(table.ids(7), left) << going << ' ' << other;
            EXPECT_EQ(ProbeItem::live(), static_cast<int>(left.size()));
            table.ClearTable();
        }
    }
}

TEST_F(HashTableHooks, DestructionOfTheLastItemMayRemoveAllOthers)
{
    for (int id : {1, 2, 3})
        table.AddItem(7, id == 2 ? make_item(id, [&] { table.DeleteItem(7, CPObjectMemory()); }) : make_item(id),
                      eHashKeepEqual);
    EXPECT_EQ(table.DeleteItem(7, make_item(99, 2)), 1);
    EXPECT_EQ(table.GetNItems(), 0U);
    EXPECT_FALSE(table.bucket(7));
}

TEST_F(HashTableHooks, DestructionOfItemsSeesATableThatIsCleared)
{
    CPObjectMemory const kept = make_item(9);
    table.AddItem(1,
                  make_item(1,
                            [&]
                            {
                                EXPECT_EQ(table.GetNItems(), 0U);
                                EXPECT_FALSE(table.FindItem(1, CPObjectMemory()));
                                table.AddItem(2, kept, eHashKeepEqual);
                            }),
                  eHashKeepEqual);
    table.ClearTable();
    EXPECT_EQ(table.ids(2), Ids{9}); // added meanwhile
    EXPECT_EQ(kept.lockcnt(), 2U);
}

TEST_F(HashTableHooks, DestructionOfItemsSeesABucketThatIsEmptied)
{
    int destroyed = 0;
    for (unsigned long key : {0x01UL, 0x11UL, 0x21UL})
        table.AddItem(key,
                      make_item(1,
                                [&]
                                {
                                    ++destroyed;
                                    EXPECT_EQ(table.GetNItems(), 1U);
                                    EXPECT_FALSE(table.FindItem(0x01, CPObjectMemory()));
                                }),
                      eHashKeepEqual);
    table.AddItem(2, make_item(2), eHashKeepEqual);
    EXPECT_EQ(table.DeleteIndex(1), 1);
    EXPECT_EQ(destroyed, 3);
    EXPECT_EQ(table.GetNItems(), 1U);
}

// A bucket that a hook has put in the place of the one at work goes at the end of the operation. Its items see a table
// without it.
TEST_F(HashTableHooks, DestructionOfABucketThatAHookMadeSeesATableWithoutIt)
{
    int destroyed = 0;
    auto const look = [&]
    {
        ++destroyed;
        EXPECT_FALSE(table.FindItem(0x13, CPObjectMemory()));
        EXPECT_FALSE(table.FindItem(0x23, CPObjectMemory()));
    };
    auto const replace_bucket = [&]
    {
        table.on_finalize = nullptr;
        table.DeleteIndex(3);
        table.AddItem(0x13, make_item(2, look), eHashKeepEqual);
        table.AddItem(0x23, make_item(3, look), eHashKeepEqual);
    };
    visitor.answer = [&](unsigned long, CPObjectMemory&)
    {
        replace_bucket();
        return false;
    };
    table.on_disposable = [&](CPObjectMemory const&)
    {
        replace_bucket();
        return true;
    };
    std::vector<std::function<void()>> const operations = {
        [&] { EXPECT_EQ(table.PurgeTable(&visitor), 1); },
        [&] { EXPECT_EQ(table.DisposeTable(no_limit), 1); },
        [&] { EXPECT_EQ(table.DeleteItem(0x03, make_item(1)), 1); },
        [&] { EXPECT_EQ(table.DeleteIndex(3), 1); },
    };
    for (auto const& operation : operations)
    {
        destroyed = 0;
        table.AddItem(0x03, make_item(1), eHashKeepEqual);
        table.on_finalize = [&](CPObjectMemory const&) { replace_bucket(); };
        operation();
        EXPECT_EQ(destroyed, 2);
        EXPECT_EQ(table.GetNItems(), 0U);
        EXPECT_EQ(ProbeItem::live(), 0);
    }
}

TEST_F(HashTableHooks, DestructionOfAnIndexThatAHookMadeSeesTheOneThatIsWrittenBack)
{
    bool is_destroyed = false;
    fill({0x03});
    table.on_finalize = [&](CPObjectMemory const&)
    {
        table.on_finalize = nullptr;
        table.ClearTable();
        table.AddItem(0x05,
                      make_item(50,
                                [&]
                                {
                                    is_destroyed = true;
                                    EXPECT_FALSE(table.FindItem(0x05, CPObjectMemory()));
                                    table.AddItem(0x06, make_item(60), eHashKeepEqual);
                                }),
                      eHashKeepEqual);
    };
    EXPECT_EQ(table.DeleteItem(0x03, make_item(1)), 1);
    EXPECT_TRUE(is_destroyed);
    EXPECT_EQ(table.ids(6), Ids{60});
    expect_no_handle_left_over();
}

// The count of this block wraps at the next handle on it, which is reported.
class WrappingItem : public CPObjectMemory
{
public:
    WrappingItem() : CPObjectMemory(make_item(1)) { m_pMH->lRefCnt = ~0U; }
    ~WrappingItem() { m_pMH->lRefCnt = 1; }
};

TableProbe* reported_table = nullptr;

void clear_reported_table(_nqfDebugLevel, wchar_t const*, char const*, int, wchar_t const*, va_list)
{
    reported_table->ClearTable();
}

TEST_F(HashTableHooks, AReportAboutTheItemMayClearTheTableThatItIsEnteredInto)
{
    table.AddItem(0x01, make_item(2), eHashKeepEqual);
    WrappingItem const item;
    reported_table = &table;
    ORVA::Develop::SetExternalLogger(clear_reported_table);
    table.AddItem(0x11, item, eHashKeepEqual);
    ORVA::Develop::SetExternalLogger(nullptr);
    // The entry goes into the index and the bucket that the operation has handles on, and the table gets them back.
    EXPECT_EQ(table.GetNItems(), 2U);
    EXPECT_EQ(id_of(table.FindItem(0x01, CPObjectMemory())), 2);
}

} // namespace
