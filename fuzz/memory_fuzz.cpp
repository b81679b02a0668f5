// Blocks of plain bytes and sets of typed blocks: any sequence of operations on handles that share blocks leaves the
// bytes, the sizes, the capacities and the counts of handles of a model made of standard containers.
#include "fuzz/harness.h"

#include "ORVA/Buffers/Object.h"
#include "ORVA/Buffers/PlainMemory.h"
#include "ORVA/Buffers/TypedObjectVector.h"

#include <array>
#include <climits>
#include <map>

using namespace ORVA::Buffers;

namespace
{

constexpr std::size_t handles = 3;

struct Block
{
    fuzz::Bytes bytes;
    unsigned long capacity;
};

class PlainTwins
{
public:
    void step(fuzz::Input& input)
    {
        unsigned long const action = input.below(12);
        std::size_t const which = input.below(handles);
        unsigned long const size = input.byte();
        CPPlainMemory& memory = m_memories[which];
        std::shared_ptr<Block>& block = m_blocks[which];
        unsigned long kept = block ? block->bytes.size() : 0;
        switch (action)
        {
        case 0:
            REQUIRE(memory.Alloc(size) == 1);
            block = size == 0 ? nullptr : make(size, size);
            kept = 0;
            break;
        case 1:
            REQUIRE(memory.CPObjectMemory::Reserve(size, &CPPlainMemory::_vtbl) == 1);
            block = make(0, size);
            break;
        case 2:
        case 3:
            REQUIRE(memory.Resize(size) == 1);
            resize(block, size);
            break;
        case 4:
            REQUIRE(memory._Reserve(size, &CPPlainMemory::_vtbl) == 1);
            reserve(block, size);
            break;
        case 5:
        {
            bool const grows = block && block.use_count() == 1 && size != 0;
            REQUIRE(memory.Incalloc(size) == grows);
            if (grows)
                block->capacity += size;
            break;
        }
        case 6:
        {
            bool const fits = block && size <= block->capacity;
            REQUIRE(memory.SetSize(size) == fits);
            if (fits)
                block->bytes.resize(size);
            break;
        }
        case 7:
            memory.free();
            block.reset();
            break;
        case 8:
            REQUIRE(memory.clone() == 1);
            if (block && block.use_count() > 1)
                block = std::make_shared<Block>(Block{block->bytes, kept});
            break;
        case 9:
            assign(memory, block, size);
            break;
        case 10:
            memory = std::move(m_memories[size % handles]);
            if (size % handles != which)
                block = std::move(m_blocks[size % handles]);
            break;
        default:
            refuse(memory, size);
        }
        // What is new was not cleared, or may hold what was there before.
        if (block && memory.GetSize() == block->bytes.size())
            fill(memory, *block, kept, static_cast<unsigned char>(size));
        check();
    }

private:
    static std::shared_ptr<Block> make(unsigned long used, unsigned long capacity)
    {
        return std::make_shared<Block>(Block{fuzz::Bytes(used), capacity});
    }

    static void resize(std::shared_ptr<Block>& block, unsigned long size)
    {
        if (!block && size != 0)
            block = make(size, size);
        else if (block && size > block->capacity)
            block = std::make_shared<Block>(Block{block->bytes, size});
        if (block)
            block->bytes.resize(size);
    }

    static void reserve(std::shared_ptr<Block>& block, unsigned long size)
    {
        if (block ? size > block->bytes.size() : size != 0)
            block = std::make_shared<Block>(Block{block ? block->bytes : fuzz::Bytes(), size});
    }

    // A second handle, unless the block has no bytes in use.
    void assign(CPPlainMemory& memory, std::shared_ptr<Block>& block, unsigned long source)
    {
        CPPlainMemory const& other = m_memories[source % handles];
        std::shared_ptr<Block> const other_block = m_blocks[source % handles];
        if (source % 2 != 0)
        {
            memory = other;
            block = other_block;
            return;
        }
        CPObjectMemory const untyped = other;
        CPPlainMemory const constructed(untyped);
        bool const is_taken = other_block && !other_block->bytes.empty();
        REQUIRE(static_cast<bool>(constructed) == is_taken);
        memory = untyped;
        block = is_taken ? other_block : nullptr;
    }

    // Sizes that leave no room for a header, and blocks of no type.
    static void refuse(CPPlainMemory& memory, unsigned long drawn)
    {
        unsigned long const size = ULONG_MAX - drawn % sizeof(tagCPOMEMHEADER);
        CPPlainMemory empty;
        REQUIRE(memory.Resize(size) == 0 && empty.Resize(size) == 0 && !empty);
        REQUIRE(memory.Incalloc(size) == 0 && memory.SetSize(size) == 0);
        REQUIRE(memory._Resize(size, nullptr) == 0);
        REQUIRE(empty.Alloc(size) == 0 && !empty && empty._Alloc(1, nullptr) == 0 && empty._Alloc(0, nullptr) == 1);
        REQUIRE(empty.CPObjectMemory::Reserve(size, &CPPlainMemory::_vtbl) == 0 && empty._Reserve(size, nullptr) == 0);
    }

    static void fill(CPPlainMemory& memory, Block& block, unsigned long from, unsigned char value)
    {
        auto* const bytes = static_cast<unsigned char*>(memory.get_ptr());
        for (unsigned long index = from; index < block.bytes.size(); ++index)
            bytes[index] = block.bytes[index] = static_cast<unsigned char>(value + index);
    }

