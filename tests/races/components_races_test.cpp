#include "components/factory_support.h"
#include "races/together.h"

#include "ORVA/NQF/ComponentInfo.h"
#include "ORVA/NQF/TypedInterface.h"

#include <thread>

// Questions to the factory while it comes and goes, and handles of several threads on one object.
namespace
{

using namespace components;
using namespace support;
using ORVA::NQF::CPINQFUnknown;
using ORVA::NQF::CPNQI;
using races::Faults;
using races::faults_of;

constexpr unsigned int threads = 4;

class ComponentRaces : public FactoryForThreads
{
};

TEST_F(ComponentRaces, every_question_is_answered_or_not_while_the_factory_comes_and_goes)
{
    constexpr unsigned int rounds = 1500;
    _nqfUID answer = test_uid(1);
    set_factory();
    EXPECT_EQ(CPINQFUnknown::Factory_FindClass(test_uid(9), answer), 1) << "there is an answer while it is there";
    EXPECT_EQ(CPINQFUnknown::Factory_Release(), 1);
    EXPECT_EQ(faults_of(threads,
                        [&](unsigned int index)
                        {
                            Faults faults;
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                if (index == 0)
                                {
                                    faults.expect(CPINQFUnknown::Factory_Set(&factory) == 1);
                                    if (round % 8 == 0)
                                        std::this_thread::yield();
                                    faults.expect(CPINQFUnknown::Factory_Release() == 1);
                                    continue;
                                }
                                _nqfUID class_id = test_uid(1);
                                int const found = CPINQFUnknown::Factory_FindClass(test_uid(9), class_id);
                                faults.expect(same(class_id, found == 1 ? test_uid(55) : _nqfUID{}));
                                CPINQFUnknown::Factory_FindDefinition(test_uid(9));
                                CPINQFUnknown::Factory_EnumDefinitions(test_uid(9));
                                ORVA::NQF::tagCOMPONENT_INFO info;
                                CPINQFUnknown::Factory_GetComponentInfo(test_uid(9), info);
                                CPNQI<INQFComponentFactory> handle;
                                bool const had = CPINQFUnknown::Factory_Acquire(handle) == 1;
                                faults.expect(had == static_cast<bool>(handle));
                                CPINQFUnknown made;
                                faults.expect(made.createInstance(test_uid(5)) == static_cast<bool>(made));
                            }
                            return faults;
                        }),
              0U);
    EXPECT_FALSE(CPINQFUnknown::Factory_IsAvailable());
    EXPECT_EQ(factory.count, 1);
    EXPECT_EQ(object.count, 1);
    EXPECT_EQ(definition.count, 1);
}

// A handle belongs to one thread, the object behind it to all.
TEST_F(ComponentRaces, handles_of_several_threads_on_one_object_balance)
{
    constexpr unsigned int rounds = 2000;
    EXPECT_EQ(faults_of(threads,
                        [&](unsigned int)
                        {
                            Faults faults;
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                CPINQFUnknown const own(&object);
                                CPINQFUnknown copy(own);
                                CPINQFUnknown third;
                                third = copy;
                                races::mix(round);
                                copy.free();
                                faults.expect(third && third == own);
                            }
                            return faults;
                        }),
              0U);
    EXPECT_EQ(object.count, 1);
}

} // namespace
