// The parts of the process's identity that do not ask the system: the text that is kept, the directory in a path, and
// the lock around the question.
#include "BaseOS_Unix_common/process_identity.h"

#include "threading/locks_threads.h"

#include <gtest/gtest.h>

#include <csignal>
#include <new>
#include <stdexcept>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

namespace
{

using namespace ORVA::Core::OS;
using ORVA::Threading::CPCriticalSection;

/// A text without repetition in sight, so that a shifted copy shows.
std::wstring text_of_length(unsigned long length)
{
    std::wstring text;
    for (unsigned long at = 0; at < length; ++at)
        text += static_cast<wchar_t>(L'\u4E00' + at);
    return text;
}

TEST(CachedText, is_empty_at_first)
{
    CachedText const cache;
    EXPECT_FALSE(cache.is_filled());
    EXPECT_STREQ(cache.text(), L"");
}

TEST(CachedText, has_260_characters)
{
    EXPECT_EQ(sizeof(CachedText), 260 * sizeof(wchar_t));
}

TEST(CachedText, keeps_up_to_259_characters_whole)
{
    for (unsigned long const length : {1UL, 2UL, 3UL, 100UL, 258UL, 259UL})
    {
        CachedText cache;
        std::wstring const text = text_of_length(length);
        cache.fill(text.c_str(), length);
        EXPECT_TRUE(cache.is_filled());
        EXPECT_EQ(cache.text(), text);
        EXPECT_EQ(cache.text()[259], L'\0');
    }
}

TEST(CachedText, cuts_a_longer_text_to_259_characters)
{
    for (unsigned long const length : {260UL, 261UL, 1039UL, 5000UL})
    {
        CachedText cache;
        std::wstring const text = text_of_length(length);
        cache.fill(text.c_str(), length);
        EXPECT_EQ(cache.text(), text.substr(0, 259)) << length;
    }
}

TEST(CachedText, takes_as_many_characters_as_told)
{
    CachedText cache;
    cache.fill(L"/opt/app/program", 9);
    EXPECT_STREQ(cache.text(), L"/opt/app/");
}

TEST(CachedText, stays_empty_without_characters)
{
    CachedText cache;
    cache.fill(L"abc", 0);
    EXPECT_FALSE(cache.is_filled());
    EXPECT_STREQ(cache.text(), L"");
}

/// A text of which the characters from `split` on lie in a page of their own that cannot be written at first. The first
/// write there finds out whether the text was marked as filled before it, and goes on.
class WatchedText
{
public:
    explicit WatchedText(unsigned long split) : m_page(static_cast<unsigned long>(::sysconf(_SC_PAGESIZE)))
    {
        void* const memory = ::mmap(nullptr, 2 * m_page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED)
            throw std::bad_alloc();
        m_memory = static_cast<char*>(memory);
        m_text = new (m_memory + m_page - split * sizeof(wchar_t)) CachedText;
        ::mprotect(m_memory + m_page, m_page, PROT_READ);
        watched = this;
        struct sigaction action = {};
        action.sa_handler = look;
        ::sigaction(SIGSEGV, &action, &m_old_action);
        ::sigaction(SIGBUS, &action, &m_old_bus_action);
    }
    ~WatchedText()
    {
        ::sigaction(SIGSEGV, &m_old_action, nullptr);
        ::sigaction(SIGBUS, &m_old_bus_action, nullptr);
        watched = nullptr;
        ::munmap(m_memory, 2 * m_page);
    }
    WatchedText(WatchedText const&) = delete;
    WatchedText& operator=(WatchedText const&) = delete;

    CachedText& text() { return *m_text; }
    bool was_written() const { return m_writes == 1; }
    bool was_filled_before() const { return m_was_filled; }

private:
    static void look(int)
    {
        watched->m_was_filled = watched->m_text->is_filled();
        watched->m_writes = watched->m_writes + 1;
        ::mprotect(watched->m_memory + watched->m_page, watched->m_page, PROT_READ | PROT_WRITE);
    }

    static WatchedText* watched;

