#include "components/factory_support.h"

#include "ORVA/NQF/TypedInterface.h"

#include <thread>
#include <vector>

// A fixed amount of work by several threads on the slot and on the class table, with counts that balance.
namespace
{

using namespace components;
using namespace support;
using ORVA::Buffers::CPObject;
using ORVA::Buffers::CPObjectMemory;
using ORVA::NQF::CPINQFUnknown;
using ORVA::NQF::CPNQI;
using ORVA::NQF::SClassRegister;

constexpr unsigned int thread_count = 8;

template <class Work>
void run_in_threads(Work work)
{
    std::atomic<unsigned int> arrived{0};
    std::vector<std::thread> threads;
    for (unsigned int index = 0; index < thread_count; ++index)
    {
        threads.emplace_back(
            [&arrived, &work, index]
            {
                ++arrived;
                while (arrived < thread_count)
                    std::this_thread::yield();
                work(index);
            });
    }
    for (std::thread& thread : threads)
        thread.join();
}

class FactoryThreads : public FactoryForThreads
{
};

TEST_F(FactoryThreads, whoever_has_set_it_finds_it)
{
    constexpr unsigned int rounds = 3000;
    std::atomic<unsigned int> faults{0};
    run_in_threads(
        [&](unsigned int index)
        {
            auto const expect = [&](bool holds) { faults += holds ? 0 : 1; };
            for (unsigned int round = 0; round < rounds; ++round)
            {
                expect(CPINQFUnknown::Factory_Set(&factory) == 1);
                expect(CPINQFUnknown::Factory_IsAvailable());
                INQFComponentFactory* pointer = nullptr;
                expect(CPINQFUnknown::Factory_Acquire(&pointer) == 1 && pointer == &factory);
                CPNQI<INQFComponentFactory> handle;
                expect(CPINQFUnknown::Factory_Acquire(handle) == 1);
                CPINQFUnknown made;
                expect((index + round) % 2 == 0 ? made.createComponent(test_uid(5)) : made.createInstance(test_uid(5)));
                expect(CPINQFUnknown::Factory_FindDefinition(test_uid(9)));
                _nqfUID class_id = {};
                expect(CPINQFUnknown::Factory_FindClass(test_uid(9), class_id) == 1);
                expect(CPINQFUnknown::Factory_Release() == 1);
                pointer->Release();
            }
        });
    EXPECT_EQ(faults, 0U);
    EXPECT_FALSE(CPINQFUnknown::Factory_IsAvailable());
    EXPECT_EQ(ORVA::NQF::g_uFactoryLock, 0U);
    EXPECT_EQ(factory.count, 1);
    EXPECT_EQ(object.count, 1);
    EXPECT_EQ(definition.count, 1);
}

TEST_F(FactoryThreads, whoever_has_not_set_it_finds_all_of_it_or_nothing)
{
    constexpr unsigned int rounds = 5000;
    std::atomic<unsigned int> faults{0};
    run_in_threads(
        [&](unsigned int index)
        {
            for (unsigned int round = 0; round < rounds; ++round)
            {
                if (index % 2 == 0)
                {
                    faults += CPINQFUnknown::Factory_Set(&factory) == 1 ? 0 : 1;
                    CPINQFUnknown::Factory_Release();
                    continue;
                }
                CPINQFUnknown made;
                bool const created = made.createComponent(test_uid(5));
                faults += created == static_cast<bool>(made) ? 0 : 1;
                INQFComponentFactory* pointer = nullptr;
                bool const acquired = CPINQFUnknown::Factory_Acquire(&pointer) == 1;
                faults += acquired == (pointer == &factory) ? 0 : 1;
                if (acquired)
                    pointer->Release();
                CPINQFUnknown::Factory_IsAvailable();
            }
        });
    EXPECT_EQ(faults, 0U);
    EXPECT_FALSE(CPINQFUnknown::Factory_IsAvailable());
    EXPECT_EQ(factory.count, 1);
    EXPECT_EQ(object.count, 1);
}

TEST_F(FactoryThreads, of_two_factories_one_is_set_at_a_time)
{
    constexpr unsigned int rounds = 5000;
    FactoryDouble second(journal, "second");
    std::atomic<unsigned int> faults{0};
    std::atomic<unsigned int> successes{0};
    run_in_threads(
        [&](unsigned int index)
        {
            FactoryDouble& mine = index % 2 == 0 ? factory : second;
            for (unsigned int round = 0; round < rounds; ++round)
            {
                if (CPINQFUnknown::Factory_Set(&mine) != 1)
                    continue;
                ++successes;
                INQFComponentFactory* pointer = nullptr;
                CPINQFUnknown::Factory_Acquire(&pointer);
                faults += pointer == &mine ? 0 : 1;
                pointer->Release();
                CPINQFUnknown::Factory_Release();
            }
        });
    EXPECT_EQ(faults, 0U);
    EXPECT_GT(successes, 0U);
    EXPECT_FALSE(CPINQFUnknown::Factory_IsAvailable());
    EXPECT_EQ(factory.count, 1);
    EXPECT_EQ(second.count, 1);
}

TEST_F(FactoryThreads, each_class_is_registered_once)
{
    constexpr unsigned int classes = 800;
    auto const class_uid = [](unsigned int number) { return _nqfUID{number, 0x7EAD, 0, {8, 7, 6, 5, 4, 3, 2, 1}}; };
    unsigned long const before = ORVA::NQF::g_tblClasses.GetNItems();
    std::atomic<unsigned int> faults{0};
    run_in_threads(
        [&](unsigned int index)
        {
            ORVA::String::CPPoolString const name(index);
            for (unsigned int step = 0; step < classes; ++step)
            {
                unsigned int const number = (step + index * 100) % classes;
                faults += CPINQFUnknown::Factory_RegisterClass(class_uid(number), test_uid(index), name, nullptr) == 1
                              ? 0
                              : 1;
            }
        });
    EXPECT_EQ(faults, 0U);
    EXPECT_EQ(ORVA::NQF::g_tblClasses.GetNItems(), before + classes);
    for (unsigned int number = 0; number < classes; ++number)
    {
        _nqfUID const uid = class_uid(number);
        CPObject<SClassRegister> const record(
            ORVA::NQF::g_tblClasses.FindItem(ORVA::NQF::g_crcClass.Eval(&uid, sizeof uid, 0), CPObjectMemory()));
        ASSERT_TRUE(record);
        EXPECT_TRUE(same(record->uidClass, uid));
        ASSERT_LT(record->uidSecond.Data1, thread_count);
        EXPECT_TRUE(record->sName == ORVA::String::CPPoolString(record->uidSecond.Data1));
    }
}

} // namespace
