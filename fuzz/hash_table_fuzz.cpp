// The hash table: any sequence of operations gives the results, the contents and the very calls of its hooks that the
// plain table gives, also with a comparison that contradicts itself.
#include "fuzz/harness.h"

#include "ORVA/Buffers/Object.h"
#include "ORVA/Lookup/HashTable.h"

#include "reference/plain_hashtable.h"

#include <array>
#include <tuple>

using ORVA::Buffers::CPObject;
using ORVA::Buffers::CPObjectMemory;
using namespace ORVA::Lookup;

namespace
{

// What a hook was called with.
using Call = std::tuple<char, int, int>;
using Calls = std::vector<Call>;

struct Item
{
    int id = 0;
};

int id_of(CPObjectMemory const& item)
{
    return item ? static_cast<Item const*>(item.get_cptr())->id : 0;
}

// By rank, all equal, and one that contradicts itself.
int answer(unsigned long kind, int a, int b)
{
    if (kind == 0)
        return a / 2 < b / 2 ? -1 : a / 2 > b / 2 ? 1 : 0;
    if (kind == 1)
        return 0;
    auto const mixed = static_cast<unsigned int>(a) * 2654435761U ^ static_cast<unsigned int>(b) * 40503U;
    return static_cast<int>((mixed >> 7) % 3) - 1;
}

bool is_disposable(int id)
{
    return id % 5 == 0;
}

class Table final : public CBaseHashTable
{
public:
    explicit Table(unsigned long comparison) : CBaseHashTable(4), m_comparison(comparison) {}
    using CBaseHashTable::cpIndex;
    using CBaseHashTable::uDisposeNext;

    int compare(CPObjectMemory const& a, CPObjectMemory const& b) override
    {
        calls.emplace_back('c', id_of(a), id_of(b));
        return answer(m_comparison, id_of(a), id_of(b));
    }
    bool isDisposable(CPObjectMemory const& item) override
    {
        calls.emplace_back('d', id_of(item), 0);
        return is_disposable(id_of(item));
    }
    void tblfinalize(CPObjectMemory const& item) override { calls.emplace_back('f', id_of(item), 0); }

    CPObjectMemory const* find_quickly(unsigned long key, int id)
    {
        HASHENTRY const* const entry = _search(key, [id](CPObjectMemory const& item) { return id_of(item) == id; });
        return entry == nullptr ? nullptr : &entry->cpItem;
    }

    Calls calls;

private:
    unsigned long m_comparison;
};

class Visitor final : public IBaseHashTableEnum
{
public:
    using Answer = std::function<bool(unsigned long key, int item)>;
    explicit Visitor(Answer how) : m_answer(std::move(how)) {}
    bool EnumEntry(unsigned long key, CPObjectMemory& item) override { return m_answer(key, id_of(item)); }

private:
    Answer m_answer;
};

class Twins
{
public:
    explicit Twins(unsigned long comparison) : m_table(comparison)
    {
        for (unsigned long id = 1; id < m_items.size(); ++id)
        {
            CPObject<Item> item;
            item.create()->id = static_cast<int>(id);
            m_items[id] = item;
        }
        m_plain.compare = [this, comparison](int a, int b)
        {
            m_plain_calls.emplace_back('c', a, b);
            return answer(comparison, a, b);
        };
        m_plain.is_disposable = [this](int item)
        {
            m_plain_calls.emplace_back('d', item, 0);
            return is_disposable(item);
        };
        m_plain.finalize = [this](int item) { m_plain_calls.emplace_back('f', item, 0); };
    }

    void step(fuzz::Input& input)
    {
        unsigned long const action = input.below(32);
        unsigned long const key = draw_key(input);
        unsigned long const id = input.below(m_items.size());
        CPObjectMemory const& item = m_items[id];
        int const plain_item = static_cast<int>(id);
        if (action < 20)
        {
            unsigned int const mode = static_cast<unsigned int>(action) / 4;
            REQUIRE(id_of(m_table.AddItem(key, item, static_cast<eHashCollision>(mode))) ==
                    m_plain.add(key, plain_item, mode));
        }
        else if (action < 23)
            find(key, plain_item);
        else if (action < 26)
        {
            REQUIRE(m_table.DeleteItem(key, item) == 1);
            m_plain.remove(key, plain_item);
        }
        else
            rarely(action, key, id);
        REQUIRE(m_table.calls == m_plain_calls);
        m_table.calls.clear();
        m_plain_calls.clear();
    }

