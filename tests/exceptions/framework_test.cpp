// Objects of the component framework that throw, in each call that an operation makes.
#include "exceptions/framework_operations.h"
#include "exceptions/thrown.h"

#include "support/LogRecorder.h"

#include "ORVA/NQF/TypedInterface.h"

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace exceptions;
using components::word_of;
using namespace ORVA::NQF;
using namespace support;

void release_factory()
{
    while (g_uFactoryLock != 0)
        CPINQFUnknown::Factory_Release();
    EXPECT_FALSE(CPINQFUnknown::Factory_IsAvailable());
}

class ThrowingFramework : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_FALSE(CPINQFUnknown::Factory_IsAvailable());
        ASSERT_EQ(g_uFactoryLock, 0U);
    }

    LogRecorder recorder;
};

// The double throws before it counts. So a release that throws leaves its reference, and a query or an `AddRef` takes
// none. The one thing that is not in balance is stated: a raw pointer whose query fails is released twice.
int references_too_many(FrameworkOperation const& operation, Calls const& calls)
{
    std::string const& last = calls.back();
    if (last.find(".Release") != std::string::npos)
        return 1;
    bool const is_resolution =
        std::find(operation.resolutions.begin(), operation.resolutions.end(), last) != operation.resolutions.end();
    return is_resolution && std::count(calls.begin(), calls.end(), last) == 1 ? -1 : 0;
}

void throw_in(FrameworkOperation const& operation, Fuse& fuse, LogRecorder& recorder)
{
    World world;
    ASSERT_EQ(CPINQFUnknown::Factory_Set(&world.factory), 1);
    Calls calls; // up to the one that throws
    world.journal.on_call = [&](std::string const& call)
    {
        if (!fuse.has_blown())
            calls.push_back(call);
        fuse.call();
    };
    bool succeeded = false;
    EXPECT_FALSE(thrown_by([&] { succeeded = operation.run(world); }).has_value()) << "the exception came out";
    world.journal.on_call = nullptr;
    SCOPED_TRACE(testing::Message() << operation.name << ", in " << calls.back());
    EXPECT_TRUE(succeeded || fuse.has_blown());
    EXPECT_TRUE(locks::is_free(g_csFactory));
    for (LogMessage const& message : recorder.take())
        EXPECT_EQ(message, illegal_point("CPINQFUnknown::free exception"));

    if (g_uFactoryLock == 0)
    {
        EXPECT_EQ(CPINQFUnknown::Factory_Set(&world.factory), 1);
    }
    EXPECT_EQ(g_uFactoryLock, 1U);
    int const references = world.references();
    EXPECT_TRUE(operation.run(world)) << "afterwards";
    EXPECT_EQ(world.references(), references) << "afterwards";
    release_factory();
    EXPECT_EQ(world.references(),
              World::own_references + (fuse.has_blown() ? references_too_many(operation, calls) : 0));
}

TEST_F(ThrowingFramework, EndsAtTheBorderInEveryCallOfEveryOperation)
{
    for (FrameworkOperation const& operation : operations)
        EXPECT_GT(at_each_call([&](Fuse& fuse) { throw_in(operation, fuse, recorder); }), 0U) << operation.name;
}

// What was written before the throw holds a reference, which goes with the handle.
TEST_F(ThrowingFramework, ThatWritesItsAnswerBeforeItThrowsLosesNoReference)
{
    std::pair<char const*, std::function<bool()>> const questions[] = {
        {"factory.EnumDefinitions",
         [] { return static_cast<bool>(CPINQFUnknown::Factory_EnumDefinitions(test_uid(9))); }},
        {"factory.FindDefinition",
         [] { return static_cast<bool>(CPINQFUnknown::Factory_FindDefinition(test_uid(9))); }},
        {"factory.FindDefinition",
         []
         {
             _nqfUID class_id = {};
             return CPINQFUnknown::Factory_FindClass(test_uid(9), class_id) != 0;
         }},
    };
    for (auto const& [call, ask] : questions)
    {
        for (Thrown const what : both_kinds)
        {
            World world;
            world.factory.gives_before_failing = true;
            ASSERT_EQ(CPINQFUnknown::Factory_Set(&world.factory), 1);
            world.journal.on_call = [&, wanted = call](std::string const& made)
            {
                if (made.find(wanted) == 0)
                    raise(what);
            };
            bool answered = true;
            EXPECT_FALSE(thrown_by([&, &question = ask] { answered = question(); }).has_value()) << call;
            EXPECT_FALSE(answered) << call;
            world.journal.on_call = nullptr;
            release_factory();
            EXPECT_EQ(world.references(), World::own_references) << call;
        }
    }
}

TEST_F(ThrowingFramework, InTheReleaseOfAHandleIsReportedOnce)
{
    for (Thrown const what : both_kinds)
    {
        World world;
        for (bool const by_the_destructor : {false, true})
        {
            Fuse fuse;
            world.journal.on_call = [&fuse](std::string const&) { fuse.call(); };
            std::optional<Thrown> const thrown = thrown_by(
                [&]
                {
                    CPINQFUnknown handle(&world.object);
                    fuse = Fuse(1, what);
                    if (!by_the_destructor)
                    {
                        handle.free();
                        EXPECT_FALSE(handle);
                    }
                });
            EXPECT_FALSE(thrown.has_value());
            EXPECT_EQ(recorder.take(), LogMessages{illegal_point("CPINQFUnknown::free exception")});
            world.journal.on_call = nullptr;
        }
    }
}

/// An interface whose identifier cannot be had.
struct Nameless
{
    inline static Thrown what = Thrown::standard;
};

/// A handle whose type cannot be had.
class TypelessHandle final : public CPINQFUnknown
{
public:
    using CPINQFUnknown::operator=;
    _nqfUID const& GetType() const override { raise(Nameless::what); }
};

} // namespace

template <>
_nqfUID const& __nqf_uuidof<Nameless>()
{
    raise(Nameless::what);
}

namespace
{

template <class Handle>
void expect_no_pointer_of(Handle& handle, World& world)
{
    for (Thrown const what : both_kinds)
    {
        Nameless::what = what;
        EXPECT_FALSE(thrown_by([&] { handle = &world.object; }).has_value());
        EXPECT_EQ(word_of(handle), 1U);
        EXPECT_EQ(handle._addRef(&world.object), nullptr);
        CPINQFUnknown const source(&world.object);
        EXPECT_FALSE(thrown_by([&] { handle = source; }).has_value());
        EXPECT_FALSE(handle);
        EXPECT_EQ(CPINQFUnknown::Factory_Acquire(handle), 0);
        EXPECT_TRUE(locks::is_free(g_csFactory));
    }
    EXPECT_EQ(world.references(), World::own_references + 1);
}

TEST_F(ThrowingFramework, AndATypeThatCannotBeHadAreAFailedQuery)
{
    World world;
    ASSERT_EQ(CPINQFUnknown::Factory_Set(&world.factory), 1);
    TypelessHandle typeless;
    expect_no_pointer_of(typeless, world);
    CPNQI<Nameless> nameless;
    expect_no_pointer_of(nameless, world);
    release_factory();
    EXPECT_EQ(recorder.count(), 0U);
}

} // namespace
