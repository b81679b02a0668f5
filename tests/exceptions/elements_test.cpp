// Constructors, copies and destructors of what stands in blocks and vectors.
#include "ORVA/Buffers.h"
#include "ORVA/Threading/ThreadContext.h"

#include "exceptions/thrown.h"
#include "support/LogRecorder.h"

#include <vector>

namespace
{

using namespace exceptions;
using ORVA::Buffers::CPIObject;
using ORVA::Buffers::CPObject;
using ORVA::Buffers::CPObjectVector;
using ORVA::Threading::CPThreadContext;
using support::illegal_point;
using support::LogMessages;
using support::LogRecorder;

/// Owns a little memory, and comes by a fuse when it is made and copied.
class Element
{
public:
    Element() : Element(0) {}
    explicit Element(int value)
    {
        fuse.call();
        m_value = new int(value);
        ++live;
    }
    Element(Element const& source) : Element(*source.m_value) {}
    Element& operator=(Element const&) = delete;
    ~Element()
    {
        --live;
        delete m_value;
    }
    int value() const { return *m_value; }
    void run() {}

    inline static Fuse fuse;
    inline static int live = 0;

private:
    int* m_value;
};

using Vector = CPObjectVector<Element>;
using Values = std::vector<int>;

Values values_of(Vector const& vector)
{
    Values values;
    for (Element const& element : vector)
        values.push_back(element.value());
    return values;
}

Values sequence(int count)
{
    Values values;
    for (int value = 0; value < count; ++value)
        values.push_back(value);
    return values;
}

Vector vector_of(int count)
{
    Element::fuse = Fuse();
    Vector vector;
    for (int value = 0; value < count; ++value)
        vector.Insert(Element(value), 99);
    return vector;
}

class ThrowingElement : public testing::Test
{
protected:
    void TearDown() override
    {
        Element::fuse = Fuse();
        EXPECT_EQ(Element::live, 0);
        EXPECT_EQ(recorder.take(), LogMessages()) << "a report that the test does not state";
    }

    /// Runs `operation` with the fuse in place, and gives it back.
    template <class Operation>
    static bool run(Fuse& fuse, Operation operation)
    {
        Element::fuse = fuse;
        bool const thrown = lets_through(Element::fuse, operation);
        fuse = std::exchange(Element::fuse, Fuse());
        return thrown;
    }

