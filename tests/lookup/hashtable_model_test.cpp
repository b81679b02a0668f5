#include "ORVA/Lookup.h"

#include "reference/plain_hashtable.h"
#include "support/TableProbe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace
{

using namespace ORVA::Lookup;
using reference::PlainBucket;
using reference::PlainEntry;
using reference::PlainHashTable;
using support::CPObjectMemory;
using support::Events;
using support::id_of;
using support::make_item;
using support::TableProbe;
using support::VisitorProbe;

using HASHENTRY = CBaseHashTable::HASHENTRY;

std::string compare_event(int a, int b)
{
    return "compare " + std::to_string(a) + ' ' + std::to_string(b);
}

// Items 1 to `count`; place 0 is an empty handle. Some items share a rank.
std::vector<CPObjectMemory> make_items(int count)
{
    std::vector<CPObjectMemory> items(1);
    for (int id = 1; id <= count; ++id)
        items.push_back(make_item(id, id / 2));
    return items;
}

PlainBucket plain(CBaseHashTable::Bucket const& bucket)
{
    PlainBucket result;
    for (HASHENTRY const& entry : bucket)
        result.push_back({entry.uKey, id_of(entry.cpItem)});
    return result;
}

// How the keys of a test are spread.
enum class Keys
{
    few,
    dense,
    hashed,
    clustered
};

unsigned long draw_key(Keys kind, std::mt19937_64& random)
{
    switch (kind)
    {
    case Keys::few:
        return random() % 6 * 16 + random() % 2;
    case Keys::dense:
        return random() % 4096;
    case Keys::hashed:
        return random();
    case Keys::clustered:
        return (random() % 3 << 62) + random() % 64 * 16;
    }
    return 0;
}

// Three comparisons: by rank, all equal, and one that contradicts itself.
int answer(int kind, int a, int b)
{
    switch (kind)
    {
    case 0:
        return a / 2 < b / 2 ? -1 : a / 2 > b / 2 ? 1 : 0;
    case 1:
        return 0;
    default:
        return static_cast<int>((static_cast<unsigned int>(a) * 2654435761U ^ static_cast<unsigned int>(b) * 40503U) >>
                                7) %
                   3 -
               1;
    }
}

class Twins
{
public:
    explicit Twins(int comparison) : items(make_items(40)), plain_table(4)
    {
        table.on_compare = [=](CPObjectMemory const& a, CPObjectMemory const& b)
        { return answer(comparison, id_of(a), id_of(b)); };
        plain_table.compare = [=](int a, int b)
        {
            plain_events.push_back(compare_event(a, b));
            return answer(comparison, a, b);
        };
        table.on_disposable = [](CPObjectMemory const& item) { return id_of(item) % 5 == 0; };
        plain_table.is_disposable = [this](int item)
        {
            plain_events.push_back("disposable " + std::to_string(item));
            return item % 5 == 0;
        };
        plain_table.finalize = [this](int item) { plain_events.push_back("finalize " + std::to_string(item)); };
    }

    void step(Keys kind, std::mt19937_64& random)
    {
        unsigned long const key = draw_key(kind, random);
        int const id = static_cast<int>(random() % items.size());
        CPObjectMemory const& item = items[static_cast<unsigned long>(id)];
        unsigned int const operation = static_cast<unsigned int>(random() % 400);
        if (operation < 260)
        {
            unsigned int const modes[] = {0, 0, 1, 2, 3, 4, 77};
            unsigned int const mode = modes[random() % 7];
            ASSERT_EQ(id_of(table.AddItem(key, item, static_cast<eHashCollision>(mode))),
                      plain_table.add(key, id, mode));
        }
        else if (operation < 320)
        {
            ASSERT_EQ(id_of(table.FindItem(key, item)), plain_table.find(key, id));
        }
        else if (operation < 370)
        {
            ASSERT_EQ(table.DeleteItem(key, item), 1);
            plain_table.remove(key, id);
        }
        else if (operation < 380)
        {
            check_walks(key, random());
        }
        else if (operation == 380)
        {
            ASSERT_EQ(table.DeleteIndex(key), 1);
            plain_table.remove_bucket(key);
        }
        else if (operation == 381)
        {
            purge(random());
        }
        else if (operation == 382)
        {
            table.uDisposeNext = key & 15;
            ASSERT_EQ(table.DisposeTable(0xFFFFFFFF), 1);
            plain_table.dispose(key & 15);
        }
        else if (operation == 383 && random() % 8 == 0)
        {
            table.ClearTable();
            plain_table.clear();
        }
        ASSERT_EQ(table.take_events(), plain_events);
        plain_events.clear();
    }

    void check_contents()
    {
        ASSERT_EQ(static_cast<bool>(table.cpIndex), plain_table.has_index());
        std::vector<unsigned int> uses(items.size(), 1);
        unsigned long total = 0;
        for (unsigned long number = 0; number < 16 && table.cpIndex; ++number)
        {
            PlainBucket const bucket = plain(table.bucket(number));
            ASSERT_EQ(bucket, plain_table.bucket(number));
            ASSERT_EQ(static_cast<bool>(table.bucket(number)), !bucket.empty());
            ASSERT_TRUE(std::is_sorted(bucket.begin(), bucket.end(),
                                       [](PlainEntry const& a, PlainEntry const& b) { return a.key < b.key; }));
            for (PlainEntry const& entry : bucket)
            {
                ASSERT_EQ(entry.key & table.uMask, number);
                ++uses[static_cast<unsigned long>(entry.item)];
            }
            total += bucket.size();
        }
        ASSERT_EQ(table.GetNItems(), total);
        for (unsigned long id = 1; id < items.size(); ++id)
            ASSERT_EQ(items[id].lockcnt(), uses[id]);
    }

private:
    void check_walks(unsigned long key, unsigned long stop)
    {
        for (bool by_key : {false, true})
        {
            Events seen;
            Events expected;
            auto const visit = [stop](Events& events, unsigned long entry_key, int item)
            {
                events.push_back(std::to_string(entry_key) + ' ' + std::to_string(item));
                return events.size() <= stop % 64;
            };
            VisitorProbe visitor([&](unsigned long entry_key, CPObjectMemory& item)
                                 { return visit(seen, entry_key, id_of(item)); });
            auto const plain_visitor = [&](unsigned long entry_key, int item)
            { return visit(expected, entry_key, item); };
            ASSERT_EQ(table.EnumTableBy(&visitor, key, by_key),
                      by_key ? plain_table.visit_key(key, plain_visitor) : plain_table.visit_all(plain_visitor));
            ASSERT_EQ(seen, expected);
        }
    }

    void purge(unsigned long seed)
    {
        Events seen;
        Events expected;
        auto const keep = [seed](unsigned long key, int item)
        { return (key * 31 + static_cast<unsigned long>(item) + seed) % 3 != 0; };
        VisitorProbe visitor(
            [&](unsigned long key, CPObjectMemory& item)
            {
                seen.push_back(std::to_string(key) + ' ' + std::to_string(id_of(item)));
                return keep(key, id_of(item));
            });
        ASSERT_EQ(table.PurgeTable(&visitor), 1);
        plain_table.purge(
            [&](unsigned long key, int item)
            {
                expected.push_back(std::to_string(key) + ' ' + std::to_string(item));
                return keep(key, item);
            });
        ASSERT_EQ(seen, expected);
    }

    std::vector<CPObjectMemory> items;
    TableProbe table{4};
    PlainHashTable plain_table;
    Events plain_events;
};

TEST(HashTableModel, AgreesWithThePlainTableInResultsContentsAndCalls)
{
    std::mt19937_64 random(20240601);
    for (Keys kind : {Keys::few, Keys::dense, Keys::hashed, Keys::clustered})
    {
        for (int comparison : {0, 1, 2})
        {
            Twins twins(comparison);
            for (int count = 0; count < 4000; ++count)
            {
                twins.step(kind, random);
                if (count % 50 == 0)
                    twins.check_contents();
                if (::testing::Test::HasFatalFailure())
                    FAIL() << "keys " << static_cast<int>(kind) << ", comparison " << comparison << ", step " << count;
            }
            twins.check_contents();
        }
    }
}

// A bucket with the entries of a plain one, whose items are its ids.
CBaseHashTable::Bucket bucket_of(PlainBucket const& entries, std::vector<CPObjectMemory> const& items)
{
    CBaseHashTable::Bucket bucket;
    for (PlainEntry const& entry : entries)
        bucket.Insert({entry.key, items[static_cast<unsigned long>(entry.item)]}, ULONG_MAX);
    return bucket;
}

// All buckets of up to 6 entries over three keys, all keys, and all answers of the comparison.
TEST(HashTableModel, SmallSearchesAskTheSameQuestionsAsThePlainOnes)
{
    std::vector<CPObjectMemory> const items = make_items(7);
    TableProbe table(4);
    for (unsigned int size = 1; size <= 6; ++size)
    {
        for (unsigned int below = 0; below <= size; ++below)
        {
            for (unsigned int equal = 0; below + equal <= size; ++equal)
            {
                PlainBucket entries;
                for (unsigned int n = 0; n < size; ++n)
                    entries.push_back({n < below ? 1UL : n < below + equal ? 3UL : 5UL, static_cast<int>(n) + 1});
                CBaseHashTable::Bucket const bucket = bucket_of(entries, items);
                for (unsigned long key = 0; key <= 6; ++key)
                {
                    for (unsigned int tape = 0; tape < (equal == 0 && key == 3 ? 1U : 64U); ++tape)
                    {
                        // The n-th answer is the n-th bit: above, or not.
                        unsigned int asked = 0;
                        auto const next = [&]
                        { return (tape >> (asked++ & 31) & 1U) != 0 ? 1 : -(asked & 1U ? 0 : 1); };
                        table.on_compare = [&](CPObjectMemory const&, CPObjectMemory const&) { return next(); };
                        unsigned long const position = table._locateentry(bucket, {key, items[7]});
                        Events const events = table.take_events();

                        asked = 0;
                        Events expected;
                        auto const compare = [&](int a, int b)
                        {
                            expected.push_back(compare_event(a, b));
                            return next();
                        };
                        ASSERT_EQ(position, reference::plain_locateentry(entries, {key, 7}, compare));
                        ASSERT_EQ(events, expected);

                        asked = 0;
                        unsigned long const found = table._findentry(bucket, {key, items[7]});
                        Events const find_events = table.take_events();
                        asked = 0;
                        expected.clear();
                        ASSERT_EQ(found, reference::plain_findentry(entries, {key, 7}, compare));
                        ASSERT_EQ(find_events, expected);
                    }
                }
            }
        }
    }
}

TEST(HashTableModel, LongSearchesAskTheSameQuestionsAsThePlainOnes)
{
    std::mt19937_64 random(99);
    std::vector<CPObjectMemory> const items = make_items(40);
    TableProbe table(4);
    for (int round = 0; round < 600; ++round)
    {
        unsigned long const size = random() % (round % 3 == 0 ? 600 : 140);
        unsigned int const shift = static_cast<unsigned int>(random() % 64);
        auto const draw = [&]
        { return round % 2 == 0 ? random() >> shift << (random() % 4) : random() % (size / 4 + 1); };
        PlainBucket entries;
        for (unsigned long n = 0; n < size; ++n)
            entries.push_back({draw(), static_cast<int>(random() % 40)});
        std::sort(entries.begin(), entries.end(),
                  [](PlainEntry const& a, PlainEntry const& b) { return a.key < b.key; });
        CBaseHashTable::Bucket const bucket = bucket_of(entries, items);
        int const comparison = static_cast<int>(random() % 3);
        table.on_compare = [&](CPObjectMemory const& a, CPObjectMemory const& b)
        { return answer(comparison, id_of(a), id_of(b)); };
        for (int search = 0; search < 24; ++search)
        {
            unsigned long key = draw();
            if (size != 0 && search % 2 == 0)
                key = entries[random() % size].key;
            if (search == 1)
                key = 0;
            if (search == 3)
                key = ULONG_MAX;
            int const item = static_cast<int>(random() % 41);
            Events expected;
            auto const compare = [&](int a, int b)
            {
                expected.push_back(compare_event(a, b));
                return answer(comparison, a, b);
            };
            ASSERT_EQ(table._locateentry(bucket, {key, items[static_cast<unsigned long>(item)]}),
                      reference::plain_locateentry(entries, {key, item}, compare));
            ASSERT_EQ(table.take_events(), expected);
        }
    }
}

TEST(HashTableModel, FastSearchFindsWhatFindItemFinds)
{
    std::mt19937_64 random(7);
    std::vector<CPObjectMemory> const items = make_items(40);
    for (Keys kind : {Keys::few, Keys::dense, Keys::hashed, Keys::clustered})
    {
        TableProbe table(4);
        EXPECT_EQ(table._search(1, [](CPObjectMemory const&) { return true; }), nullptr); // no index
        std::vector<unsigned long> keys;
        for (int count = 0; count < 3000; ++count)
        {
            keys.push_back(draw_key(kind, random));
            table.AddItem(keys.back(), items[1 + random() % 40], eHashKeepEqual);
            unsigned long const key = random() % 2 == 0 ? keys[random() % keys.size()] : draw_key(kind, random);
            CPObjectMemory const& item = items[1 + random() % 40];
            unsigned int const held = item.lockcnt();
            CPObjectMemory const found = table.FindItem(key, item);
            CPObjectMemory const first = table.FindItem(key, CPObjectMemory());
            table.take_events();

            unsigned int const raised = found == item ? 1 : 0;
            auto const* const entry = table._search(
                key,
                [&](CPObjectMemory const& stored)
                {
                    EXPECT_EQ(item.lockcnt(), held + raised + (first == item ? 1 : 0)); // nothing is counted
                    return table.TableProbe::compare(stored, item) == 0;
                });
            ASSERT_EQ(entry == nullptr, !found);
            if (entry != nullptr)
            {
                ASSERT_EQ(entry->uKey, key);
                ASSERT_EQ(entry->cpItem, found);
            }
            auto const* const any = table._search(key, [](CPObjectMemory const&) { return true; });
            ASSERT_EQ(any == nullptr, !first);
            if (any != nullptr)
            {
                ASSERT_EQ(any->cpItem, first);
            }
            ASSERT_EQ(table._search(key, [](CPObjectMemory const&) { return false; }), nullptr);
        }
    }
}

// Against a container that has nothing in common with the table.
TEST(HashTableModel, HoldsWhatAMultimapHolds)
{
    std::mt19937_64 random(4711);
    for (unsigned int length : {4U, 10U, 64U})
    {
        std::vector<CPObjectMemory> const items = make_items(40);
        TableProbe table(length);
        std::multimap<unsigned long, int> model;
        auto const find = [&](unsigned long key, int id)
        {
            auto const range = model.equal_range(key);
            return std::find_if(range.first, range.second,
                                [id](auto const& entry) { return entry.second / 2 == id / 2; });
        };
        for (int count = 0; count < 12000; ++count)
        {
            unsigned long const key = random() % 3 == 0 ? random() % 8 : (random() % 700) * 0x9E3779B97F4A7C15UL;
            int const id = 1 + static_cast<int>(random() % 40);
            CPObjectMemory const& item = items[static_cast<unsigned long>(id)];
            auto const present = find(key, id);
            bool const is_present = present != model.equal_range(key).second;
            switch (random() % 8)
            {
            case 0:
            case 1:
            case 2:
                ASSERT_EQ(id_of(table.AddItem(key, item, eHashKeepEqual)), is_present ? present->second : id);
                if (!is_present)
                    model.emplace(key, id);
                break;
            case 3:
                ASSERT_EQ(table.AddItem(key, item, eHashReplaceEqual), item);
                if (is_present)
                    model.erase(present);
                model.emplace(key, id);
                break;
            case 4:
            case 5:
                ASSERT_EQ(id_of(table.FindItem(key, item)), is_present ? present->second : 0);
                ASSERT_EQ(static_cast<bool>(table.FindItem(key, CPObjectMemory())), model.count(key) != 0);
                break;
            case 6:
                ASSERT_EQ(table.DeleteItem(key, item), 1);
                if (is_present)
                    model.erase(present);
                break;
            default:
                if (random() % 4 == 0)
                {
                    ASSERT_EQ(table.DeleteItem(key, CPObjectMemory()), 1);
                    model.erase(key);
                }
                break;
            }
            if (count % 100 == 0)
            {
                ASSERT_EQ(table.GetNItems(), model.size());
            }
            table.take_events();
        }
        std::multimap<unsigned long, int> contents;
        VisitorProbe visitor(
            [&](unsigned long key, CPObjectMemory& item)
            {
                contents.emplace(key, id_of(item));
                return true;
            });
        ASSERT_EQ(table.EnumTableBy(&visitor, 0, false), 1);
        auto const sorted = [](std::multimap<unsigned long, int> const& map)
        {
            std::vector<std::pair<unsigned long, int>> entries(map.begin(), map.end());
            std::sort(entries.begin(), entries.end());
            return entries;
        };
        ASSERT_EQ(sorted(contents), sorted(model));
    }
}

} // namespace
