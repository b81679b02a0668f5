// Comparisons, hooks and visitors of hash tables that throw: the exception passes, what was done before stays done, and
// no handle is left behind.
#include "ORVA/Lookup.h"

#include "ORVA/String/PoolTables.h"
#include "exceptions/thrown.h"
#include "support/PoolTexts.h"
#include "support/TableFixture.h"

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace
{

using namespace exceptions;
using namespace support;
using namespace ORVA::Lookup;

using Ids = std::vector<int>;
using Contents = std::map<unsigned long, Ids>;

Contents contents_of(TableProbe& table)
{
    Contents contents;
    for (unsigned long number = 0; number < table.uBuckets; ++number)
    {
        Ids const ids = table.ids(number);
        if (!ids.empty())
            contents[number] = ids;
    }
    return contents;
}

/// A table whose hooks, comparisons and visitor all come by one fuse. Items 1 to 3 have one key; 4 stands in their
/// bucket, and 5 and 6 in another one.
class FusedTable
{
public:
    FusedTable()
    {
        for (int id : {1, 2, 3})
            table.AddItem(0x03, make_item(id), eHashKeepEqual);
        table.AddItem(0x13, make_item(4), eHashKeepEqual);
        table.AddItem(0x04, make_item(5), eHashKeepEqual);
        table.AddItem(0x14, make_item(6), eHashKeepEqual);
        table.take_events();
        table.on_compare = [this](CPObjectMemory const& a, CPObjectMemory const& b)
        {
            fuse.call();
            return in(a).rank - in(b).rank;
        };
        table.on_disposable = [this](CPObjectMemory const& item)
        {
            fuse.call();
            return id_of(item) % 2 != 0;
        };
        table.on_finalize = [this](CPObjectMemory const& item)
        {
            fuse.call();
            finalized.insert(id_of(item));
        };
        visitor.answer = [this](unsigned long, CPObjectMemory& item)
        {
            fuse.call();
            if (id_of(item) % 2 != 0)
                rejected.insert(id_of(item));
            return id_of(item) % 2 == 0;
        };
    }

    Contents contents() { return contents_of(table); }

    Contents contents_without(std::set<int> const& removed)
    {
        Contents left;
        for (auto const& [number, ids] : FusedTable().contents())
        {
            for (int id : ids)
            {
                if (removed.count(id) == 0)
                    left[number].push_back(id);
            }
        }
        return left;
    }

    void expect_no_handle_left_over()
    {
        ASSERT_TRUE(table.cpIndex);
        EXPECT_EQ(table.cpIndex.lockcnt(), 1U);
        for (unsigned long number = 0; number < table.uBuckets; ++number)
        {
            EXPECT_LE(table.bucket(number).lockcnt(), 1U);
            for (TableProbe::HASHENTRY const& entry : table.bucket(number))
                EXPECT_EQ(entry.cpItem.lockcnt(), 1U);
        }
    }

    Fuse fuse;
    TableProbe table{4};
    VisitorProbe visitor;
    std::set<int> finalized; ///< items whose hook has returned
    std::set<int> rejected;  ///< items to which the visitor has answered false
};

struct Operation
{
    char const* name;
    std::function<void(FusedTable&)> run;
    unsigned long calls; ///< of user code, undisturbed; 0 where the number does not matter
};

void PrintTo(Operation const& operation, std::ostream* stream)
{
    *stream << operation.name;
}

Operation add(char const* name, unsigned long key, int rank, eHashCollision mode)
{
    return {name,
            [=](FusedTable& fused)
            {
                CPObjectMemory const item = make_item(90, rank);
                try
                {
                    fused.table.AddItem(key, item, mode);
                }
                catch (...)
                {
                    EXPECT_EQ(item.lockcnt(), 1U);
                    throw;
                }
            },
            0};
}

class ThrowingHook : public testing::TestWithParam<Operation>
{
protected:
    /// Throws in each call of user code. `expected` tells the contents after a throw.
    template <class Expected>
    void throw_in_each_call(Expected expected)
    {
        FusedTable undisturbed;
        GetParam().run(undisturbed);
        unsigned long const calls = at_each_call(
            [&](Fuse& fuse)
            {
                FusedTable fused;
                fused.fuse = fuse;
                bool const thrown = lets_through(fused.fuse, [&] { GetParam().run(fused); });
                fuse = fused.fuse;
                if (thrown)
                {
                    EXPECT_EQ(fused.contents(), expected(fused));
                }
                fused.expect_no_handle_left_over();

                // From there the operation comes to where it had come at once.
                fused.fuse = Fuse();
                if (thrown)
                    GetParam().run(fused);
                EXPECT_EQ(fused.contents(), undisturbed.contents());
                fused.expect_no_handle_left_over();
            });
        EXPECT_GT(calls, 0U) << "no user code is called";
        if (GetParam().calls != 0)
        {
            EXPECT_EQ(calls, GetParam().calls);
        }
    }

private:
    NoItemLeft first_made;
};

using ThrowingHookThatChangesNothing = ThrowingHook;

TEST_P(ThrowingHookThatChangesNothing, LeavesTheTableAsItWas)
{
    throw_in_each_call([](FusedTable&) { return FusedTable().contents(); });
}

INSTANTIATE_TEST_SUITE_P(
    Of, ThrowingHookThatChangesNothing,
    testing::Values(add("AddItem, keep equal, there", 0x03, 2, eHashKeepEqual),
                    add("AddItem, replace equal, there", 0x03, 2, eHashReplaceEqual),
                    add("AddItem, keep key, there", 0x03, 2, eHashKeepKey),
                    add("AddItem, replace key, there", 0x03, 2, eHashReplaceKey),
                    add("AddItem, unknown mode", 0x03, 2, static_cast<eHashCollision>(9)),
                    add("AddItem, of another key in the bucket", 0x13, 4, eHashReplaceEqual),
                    Operation{"FindItem", [](FusedTable& f) { f.table.FindItem(0x03, make_item(90, 2)); }, 0},
                    Operation{"DeleteItem",
                              [](FusedTable& f)
                              {
                                  CPObjectMemory const item = make_item(90, 2);
                                  if (f.table.FindItem(0x03, item))
                                      f.table.DeleteItem(0x03, item);
                              },
                              0},
                    Operation{"DeleteIndex", [](FusedTable& f) { f.table.DeleteIndex(0x03); }, 4},
                    Operation{"EnumTableBy", [](FusedTable& f) { f.table.EnumTableBy(&f.visitor, 0, false); }, 1},
                    Operation{"EnumTableBy a key", [](FusedTable& f) { f.table.EnumTableBy(&f.visitor, 0x14, true); },
                              1},
                    Operation{"_search",
                              [](FusedTable& f)
                              {
                                  f.table._search(0x03,
                                                  [&](CPObjectMemory const& item)
                                                  {
                                                      f.fuse.call();
                                                      return id_of(item) == 3;
                                                  });
                              },
                              3}));

TEST(ThrowingHookOfAnAddition, AddsNothing)
{
    NoItemLeft const no_item;
    for (int const rank : {0, 4, 90})
    {
        unsigned long const calls = at_each_call(
            [&](Fuse& fuse)
            {
                FusedTable fused;
                fused.fuse = fuse;
                CPObjectMemory const item = make_item(90, rank);
                bool const thrown = lets_through(fused.fuse, [&] { fused.table.AddItem(0x03, item, eHashKeepEqual); });
                fuse = fused.fuse;
                EXPECT_EQ(item.lockcnt(), thrown ? 1U : 2U);
                EXPECT_EQ(fused.table.GetNItems(), thrown ? 6U : 7U);
                fused.fuse = Fuse();
                EXPECT_EQ(fused.table.AddItem(0x03, item, eHashKeepEqual), item);
                EXPECT_EQ(fused.table.GetNItems(), 7U);
            });
        EXPECT_GT(calls, 0U);
    }
}

using ThrowingHookOfARemoval = ThrowingHook;

TEST_P(ThrowingHookOfARemoval, KeepsWhatWasRemovedBefore)
{
    throw_in_each_call(
        [](FusedTable& fused)
        {
            std::set<int> removed = fused.finalized;
            removed.insert(fused.rejected.begin(), fused.rejected.end());
            return fused.contents_without(removed);
        });
}

INSTANTIATE_TEST_SUITE_P(
    Of, ThrowingHookOfARemoval,
    testing::Values(Operation{"PurgeTable", [](FusedTable& f) { EXPECT_EQ(f.table.PurgeTable(&f.visitor), 1); }, 6},
                    Operation{"DisposeTable", [](FusedTable& f) { EXPECT_EQ(f.table.DisposeTable(no_limit), 1); }, 9}));

TEST(ThrowingHookOfASweep, LetsTheNextOneBeginWithItsBucket)
{
    NoItemLeft const no_item;
    for (Thrown const what : both_kinds)
    {
        FusedTable fused;
        fused.fuse = Fuse(1, what);
        EXPECT_EQ(thrown_by([&] { fused.table.DisposeTable(no_limit); }), what);
        EXPECT_EQ(fused.table.uDisposeNext, 3U);
        fused.fuse = Fuse(1, what);
        EXPECT_EQ(thrown_by([&] { fused.table.DisposeTable(no_limit); }), what);
        EXPECT_EQ(fused.table.uDisposeNext, 3U) << "an item that throws every time stops every sweep";
        EXPECT_EQ(fused.contents(), FusedTable().contents());
    }
}

TEST(ThrowingVisitor, IsAskedNoMore)
{
    NoItemLeft const no_item;
    for (Thrown const what : both_kinds)
    {
        FusedTable fused;
        fused.visitor.answer = [what](unsigned long, CPObjectMemory& item)
        {
            if (id_of(item) == 4)
                raise(what);
            return true;
        };
        EXPECT_EQ(thrown_by([&] { fused.table.EnumTableBy(&fused.visitor, 0, false); }), what);
        EXPECT_EQ(fused.visitor.ids, (Ids{1, 2, 3, 4}));
        EXPECT_EQ(thrown_by([&] { fused.table.EnumTableBy(&fused.visitor, 0x13, true); }), what);
        fused.expect_no_handle_left_over();
    }
}

// A class of one's own over the pool's kind of table, whose hook throws before the other table has heard of it.
TEST(ThrowingHookOfStringTables, LeavesBothTablesInStep)
{
    using namespace ORVA::String;
    struct Own : CCaseSensitiveHash
    {
        using CCaseSensitiveHash::CCaseSensitiveHash;
        void tblfinalize(CPObjectMemory const& item) override
        {
            fuse.call();
            CCaseSensitiveHash::tblfinalize(item);
        }
        bool isDisposable(CPObjectMemory const&) override
        {
            fuse.call();
            return true;
        }
        Fuse fuse;
    };
    CCaseInsensitiveHash insensitive;
    Own sensitive(&insensitive);
    _cppoolstring texts[] = {unpooled(L"Word"), unpooled(L"WORD"), unpooled(L"other")};
    for (_cppoolstring& text : texts)
        ASSERT_TRUE(sensitive.Add(text) == text);

    for (Thrown const what : both_kinds)
    {
        for (_cppoolstring& text : texts)
        {
            sensitive.fuse = Fuse(1, what);
            EXPECT_EQ(thrown_by([&] { sensitive.Delete(text); }), what);
        }
        for (unsigned long nth : {1UL, 2UL})
        {
            sensitive.fuse = Fuse(nth, what);
            EXPECT_EQ(thrown_by([&] { sensitive.DisposeTable(no_limit); }), what);
        }
        for (_cppoolstring& text : texts)
        {
            EXPECT_TRUE(sensitive.Find(text) == text);
            EXPECT_TRUE(insensitive._holds(text));
            EXPECT_EQ(text.lockcnt(), 3U);
        }
        VisitorProbe visitor([what](unsigned long, CPObjectMemory&) -> bool { raise(what); });
        EXPECT_EQ(thrown_by([&] { sensitive.EnumTable(&visitor); }), what);
    }
    sensitive.fuse = Fuse();
    EXPECT_EQ(sensitive.DisposeTable(no_limit), 1);
    EXPECT_EQ(sensitive.GetNItems() + insensitive.GetNItems(), 0U);
    for (_cppoolstring& text : texts)
        EXPECT_EQ(text.lockcnt(), 1U);
}

} // namespace