    void check() const
    {
        for (std::size_t each = 0; each < handles; ++each)
        {
            CPPlainMemory const& memory = m_memories[each];
            std::shared_ptr<Block> const& block = m_blocks[each];
            REQUIRE(static_cast<bool>(memory) == static_cast<bool>(block));
            REQUIRE(memory.lockcnt() == static_cast<unsigned int>(block.use_count()));
            REQUIRE(memory.GetSize() == (block ? block->bytes.size() : 0) &&
                    memory.GetMemorySize() == memory.GetSize());
            REQUIRE(memory.GetAllocSize() == (block ? block->capacity : 0));
            auto const* const bytes = static_cast<unsigned char const*>(memory.get_cptr());
            REQUIRE((bytes == nullptr) == !block && !memory.isMemory(nullptr) && !memory.isMemory(this));
            if (!block)
                continue;
            REQUIRE(std::equal(block->bytes.begin(), block->bytes.end(), bytes));
            unsigned char const* const header = bytes - sizeof(tagCPOMEMHEADER);
            REQUIRE(!memory.isMemory(header) && memory.isMemory(header + 1));
            REQUIRE(memory.isMemory(bytes + block->capacity - 1) && !memory.isMemory(bytes + block->capacity));
        }
    }

    std::array<CPPlainMemory, handles> m_memories;
    std::array<std::shared_ptr<Block>, handles> m_blocks;
};

// Values of different types.
template <int number>
struct Value
{
    int value = number;
};

struct Fixed
{
    Fixed() = default;
    Fixed(Fixed const&) = delete;
    Fixed& operator=(Fixed const&) = delete;
    int value = 0;
};

template <class T>
CPObjectMemory make_item(int value)
{
    CPObject<T> item;
    item.create()->value = value;
    return item;
}

int value_of(CPObjectMemory const& item)
{
    return static_cast<Value<0> const*>(item.get_cptr())->value;
}

class TypedSet final : public CPTypedObjectVector
{
public:
    CPOMVector const& elements() const { return m_vector; }
};

// Two sets. A copy of one shares its elements until it is empty; with so few types none has to grow.
class TypedTwins
{
public:
    void step(fuzz::Input& input, fuzz::Reports& reports)
    {
        unsigned long const action = input.below(8);
        unsigned long const which = input.below(2);
        unsigned long const type = input.below(makers.size());
        int const value = static_cast<int>(input.byte());
        TypedSet& set = m_sets[which];
        CPObjectMemory const item = makers[type](value);
        auto const id = reinterpret_cast<unsigned long>(item.GetTypeID());
        bool const is_fixed = type + 1 == makers.size();
        switch (action)
        {
        case 0:
        case 1:
        case 2:
        case 3:
            if (is_fixed)
                break;
            REQUIRE(set.Set(item) == 1 && item.lockcnt() == 1);
            elements(which)[id] = value;
            break;
        case 4:
            REQUIRE(set.Delete(id) == 1);
            if (m_elements[which] && m_elements[which]->erase(id) != 0 && m_elements[which]->empty())
                m_elements[which].reset();
            break;
        case 5:
            REQUIRE(set.Set(CPObjectMemory()) == 0);
            break;
        case 6:
            // What cannot be copied is shared, which is reported each time.
            if (!is_fixed)
                break;
            {
                TypedSet own;
                REQUIRE(own.Set(item) == 1 && item.lockcnt() == 2 && own.Get(id) == item);
                REQUIRE(reports.take().size() == 2);
            }
            break;
        default:
            m_sets[1 - which] = set;
            m_elements[1 - which] = m_elements[which];
        }
        check(which, id);
        REQUIRE(reports.take().empty());
    }

private:
    using Elements = std::map<unsigned long, int>;
    using Maker = CPObjectMemory (*)(int);
    static constexpr std::array<Maker, 6> makers = {&make_item<Value<0>>, &make_item<Value<1>>, &make_item<Value<2>>,
                                                    &make_item<Value<3>>, &make_item<Value<4>>, &make_item<Fixed>};

    Elements& elements(unsigned long which)
    {
        if (!m_elements[which])
            m_elements[which] = std::make_shared<Elements>();
        return *m_elements[which];
    }

    void check(unsigned long which, unsigned long id) const
    {
        Elements const expected = m_elements[which] ? *m_elements[which] : Elements();
        CPOMVector const& stored = m_sets[which].elements();
        REQUIRE(stored.GetCount() == expected.size());
        REQUIRE(std::equal(stored.begin(), stored.end(), expected.begin(), expected.end(),
                           [](CPObjectMemory const& item, auto const& entry)
                           {
                               return reinterpret_cast<unsigned long>(item.GetTypeID()) == entry.first &&
                                      value_of(item) == entry.second && item.lockcnt() == 1;
                           }));
        // A copy of one's own.
        CPObjectMemory const copy = m_sets[which].Get(id);
        auto const entry = expected.find(id);
        REQUIRE(static_cast<bool>(copy) == (entry != expected.end()));
        if (copy)
            REQUIRE(value_of(copy) == entry->second && copy.lockcnt() == 1);
        TypedSet const second(m_sets[which]);
        REQUIRE(second.elements() == stored);
    }

    std::array<TypedSet, 2> m_sets;
    std::array<std::shared_ptr<Elements>, 2> m_elements;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Reports reports;
    fuzz::Input input(data, std::min<std::size_t>(size, 2000));
    if (input.below(2) == 0)
    {
        PlainTwins twins;
        while (!input.empty())
            twins.step(input);
        REQUIRE(reports.take().empty());
    }
    else
    {
        TypedTwins twins;
        while (!input.empty())
            twins.step(input, reports);
    }
    return 0;
}
