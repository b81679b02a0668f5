// How much of a thread's stack the library takes. Threads may have as little as 16 KB, of which the C library's own data and
// the dynamic linker, at the first call of each function, take 7 KB.
#include "ORVA/ORVA.h"

#include "support/FreshProcess.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include <pthread.h>

namespace
{

using namespace ORVA;

// Accents throughout: more than any part of a text that has room on the stack.
unsigned char const* long_text()
{
    static std::string const text = []
    {
        std::string made;
        for (int count = 0; count < 5000; ++count)
            made += "\xC3\xA9";
        return made;
    }();
    return reinterpret_cast<unsigned char const*>(text.c_str());
}

unsigned char const* text = nullptr;
wchar_t wide[6000];
unsigned char narrow[30000];

void do_nothing() {}

void hold()
{
    String::CNQFWChar const held(text);
    ASSERT_TRUE(static_cast<bool>(held));
}

void convert()
{
    ASSERT_EQ(String::UTF8_To_nqfWChar(text, ~0UL, wide, 6000), 5001U);
}

void convert_back()
{
    ASSERT_EQ(String::nqfWChar_To_UTF8(wide, ~0UL, narrow, sizeof narrow), 10001U);
}

void pool()
{
    String::CPPoolString const pooled(text);
    ASSERT_EQ(pooled.len(), 5000U);
}

void* run(void* work)
{
    reinterpret_cast<void (*)()>(work)();
    return nullptr;
}

// The bytes at the end of a painted stack that a thread leaves as they were.
unsigned long left_by(void (*work)())
{
    constexpr unsigned char paint = 0xEE;
    constexpr unsigned long size = 256UL * 1024;
    static unsigned char* const stack = static_cast<unsigned char*>(std::aligned_alloc(4096, size));
    std::memset(stack, paint, size);
    pthread_attr_t attributes;
    EXPECT_EQ(pthread_attr_init(&attributes), 0);
    EXPECT_EQ(pthread_attr_setstack(&attributes, stack, size), 0);
    pthread_t thread;
    EXPECT_EQ(pthread_create(&thread, &attributes, run, reinterpret_cast<void*>(work)), 0);
    EXPECT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
    unsigned long left = 0;
    while (left < size && stack[left] == paint)
        ++left;
    return left;
}

// The stack that a call takes which is not the first one.
unsigned long stack_of(void (*work)())
{
    text = long_text();
    left_by(work);
    return left_by(do_nothing) - left_by(work);
}

TEST(StackUse, of_conversions_of_long_texts_is_small)
{
    EXPECT_LT(stack_of(convert), 2048U);
    EXPECT_LT(stack_of(convert_back), 2048U);
    EXPECT_LT(stack_of(hold), 2048U);
    EXPECT_LT(stack_of(pool), 3072U);
}

wchar_t const* answer = nullptr;

struct AskForStartupPath
{
    void run() { answer = Core::OS::GetStartupPath(); }
};

struct AskForProcessName
{
    void run() { answer = Core::OS::GetProcessName(); }
};

// In a process of its own, where each call into the library and out of it is bound on the small stack.
template <class Body>
void expect_answer_on_smallest_stack()
{
    support::in_fresh_process(
        []
        {
            Threading::CPThreadContext<Body> context;
            ASSERT_NE(context.create(), nullptr);
            Threading::_cThread thread;
            ASSERT_TRUE(thread.Execute(context, 1));
            ASSERT_EQ(thread.Wait(30000), 0);
            ASSERT_NE(answer, nullptr);
            EXPECT_STRNE(answer, L"");
        });
}

TEST(SmallestStack, is_enough_to_ask_for_the_startup_path)
{
    expect_answer_on_smallest_stack<AskForStartupPath>();
}

TEST(SmallestStack, is_enough_to_ask_for_the_name_of_the_process)
{
    expect_answer_on_smallest_stack<AskForProcessName>();
}

} // namespace
