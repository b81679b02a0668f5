// The hash table with hooks, visitors, comparisons and items that change the table in the middle of its operations, or
// throw: no memory is misused, no handle is lost or counted twice, and nothing is left behind.
#include "fuzz/harness.h"

#include "ORVA/Buffers/Object.h"
#include "ORVA/Lookup/HashTable.h"

#include <array>

using ORVA::Buffers::CPObject;
using ORVA::Buffers::CPObjectMemory;
using namespace ORVA::Lookup;

namespace
{

class Table;
Table* table_in_use = nullptr;

struct Item
{
    Item() { ++living; }
    Item(Item const&) = delete;
    Item& operator=(Item const&) = delete;
    ~Item();

    int id = 0;

    static inline long living = 0;
};

struct Refusal
{
};

int id_of(CPObjectMemory const& item)
{
    return item ? static_cast<Item const*>(item.get_cptr())->id : 0;
}

class Visitor final : public IBaseHashTableEnum
{
public:
    explicit Visitor(Table& table) : m_table(table) {}
    bool EnumEntry(unsigned long key, CPObjectMemory& item) override;

private:
    Table& m_table;
};

class Table final : public CBaseHashTable
{
public:
    Table(unsigned int width, fuzz::Input& input) : CBaseHashTable(width), m_input(input) {}

    int compare(CPObjectMemory const& a, CPObjectMemory const& b) override
    {
        int const difference = id_of(a) / 4 - id_of(b) / 4;
        interfere();
        return difference;
    }
    bool isDisposable(CPObjectMemory const& item) override
    {
        bool const answer = id_of(item) % 2 != 0;
        interfere();
        return answer;
    }
    void tblfinalize(CPObjectMemory const&) override { interfere(); }

    bool answer()
    {
        interfere();
        return m_input.byte() % 4 != 0;
    }

    // What a hook does: mostly nothing.
    void interfere()
    {
        if (m_depth >= 3 || m_left == 0 || m_input.empty())
            return;
        unsigned char const drawn = m_input.byte();
        if (drawn < 0x60)
            return;
        --m_left;
        if (drawn >= 0xF8 && m_releases == 0)
            throw Refusal();
        ++m_depth;
        try
        {
            step(drawn % 11);
        }
        catch (...)
        {
            --m_depth;
            throw;
        }
        --m_depth;
    }

    // The release of an item: it may not add, and not throw.
    void released()
    {
        ++m_releases;
        interfere();
        --m_releases;
    }

    void step(unsigned long action)
    {
        unsigned long const key = draw_key();
        CPObjectMemory const item = m_held[m_input.byte() % m_held.size()];
        switch (action)
        {
        default:
            if (m_releases == 0)
                add(key, item, m_input.byte());
            break;
        case 3:
            FindItem(key, item);
            break;
        case 4:
            DeleteItem(key, item);
            break;
        case 5:
            DeleteItem(key, CPObjectMemory());
            break;
        case 6:
            DeleteIndex(key);
            break;
        case 7:
            ClearTable();
            break;
        case 8:
        {
            Visitor visitor(*this);
            EnumTableBy(&visitor, key, m_input.byte() % 2 != 0);
            break;
        }
        case 9:
        {
            Visitor visitor(*this);
            PurgeTable(&visitor);
            break;
        }
        case 10:
            uDisposeNext = key & uMask;
            DisposeTable(m_input.byte() % 2 != 0 ? 0 : 0xFFFFFFFF);
            break;
        case 11:
            m_held[m_input.byte() % m_held.size()].free();
        }
    }

    // Every handle is here or there, and counted.
    void check() const
    {
        auto const* const buckets = static_cast<Bucket const*>(cpIndex.get_cptr());
        unsigned long total = 0;
        for (unsigned long number = 0; buckets != nullptr && number < uBuckets; ++number)
        {
            for (HASHENTRY const& entry : buckets[number])
            {
                REQUIRE(entry.cpItem && (entry.uKey & uMask) == number &&
                        uses_of(entry.cpItem) == entry.cpItem.lockcnt());
                ++total;
            }
        }
        REQUIRE(GetNItems() == total);
        for (CPObjectMemory const& item : m_held)
            REQUIRE(!item || uses_of(item) == item.lockcnt());
    }

private:
    unsigned long draw_key()
    {
        unsigned long const drawn = m_input.byte();
        return drawn < 0x80 ? drawn % 8 * 16 : drawn < 0xC0 ? drawn % 4 : drawn << 56 | 1;
    }

    void add(unsigned long key, CPObjectMemory const& held, unsigned char options)
    {
        CPObjectMemory item = held;
        if (!item || (options & 8) != 0)
        {
            CPObject<Item> fresh;
            fresh.create()->id = options;
            item = fresh;
            if ((options & 16) != 0)
                m_held[options % m_held.size()] = item;
        }
        AddItem(key, item, static_cast<eHashCollision>(options % 5));
    }

    unsigned int uses_of(CPObjectMemory const& item) const
    {
        auto uses = static_cast<unsigned int>(std::count(m_held.begin(), m_held.end(), item));
        auto const* const buckets = static_cast<Bucket const*>(cpIndex.get_cptr());
        for (unsigned long number = 0; buckets != nullptr && number < uBuckets; ++number)
        {
            for (HASHENTRY const& entry : buckets[number])
                uses += entry.cpItem == item ? 1U : 0U;
        }
        return uses;
    }

    fuzz::Input& m_input;
    std::array<CPObjectMemory, 6> m_held;
    int m_depth = 0;
    int m_left = 200; // so that no input takes long
    int m_releases = 0;
};

Item::~Item()
{
    --living;
    if (table_in_use != nullptr)
        table_in_use->released();
}

bool Visitor::EnumEntry(unsigned long, CPObjectMemory&)
{
    return m_table.answer();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Input input(data, std::min<std::size_t>(size, 1000));
    {
        Table table(4 + static_cast<unsigned int>(input.below(2)), input);
        table_in_use = &table;
        while (!input.empty())
        {
            try
            {
                table.step(input.below(18));
            }
            catch (Refusal const&)
            {
            }
            table.check();
        }
        table_in_use = nullptr;
    }
    REQUIRE(Item::living == 0);
    return 0;
}
