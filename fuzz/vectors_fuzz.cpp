// The vectors: any sequence of operations on handles that share blocks leaves the elements, the capacities, the counts
// of handles and the numbers of living elements of a model made of standard containers.
#include "fuzz/harness.h"

#include "ORVA/Buffers/ObjectVector.h"
#include "ORVA/Buffers/PlainVector.h"

#include "support/CountedElement.h"

#include <array>
#include <climits>

namespace
{

// Counted, and moved by bytes where the vector is the sole owner.
class MovedElement : public support::CountedElement
{
public:
    using CountedElement::CountedElement;
};

} // namespace

template <>
struct ORVA::Buffers::MovesByBytes<MovedElement> : std::true_type
{
};

namespace
{

using ORVA::Buffers::CPObjectVector;
using ORVA::Buffers::CPPlainVector;
using support::CountedElement;

struct Block
{
    std::vector<int> elements;
    std::size_t capacity;
};

constexpr std::size_t handles = 3;
using Model = std::array<std::shared_ptr<Block>, handles>;

unsigned long count_of(std::shared_ptr<Block> const& block)
{
    return block ? block->elements.size() : 0;
}

void model_insert(std::shared_ptr<Block>& block, int value, unsigned long index)
{
    if (!block)
        block = std::make_shared<Block>(Block{{}, 16});
    else if (block->elements.size() >= block->capacity)
        block = std::make_shared<Block>(Block{block->elements, block->elements.size() + 16});
    auto& elements = block->elements;
    elements.insert(elements.begin() + static_cast<long>(std::min<std::size_t>(index, elements.size())), value);
}

int model_delete(std::shared_ptr<Block>& block, unsigned long index, bool free_if_empty)
{
    if (index >= count_of(block))
        return 0;
    block->elements.erase(block->elements.begin() + static_cast<long>(index));
    if (block->elements.empty() && free_if_empty)
        block.reset();
    return 1;
}

void model_reserve(std::shared_ptr<Block>& block, unsigned long count)
{
    if (count > count_of(block))
        block = std::make_shared<Block>(Block{block ? block->elements : std::vector<int>(), count});
}

void model_alloc(std::shared_ptr<Block>& block, unsigned long made, unsigned long count)
{
    block = count == 0 ? nullptr : std::make_shared<Block>(Block{std::vector<int>(made, 0), count});
}

// A block of its own, of just the size that is in use. (No copy throws here: `clone` finalises a block that was left half
// made as a whole.)
template <class Element>
void clone(CPObjectVector<Element>& vector, std::shared_ptr<Block>& block)
{
    REQUIRE(vector.clone() == 1);
    if (block && block.use_count() > 1)
        block = std::make_shared<Block>(Block{block->elements, block->elements.size()});
}

// A block of another type is not taken, one of the same type is.
template <class Element>
void assign_other(CPObjectVector<Element>& vector, std::shared_ptr<Block>& block, unsigned long drawn)
{
    CPObjectVector<Element> own;
    CPPlainVector<long> other;
    REQUIRE(own.Alloc(drawn % 4) == 1 && other.Insert(1, 0) == 1);
    bool const is_taken = drawn % 8 < 4;
    ORVA::Buffers::CPObjectMemory const& source =
        is_taken ? static_cast<ORVA::Buffers::CPObjectMemory const&>(own) : other;
    CPObjectVector<Element> const constructed(source);
    REQUIRE(static_cast<bool>(constructed) == (is_taken && drawn % 4 != 0));
    vector = source;
    model_alloc(block, is_taken ? drawn % 4 : 0, is_taken ? drawn % 4 : 0);
}

int value_of(CountedElement const& element)
{
    return element.value();
}

int value_of(long element)
{
    return static_cast<int>(element);
}

template <class Vector, class Element>
void check(std::array<Vector, handles> const& vectors, Model const& model, bool counts_elements)
{
    long live = 0;
    for (std::size_t each = 0; each < handles; ++each)
    {
        std::shared_ptr<Block> const& block = model[each];
        REQUIRE(vectors[each].GetCount() == count_of(block));
        for (unsigned long index = 0; index < count_of(block); ++index)
            REQUIRE(value_of(vectors[each][index]) == block->elements[index]);
        REQUIRE(vectors[each].GetAllocSize() == (block ? block->capacity : 0) * sizeof(Element));
        REQUIRE(vectors[each].lockcnt() == static_cast<unsigned int>(block.use_count()));
        bool const is_first = std::find(model.begin(), model.begin() + static_cast<long>(each), block) ==
                              model.begin() + static_cast<long>(each);
        live += is_first ? static_cast<long>(count_of(block)) : 0;
    }
    REQUIRE(!counts_elements || CountedElement::live() == live);
}

template <class Element>
void run_objects(fuzz::Input& input)
{
    CountedElement::reset();
    {
        std::array<CPObjectVector<Element>, handles> vectors;
        Model model;
        for (int step = 0; !input.empty(); ++step)
        {
            unsigned long const options = input.byte();
            std::size_t const which = (options >> 4) % handles;
            CPObjectVector<Element>& vector = vectors[which];
            std::shared_ptr<Block>& block = model[which];
            unsigned long const drawn = input.byte();
            unsigned long const index = drawn > 250 ? ULONG_MAX - (255 - drawn) : drawn % (count_of(block) + 2);
            switch (options & 15)
            {
            case 0:
                REQUIRE(vector.Reserve(drawn / 4) == 1);
                model_reserve(block, drawn / 4);
                break;
            case 1:
                vector = vectors[drawn % handles];
                block = model[drawn % handles];
                break;
            case 2:
                vector.free();
                block.reset();
                break;
            case 3:
                REQUIRE(vector.Alloc(drawn / 8) == 1);
                model_alloc(block, drawn / 8, drawn / 8);
                break;
            case 4:
            case 5:
            case 6:
            case 7:
                REQUIRE(vector.Delete(index, (options & 1) != 0) == model_delete(block, index, (options & 1) != 0));
                break;
            case 12:
            {
                // A copy that throws leaves the vector as it was.
                unsigned long const copies_to_go = 1 + input.below(24);
                Element const item(step);
                CountedElement::counters().throw_on_copy = copies_to_go;
                try
                {
                    REQUIRE(vector.Insert(item, index) == 1);
                    model_insert(block, step, index);
                }
                catch (support::ElementError const&)
                {
                }
                CountedElement::counters().throw_on_copy = 0;
                break;
            }
            case 13:
                clone(vector, block);
                break;
            case 14:
                assign_other(vector, block, drawn);
                break;
            case 15:
            {
                // A constructor that throws leaves those that were made.
                CountedElement::counters().throw_on_make = drawn % 16 + 1;
                bool is_thrown = false;
                try
                {
                    REQUIRE(vector.Alloc(drawn / 16) == 1);
                }
                catch (support::ElementError const&)
                {
                    is_thrown = true;
                }
                CountedElement::counters().throw_on_make = 0;
                REQUIRE(is_thrown == (drawn / 16 > drawn % 16));
                model_alloc(block, is_thrown ? drawn % 16 : drawn / 16, drawn / 16);
                break;
            }
            case 8:
            case 9:
                if (count_of(block) != 0)
                {
                    // An element of the vector itself.
                    unsigned long const source = input.byte() % count_of(block);
                    int const value = block->elements[source];
                    REQUIRE(vector.Insert(vector[source], index) == 1);
                    model_insert(block, value, index);
                }
                break;
            default:
                REQUIRE(vector.Insert(Element(step), index) == 1);
                model_insert(block, step, index);
            }
            check<CPObjectVector<Element>, Element>(vectors, model, true);
            CountedElement::counters().order.clear();
        }
    }
    REQUIRE(CountedElement::live() == 0);
}

void run_plain(fuzz::Input& input)
{
    std::array<CPPlainVector<long>, handles> vectors;
    Model model;
    for (int step = 0; !input.empty(); ++step)
    {
        unsigned long const options = input.byte();
        std::size_t const which = (options >> 4) % handles;
        CPPlainVector<long>& vector = vectors[which];
        std::shared_ptr<Block>& block = model[which];
        unsigned long const drawn = input.byte();
        unsigned long const index = drawn > 250 ? ULONG_MAX : drawn % (count_of(block) + 2);
        switch (options & 7)
        {
        case 0:
            vector = vectors[drawn % handles];
            block = model[drawn % handles];
            break;
        case 1:
            if (drawn % 8 == 0)
            {
                vector.free();
                block.reset();
            }
            break;
        default:
        {
            bool const own = count_of(block) != 0 && (options & 7) == 2;
            unsigned long const source = own ? drawn % count_of(block) : 0;
            int const value = own ? block->elements[source] : step;
            long const item = step;
            REQUIRE(vector.Insert(own ? vector[source] : item, index) == 1);
            model_insert(block, value, index);
        }
        }
        check<CPPlainVector<long>, long>(vectors, model, false);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Input input(data, std::min<std::size_t>(size, 2000));
    switch (input.below(3))
    {
    case 0:
        run_objects<CountedElement>(input);
        break;
    case 1:
        run_objects<MovedElement>(input);
        break;
    default:
        run_plain(input);
    }
    return 0;
}
