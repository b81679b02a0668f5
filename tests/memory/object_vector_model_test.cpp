// Random sequences of operations on vectors that share blocks, against a model made of standard containers.
#include "ORVA/Buffers/ObjectVector.h"
#include "ORVA/Buffers/PlainVector.h"
#include "support/CountedElement.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <memory>
#include <random>

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

using namespace support;
using ORVA::Buffers::CPObjectVector;
using ORVA::Buffers::CPPlainVector;

struct Block
{
    std::vector<int> elements;
    std::size_t capacity;
};

constexpr std::size_t handles = 3;
using Model = std::array<std::shared_ptr<Block>, handles>;

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
    if (!block || index >= block->elements.size())
        return 0;
    block->elements.erase(block->elements.begin() + static_cast<long>(index));
    if (block->elements.empty() && free_if_empty)
        block.reset();
    return 1;
}

void model_reserve(std::shared_ptr<Block>& block, unsigned long count)
{
    if (count > (block ? block->elements.size() : 0))
        block = std::make_shared<Block>(Block{block ? block->elements : std::vector<int>(), count});
}

template <class Element>
void run_object_vectors(unsigned int seed)
{
    using Vector = CPObjectVector<Element>;
    CountedElement::reset();
    {
        std::array<Vector, handles> vectors;
        Model model;
        std::mt19937 random(seed);
        auto const below = [&random](unsigned long limit) { return random() % limit; };
        for (int step = 0; step < 4000; ++step)
        {
            std::size_t const which = below(handles);
            Vector& vector = vectors[which];
            std::shared_ptr<Block>& block = model[which];
            unsigned long const count = block ? block->elements.size() : 0;
            unsigned long const index = below(10) == 0 ? ULONG_MAX - below(3) : below(count + 2);
            switch (below(12))
            {
            case 0:
            {
                unsigned long const wanted = below(60);
                ASSERT_EQ(vector.Reserve(wanted), 1);
                model_reserve(block, wanted);
                break;
            }
            case 1:
            {
                std::size_t const source = below(handles);
                vector = vectors[source];
                block = model[source];
                break;
            }
            case 2:
                if (below(8) == 0)
                {
                    vector.free();
                    block.reset();
                }
                break;
            case 3:
            case 4:
            case 5:
            {
                bool const free_if_empty = below(2) == 0;
                ASSERT_EQ(vector.Delete(index, free_if_empty), model_delete(block, index, free_if_empty));
                break;
            }
            case 6:
                if (count != 0)
                {
                    unsigned long const source = below(count);
                    int const value = block->elements[source];
                    ASSERT_EQ(vector.Insert(vector[source], index), 1);
                    model_insert(block, value, index);
                }
                break;
            default:
                ASSERT_EQ(vector.Insert(Element(step), index), 1);
                model_insert(block, step, index);
            }
            long live = 0;
            for (std::size_t each = 0; each < handles; ++each)
            {
                std::vector<int> found;
                for (Element const& element : vectors[each])
                    found.push_back(element.value());
                ASSERT_EQ(found, model[each] ? model[each]->elements : std::vector<int>()) << "step " << step;
                ASSERT_EQ(vectors[each].GetAllocSize(), (model[each] ? model[each]->capacity : 0) * sizeof(Element));
                ASSERT_EQ(vectors[each].lockcnt(), static_cast<unsigned int>(model[each].use_count()));
                bool const seen = std::find(model.begin(), model.begin() + static_cast<long>(each), model[each]) !=
                                  model.begin() + static_cast<long>(each);
                live += seen ? 0 : static_cast<long>(found.size());
            }
            ASSERT_EQ(CountedElement::live(), live);
            CountedElement::counters().order.clear();
        }
    }
    EXPECT_EQ(CountedElement::live(), 0);
}

TEST(ObjectVectorModel, elements_that_are_copied)
{
    for (unsigned int seed = 1; seed <= 6; ++seed)
        run_object_vectors<CountedElement>(seed);
}

TEST(ObjectVectorModel, elements_that_are_moved_by_bytes)
{
    for (unsigned int seed = 1; seed <= 6; ++seed)
        run_object_vectors<MovedElement>(seed);
}

TEST(PlainVectorModel, insertions_and_shared_handles)
{
    for (unsigned int seed = 1; seed <= 6; ++seed)
    {
        std::array<CPPlainVector<long>, handles> vectors;
        Model model;
        std::mt19937 random(seed);
        auto const below = [&random](unsigned long limit) { return random() % limit; };
        for (int step = 0; step < 3000; ++step)
        {
            std::size_t const which = below(handles);
            CPPlainVector<long>& vector = vectors[which];
            std::shared_ptr<Block>& block = model[which];
            unsigned long const count = block ? block->elements.size() : 0;
            unsigned long const index = below(10) == 0 ? ULONG_MAX : below(count + 2);
            unsigned long const action = below(count > 150 ? 40 : 400);
            if (action == 0)
            {
                vector.free();
                block.reset();
            }
            else if (action < 40)
            {
                std::size_t const source = below(handles);
                vector = vectors[source];
                block = model[source];
            }
            else
            {
                bool const own = count != 0 && below(3) == 0;
                unsigned long const source = own ? below(count) : 0;
                int const value = own ? block->elements[source] : step;
                long const item = step;
                ASSERT_EQ(vector.Insert(own ? vector[source] : item, index), 1);
                model_insert(block, value, index);
            }
            for (std::size_t each = 0; each < handles; ++each)
            {
                std::vector<int> found;
                for (long element : vectors[each])
                    found.push_back(static_cast<int>(element));
                ASSERT_EQ(found, model[each] ? model[each]->elements : std::vector<int>()) << "step " << step;
                ASSERT_EQ(vectors[each].GetAllocSize(), (model[each] ? model[each]->capacity : 0) * sizeof(long));
                ASSERT_EQ(vectors[each].lockcnt(), static_cast<unsigned int>(model[each].use_count()));
            }
        }
    }
}

} // namespace