    LogRecorder recorder;
};

TEST_F(ThrowingElement, LeavesAVectorWithThoseThatWereMade)
{
    EXPECT_EQ(at_each_call(
                  [](Fuse& fuse)
                  {
                      Vector vector = vector_of(3);
                      bool const thrown = run(fuse, [&] { EXPECT_EQ(vector.Alloc(5), 1); });
                      EXPECT_EQ(vector.GetCount(), thrown ? fuse.calls() - 1 : 5U);
                      EXPECT_EQ(Element::live, static_cast<int>(vector.GetCount()));
                      EXPECT_EQ(vector.Alloc(5), 1);
                  }),
              5U);
}

TEST_F(ThrowingElement, LeavesAVectorAsItWasWhenItIsInsertedAndWhenItIsMoved)
{
    for (bool const shared : {false, true})
    {
        // with room, and without
        for (int const count : {0, 3, 16, 32})
        {
            for (unsigned long const place : {0UL, 2UL, 99UL})
            {
                SCOPED_TRACE(testing::Message() << count << " elements, before " << place);
                unsigned long const calls = at_each_call(
                    [&](Fuse& fuse)
                    {
                        Vector vector = vector_of(count);
                        Vector const other = shared ? vector : Vector();
                        Element const item(count);
                        void const* const payload = vector.get_cptr();
                        bool const thrown = run(fuse, [&] { EXPECT_EQ(vector.Insert(item, place), 1); });
                        if (thrown)
                        {
                            EXPECT_EQ(values_of(vector), sequence(count));
                            EXPECT_EQ(vector.get_cptr(), payload);
                            EXPECT_EQ(Element::live, count + 1);
                            EXPECT_EQ(vector.Insert(item, place), 1);
                        }
                        EXPECT_EQ(vector.GetCount(), static_cast<unsigned long>(count) + 1);
                    });
                bool const grows = count % 16 == 0 && count != 0;
                EXPECT_EQ(calls, grows ? static_cast<unsigned long>(count) + 1 : 1U);
            }
        }
    }
}

TEST_F(ThrowingElement, LeavesAVectorAsItWasWhenRoomIsMade)
{
    EXPECT_EQ(at_each_call(
                  [](Fuse& fuse)
                  {
                      Vector vector = vector_of(4);
                      bool const thrown = run(fuse, [&] { EXPECT_EQ(vector.Reserve(40), 1); });
                      EXPECT_EQ(values_of(vector), sequence(4));
                      EXPECT_EQ(vector.GetAllocSize() / sizeof(Element), thrown ? 16U : 40U);
                      EXPECT_EQ(Element::live, 4);
                      EXPECT_EQ(vector.Reserve(50), 1);
                      EXPECT_EQ(values_of(vector), sequence(4));
                  }),
              4U);
}

/// Nothing throws after it, and it may be destroyed without having been made.
struct Refusing
{
    Refusing() { fuse.call(); }
    void run() {}
    void* queryInterface(_nqfUID const&) const { return nullptr; }
    inline static Fuse fuse;
};

template <class Handle>
void expect_a_block_without_an_object()
{
    for (Thrown const what : both_kinds)
    {
        Handle handle;
        Refusing::fuse = Fuse(1, what);
        EXPECT_EQ(thrown_by([&] { handle.create(); }), what);
        EXPECT_TRUE(handle);
        EXPECT_EQ(handle.lockcnt(), 1U);
        EXPECT_EQ(handle.create(), handle.get_ptr()) << "it is taken for an object from then on";
        EXPECT_EQ(Refusing::fuse.calls(), 1U);
        handle.free();
        EXPECT_NE(handle.create(), nullptr);
        EXPECT_EQ(Refusing::fuse.calls(), 2U);
    }
}

TEST_F(ThrowingElement, LeavesAnObjectHandleWithItsBlock)
{
    expect_a_block_without_an_object<CPObject<Refusing>>();
    expect_a_block_without_an_object<CPIObject<Refusing>>();
}

TEST_F(ThrowingElement, LeavesAContextOfAThreadEmpty)
{
    EXPECT_EQ(at_each_call(
                  [](Fuse& fuse)
                  {
                      CPThreadContext<Element> context;
                      bool const thrown = run(fuse, [&] { context.create(); });
                      EXPECT_EQ(static_cast<bool>(context), !thrown);
                      EXPECT_NE(context.create(), nullptr);
                  }),
              1U);
}

/// What no destructor is to do.
struct Indignant
{
    ~Indignant() noexcept(false)
    {
        if (what)
            raise(*std::exchange(what, std::nullopt));
    }
    void run() {}
    void* queryInterface(_nqfUID const&) const { return nullptr; }
    inline static std::optional<Thrown> what;
};

template <class Handle>
void expect_a_report_of(LogRecorder& recorder)
{
    for (Thrown const what : both_kinds)
    {
        Handle handle;
        ASSERT_NE(handle.create(), nullptr);
        Indignant::what = what;
        EXPECT_FALSE(thrown_by([&] { handle.free(); }).has_value());
        EXPECT_FALSE(handle);
        EXPECT_EQ(recorder.take(), LogMessages{illegal_point("CPObjectMemory::Free exception")});
        EXPECT_NE(handle.create(), nullptr);
    }
}

TEST_F(ThrowingElement, ThatThrowsInItsDestructorIsReported)
{
    expect_a_report_of<CPObject<Indignant>>(recorder);
    expect_a_report_of<CPIObject<Indignant>>(recorder);
    expect_a_report_of<CPThreadContext<Indignant>>(recorder);
}

struct Ordinary
{
    ~Ordinary() { Indignant const member; }
};

// A destructor that is not declared to throw ends the process, in a block as anywhere.
TEST_F(ThrowingElement, ThatThrowsInADestructorOfTheUsualKindEndsTheProcess)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        {
            CPObject<Ordinary> handle;
            handle.create();
            Indignant::what = Thrown::standard;
            handle.free();
        },
        "UserError");
}

} // namespace
