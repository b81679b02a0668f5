#include "ORVA/Buffers.h"
#include "ORVA/String/PoolString.h"
#include "ORVA/Threading/CriticalSection.h"

#include "races/together.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

// Blocks that several threads hold.
namespace
{

using namespace ORVA::Buffers;
using races::Faults;
using races::faults_of;
using races::mix;

constexpr unsigned int threads = 4;

// Plain words, one for each holder; the end of the object looks at all of them.
struct Slots
{
    std::array<unsigned int, threads> written = {};
    std::atomic<unsigned long>* sum = nullptr;

    ~Slots()
    {
        unsigned long all = 0;
        for (unsigned int const word : written)
            all += word;
        if (sum != nullptr)
            *sum += all;
    }
};

TEST(ObjectMemoryRaces, last_release_sees_what_every_holder_has_written)
{
    constexpr unsigned int blocks = 2000;
    std::atomic<unsigned long> sum{0};
    std::vector<std::vector<CPObject<Slots>>> held(threads);
    for (unsigned int number = 0; number < blocks; ++number)
    {
        CPObject<Slots> block;
        block.create()->sum = &sum;
        for (auto& handles : held)
            handles.push_back(block);
    }
    EXPECT_EQ(faults_of(threads,
                        [&](unsigned int index)
                        {
                            unsigned int number = index;
                            for (CPObject<Slots>& handle : held[index])
                            {
                                mix(++number);
                                handle->written[index] = index + 1;
                                handle.free();
                            }
                            return 0U;
                        }),
              0U);
    EXPECT_EQ(sum, blocks * (1 + 2 + 3 + 4UL));
}

// Handles wander from thread to thread through places that a lock protects.
TEST(ObjectMemoryRaces, handles_that_are_handed_over_keep_their_blocks)
{
    constexpr unsigned int rounds = 3000;
    constexpr unsigned int blocks = 2;
    std::atomic<unsigned long> made{blocks};
    std::atomic<unsigned long> sum{0};
    {
        ORVA::Threading::CPCriticalSection section;
        std::array<CPObject<Slots>, blocks> places;
        for (CPObject<Slots>& place : places)
        {
            place.create()->sum = &sum;
            place->written[0] = 1;
        }
        EXPECT_EQ(faults_of(threads,
                            [&](unsigned int index)
                            {
                                Faults faults;
                                CPObject<Slots> own;
                                for (unsigned int round = 0; round < rounds; ++round)
                                {
                                    CPObject<Slots>& place = places[(round * (2 * index + 1)) % blocks];
                                    section.Enter();
                                    switch (round % 3)
                                    {
                                    case 0:
                                        std::swap(place, own);
                                        break;
                                    case 1:
                                        own = place;
                                        break;
                                    default:
                                        if (own)
                                            place = own;
                                    }
                                    section.Leave();
                                    mix(round);
                                    if (!own)
                                    {
                                        own.create()->sum = &sum;
                                        own->written[0] = 1;
                                        ++made;
                                    }
                                    CPObjectMemory const copy = own;
                                    faults.expect(copy.lockcnt() >= 2);
                                    faults.expect(static_cast<Slots const*>(copy.get_cptr())->written[0] == 1);
                                }
                                return faults;
                            }),
                  0U);
    }
    EXPECT_EQ(sum, made) << "blocks that were destroyed, and made";
}

TEST(ObjectMemoryRaces, each_thread_clones_a_private_copy_of_a_shared_block)
{
    constexpr unsigned int rounds = 1000;
    constexpr unsigned int elements = 20;
    CPObject<unsigned long> shared;
    *shared.create() = 7;
    CPOMVector vector;
    for (unsigned int index = 0; index < elements; ++index)
        ASSERT_EQ(vector.Insert(shared, index), 1);
    CPPlainVector<unsigned int> plain;
    for (unsigned int index = 0; index < elements; ++index)
        ASSERT_EQ(plain.Insert(index, index), 1);
    EXPECT_EQ(faults_of(threads,
                        [&](unsigned int thread)
                        {
                            Faults faults;
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                CPOMVector own = vector;
                                mix(round + thread);
                                faults.expect(own.clone() == 1 && own.lockcnt() == 1);
                                faults.expect(own[elements - 1] == shared);
                                faults.expect(own.Delete(round % elements, true) == 1);
                                faults.expect(own.Insert(own[0], 3) == 1);
                                CPPlainVector<unsigned int> numbers = plain;
                                faults.expect(numbers.clone() == 1);
                                numbers[round % elements] = 1000 + thread;
                                faults.expect(plain[round % elements] == round % elements);
                                CPObject<unsigned long> value = shared;
                                faults.expect(value.clone() == 1 && *value == 7);
                                ++*value;
                            }
                            return faults;
                        }),
              0U);
    EXPECT_EQ(vector.lockcnt(), 1U);
    EXPECT_EQ(plain.lockcnt(), 1U);
    EXPECT_EQ(shared.lockcnt(), 1 + elements);
    EXPECT_EQ(*shared, 7U);
}

TEST(ObjectMemoryRaces, blocks_of_characters_are_shared_by_readers_and_go_with_the_last)
{
    constexpr unsigned int texts = 500;
    std::vector<std::vector<CPCString<wchar_t>>> held(threads);
    for (unsigned int number = 0; number < texts; ++number)
    {
        std::wstring const text = L"text " + std::to_wstring(number);
        CPCString<wchar_t> block;
        ASSERT_EQ(block.Alloc((text.size() + 1) * sizeof(wchar_t), &CPCString<wchar_t>::_vtbl), 1);
        std::copy_n(text.c_str(), text.size() + 1, static_cast<wchar_t*>(block.get_ptr()));
        for (auto& handles : held)
            handles.push_back(block);
    }
    EXPECT_EQ(faults_of(threads,
                        [&](unsigned int thread)
                        {
                            Faults faults;
                            for (unsigned int number = 0; number < texts; ++number)
                            {
                                CPObjectMemory const any = held[thread][number];
                                CPCString<wchar_t> own(any);
                                mix(number + thread);
                                faults.expect(L"text " + std::to_wstring(number) ==
                                              static_cast<wchar_t const*>(own.get_cptr()));
                                faults.expect(own.clone() == 1);
                                static_cast<wchar_t*>(own.get_ptr())[0] = static_cast<wchar_t>(L'0' + thread);
                                held[thread][number].free();
                                faults.expect(static_cast<wchar_t const*>(any.get_cptr())[0] == L't');
                            }
                            return faults;
                        }),
              0U);
}

// The blocks in static storage are not counted, whoever copies and frees handles on them.
TEST(ObjectMemoryRaces, constants_are_copied_and_freed_without_a_count)
{
    using ORVA::String::CPPoolString;
    EXPECT_EQ(faults_of(threads,
                        [](unsigned int)
                        {
                            Faults faults;
                            for (unsigned int round = 0; round < 5000; ++round)
                            {
                                CPPoolString string = CPPoolString::pempty;
                                string = CPPoolString::ptrue;
                                CPObjectMemory const any = string;
                                string.free();
                                faults.expect(string == CPPoolString::pnull && any == CPPoolString::ptrue);
                                faults.expect(any.lockcnt() == 0);
                                faults.expect(CPPoolString(round % 2 == 0) ==
                                              (round % 2 == 0 ? CPPoolString::ptrue : CPPoolString::pfalse));
                                faults.expect(!CPObjectMemory(CPObjectMemory::pnull));
                            }
                            return faults;
                        }),
              0U);
}

} // namespace