    void check_contents()
    {
        REQUIRE(static_cast<bool>(m_table.cpIndex) == m_plain.has_index());
        std::array<unsigned int, items> uses;
        uses.fill(1);
        unsigned long total = 0;
        for (unsigned long number = 0; number < 16 && m_table.cpIndex; ++number)
        {
            auto& bucket = static_cast<CBaseHashTable::Bucket*>(m_table.cpIndex.get_ptr())[number];
            reference::PlainBucket const expected = m_plain.bucket(number);
            REQUIRE(static_cast<bool>(bucket) == !expected.empty());
            REQUIRE(std::equal(bucket.begin(), bucket.end(), expected.begin(), expected.end(),
                               [](CBaseHashTable::HASHENTRY const& entry, reference::PlainEntry const& plain)
                               { return entry.uKey == plain.key && id_of(entry.cpItem) == plain.item; }));
            for (reference::PlainEntry const& entry : expected)
                ++uses[static_cast<unsigned long>(entry.item)];
            total += expected.size();
        }
        REQUIRE(m_table.GetNItems() == total);
        for (unsigned long id = 1; id < items; ++id)
            REQUIRE(m_items[id].lockcnt() == uses[id]);
    }

private:
    static constexpr unsigned long items = 24;

    static unsigned long draw_key(fuzz::Input& input)
    {
        switch (input.below(4))
        {
        case 0:
            return input.below(8);
        case 1:
            return input.byte() * 16UL;
        case 2:
            return static_cast<unsigned long>(input.byte()) << 56 | 3;
        default:
            return input.number(8);
        }
    }

    void find(unsigned long key, int item)
    {
        CPObjectMemory const found = m_table.FindItem(key, m_items[static_cast<unsigned long>(item)]);
        REQUIRE(id_of(found) == m_plain.find(key, item));
        reference::PlainBucket const bucket = m_plain.bucket(key & 15);
        CPObjectMemory const* const quick = m_table.find_quickly(key, item);
        REQUIRE((quick != nullptr) ==
                (std::find(bucket.begin(), bucket.end(), reference::PlainEntry{key, item}) != bucket.end()));
        REQUIRE(quick == nullptr || id_of(*quick) == item);
    }

    void rarely(unsigned long action, unsigned long key, unsigned long seed)
    {
        if (action == 26 || action == 27)
            return walk(key, seed, action == 26);
        if (action == 28)
            return purge(seed);
        if (action == 29)
        {
            m_table.uDisposeNext = key & 15;
            REQUIRE(m_table.DisposeTable(0xFFFFFFFF) == 1);
            m_plain.dispose(key & 15);
        }
        else if (action == 30)
        {
            REQUIRE(m_table.DeleteIndex(key) == 1);
            m_plain.remove_bucket(key);
        }
        else
        {
            m_table.ClearTable();
            m_plain.clear();
        }
    }

    // A walk that stops, at the latest, when it has seen `most` entries.
    void walk(unsigned long key, unsigned long most, bool by_key)
    {
        std::vector<std::pair<unsigned long, int>> seen;
        std::vector<std::pair<unsigned long, int>> expected;
        auto const into = [most](auto& entries)
        {
            return [&entries, most](unsigned long entry_key, int item)
            {
                entries.emplace_back(entry_key, item);
                return entries.size() <= most;
            };
        };
        Visitor visitor(into(seen));
        REQUIRE(m_table.EnumTableBy(&visitor, key, by_key) ==
                (by_key ? m_plain.visit_key(key, into(expected)) : m_plain.visit_all(into(expected))));
        REQUIRE(seen == expected);
        REQUIRE(m_table.EnumTableBy(nullptr, key, by_key) == 0 && m_table.PurgeTable(nullptr) == 1);
    }

    void purge(unsigned long seed)
    {
        std::vector<std::pair<unsigned long, int>> seen;
        std::vector<std::pair<unsigned long, int>> expected;
        auto const into = [seed](auto& entries)
        {
            return [&entries, seed](unsigned long key, int item)
            {
                entries.emplace_back(key, item);
                return (key * 31 + static_cast<unsigned long>(item) + seed) % 3 != 0;
            };
        };
        Visitor visitor(into(seen));
        REQUIRE(m_table.PurgeTable(&visitor) == 1);
        m_plain.purge(into(expected));
        REQUIRE(seen == expected);
    }

    std::array<CPObjectMemory, items> m_items; // the first is empty
    Table m_table;
    reference::PlainHashTable m_plain{4};
    Calls m_plain_calls;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Input input(data, size);
    Twins twins(input.below(3));
    for (int count = 1; !input.empty(); ++count)
    {
        twins.step(input);
        if (count % 16 == 0)
            twins.check_contents();
    }
    twins.check_contents();
    return 0;
}