    unsigned long m_page;
    char* m_memory = nullptr;
    CachedText* m_text = nullptr;
    struct sigaction m_old_action = {};
    struct sigaction m_old_bus_action = {};
    int volatile m_writes = 0;
    bool volatile m_was_filled = false;
};

WatchedText* WatchedText::watched = nullptr;

// Whoever looks without a lock must not find a part of a text: the characters behind the first and the terminator are
// written while it is still empty.
TEST(CachedText, is_marked_as_filled_when_all_else_is_written)
{
    std::wstring const text = text_of_length(300);
    for (unsigned long const length : {1UL, 2UL, 100UL, 259UL, 300UL})
        for (unsigned long const split : {1UL, length < 259 ? length : 259UL})
        {
            WatchedText watch(split);
            watch.text().fill(text.c_str(), length);
            EXPECT_TRUE(watch.was_written()) << length << " " << split;
            EXPECT_FALSE(watch.was_filled_before()) << length << " " << split;
            EXPECT_EQ(watch.text().text(), text.substr(0, length < 259 ? length : 259));
        }
}

TEST(Directory, reaches_to_the_last_slash_or_backslash)
{
    EXPECT_EQ(directory_length(L"/opt/app/program"), 9UL);
    EXPECT_EQ(directory_length(L"/program"), 1UL);
    EXPECT_EQ(directory_length(L"/"), 1UL);
    EXPECT_EQ(directory_length(L"\\"), 1UL);
    EXPECT_EQ(directory_length(L"a/"), 2UL);
    EXPECT_EQ(directory_length(L"a//"), 3UL);
    EXPECT_EQ(directory_length(L"a/b\\c"), 4UL);
    EXPECT_EQ(directory_length(L"a\\b/c"), 4UL);
    EXPECT_EQ(directory_length(L"C:\\dir\\program"), 7UL);
}

TEST(Directory, is_absent_without_a_separator)
{
    EXPECT_EQ(directory_length(L""), 0UL);
    EXPECT_EQ(directory_length(L"program"), 0UL);
    EXPECT_EQ(directory_length(L"a:b"), 0UL);
}

/// What is kept of the path of a program in a directory of `length` characters, its separator included.
std::wstring kept_of_directory(unsigned long length)
{
    CachedText cache;
    fill_with_directory(cache, (text_of_length(length - 1) + L"/program").c_str());
    return cache.text();
}

TEST(Directory, is_kept_whole_up_to_259_characters)
{
    EXPECT_EQ(kept_of_directory(1), L"/");
    EXPECT_EQ(kept_of_directory(2), text_of_length(1) + L"/");
    EXPECT_EQ(kept_of_directory(259), text_of_length(258) + L"/");
}

TEST(Directory, is_cut_to_259_characters_up_to_1039)
{
    for (unsigned long const length : {260UL, 261UL, 1023UL, 1024UL, 1038UL, 1039UL})
        EXPECT_EQ(kept_of_directory(length), text_of_length(259)) << length;
}

TEST(Directory, is_refused_above_1039_characters)
{
    for (unsigned long const length : {1040UL, 1041UL, 4000UL})
        EXPECT_EQ(kept_of_directory(length), L"") << length;
}

TEST(Directory, is_refused_by_its_own_length_and_not_the_paths)
{
    CachedText cache;
    fill_with_directory(cache, (L"/opt/" + text_of_length(3000)).c_str());
    EXPECT_STREQ(cache.text(), L"/opt/");
}

TEST(Directory, of_no_path_and_of_a_bare_name_leaves_the_text_empty)
{
    for (wchar_t const* const path : {static_cast<wchar_t const*>(nullptr), L"", L"program"})
    {
        CachedText cache;
        fill_with_directory(cache, path);
        EXPECT_FALSE(cache.is_filled());
        EXPECT_STREQ(cache.text(), L"");
    }
}

/// The section of the test that is running, and how often its question was put.
CPCriticalSection* asked_section = nullptr;
int asked = 0;

void answer(CachedText& cache)
{
    ++asked;
    EXPECT_FALSE(locks::is_free(*asked_section));
    cache.fill(L"answer", 6);
}

void leave_empty(CachedText&)
{
    ++asked;
}

void fail(CachedText&)
{
    ++asked;
    throw std::runtime_error("no answer");
}

void answer_and_fail(CachedText& cache)
{
    cache.fill(L"answer", 6);
    fail(cache);
}

class FindOut : public ::testing::Test
{
protected:
    void SetUp() override
    {
        asked_section = &section;
        asked = 0;
    }

    CachedText cache;
    CPCriticalSection section;
};

TEST_F(FindOut, asks_with_the_section_held_and_leaves_it)
{
    EXPECT_EQ(find_out(cache, section, answer), cache.text());
    EXPECT_STREQ(cache.text(), L"answer");
    EXPECT_EQ(asked, 1);
    EXPECT_TRUE(locks::is_free(section));
}

TEST_F(FindOut, does_not_ask_for_a_text_that_another_thread_has_filled_in_meanwhile)
{
    cache.fill(L"earlier", 7);
    EXPECT_STREQ(find_out(cache, section, answer), L"earlier");
    EXPECT_EQ(asked, 0);
    EXPECT_TRUE(locks::is_free(section));
}

TEST_F(FindOut, does_not_remember_that_there_was_no_answer)
{
    EXPECT_STREQ(find_out(cache, section, leave_empty), L"");
    EXPECT_STREQ(find_out(cache, section, leave_empty), L"");
    EXPECT_EQ(asked, 2);
    EXPECT_TRUE(locks::is_free(section));
    EXPECT_STREQ(find_out(cache, section, answer), L"answer");
}

TEST_F(FindOut, drops_an_exception_and_leaves_the_section)
{
    EXPECT_EQ(find_out(cache, section, fail), cache.text());
    EXPECT_STREQ(cache.text(), L"");
    EXPECT_TRUE(locks::is_free(section));
    EXPECT_STREQ(find_out(cache, section, answer), L"answer");
}

TEST_F(FindOut, keeps_the_text_that_was_there_when_an_exception_came)
{
    EXPECT_STREQ(find_out(cache, section, answer_and_fail), L"answer");
    EXPECT_TRUE(locks::is_free(section));
}

} // namespace
