#include "ORVA/String.h"
#include "ORVA/Threading/CriticalSection.h"

#include "races/together.h"
#include "support/LogRecorder.h"
#include "support/PoolTexts.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>
#include <thread>
#include <vector>

// Pooled strings in the hands of several threads, beside collections.
namespace
{

using namespace ORVA::String;
using races::Faults;
using races::faults_beside;
using races::faults_of;
using races::mix;

constexpr unsigned int no_limit = 0xFFFFFFFFU;
constexpr unsigned int workers = 3;

std::wstring text_of(unsigned int number)
{
    return L"races in the pool " + std::to_wstring(number);
}

std::basic_string<unsigned char> narrow(std::wstring const& text)
{
    return {text.begin(), text.end()};
}

// What nobody holds is gone after two passes. Ends with the pool as large as it was, and nothing reported.
class PoolRaces : public testing::Test
{
protected:
    PoolRaces()
    {
        collect();
        m_before = CStringPool::GetSize();
    }
    ~PoolRaces() override
    {
        EXPECT_EQ(m_recorder.count(), 0U);
        EXPECT_EQ(CStringPool::Verify(), 1U);
        collect();
        EXPECT_EQ(CStringPool::GetSize(), m_before);
    }

    // Runs `work` in some threads and collects in one more until they have ended.
    template <class Work>
    unsigned long beside_collections(Work work)
    {
        return faults_beside(workers, work,
                             [](Faults& faults)
                             {
                                 faults.expect(CStringPool::Collect(no_limit) == 1);
                                 std::this_thread::yield();
                             });
    }

private:
    static void collect()
    {
        for (int pass = 0; pass < 2; ++pass)
            EXPECT_EQ(CStringPool::Collect(no_limit), 1U);
    }

    // The pool must have had a string, so that it can be verified.
    CPPoolString m_kept{L"races in the pool, kept"};
    unsigned long m_before = 0;
    support::LogRecorder m_recorder;
};

TEST_F(PoolRaces, strings_that_are_handed_over_keep_their_text)
{
    constexpr unsigned int rounds = 2500;
    constexpr unsigned int texts = 40;
    constexpr unsigned int places = 6;
    ORVA::Threading::CPCriticalSection section;
    std::array<CPPoolString, places> mailbox;
    EXPECT_EQ(beside_collections(
                  [&](unsigned int index)
                  {
                      Faults faults;
                      std::mt19937 random(index);
                      for (unsigned int round = 0; round < rounds; ++round)
                      {
                          std::wstring const text = text_of(static_cast<unsigned int>(random() % texts));
                          CPPoolString string(text.c_str());
                          faults.expect(string == text.c_str());
                          mix(round);
                          section.Enter();
                          std::swap(string, mailbox[random() % places]);
                          section.Leave();
                          // The last handle on what came may be this one.
                          if (string.isdef())
                          {
                              faults.expect(string.cmpp(L"races in the pool ") == 0);
                              faults.expect(string.Verify() == 1);
                          }
                      }
                      return faults;
                  }),
              0U);
}

// While somebody holds a string, every way to its text leads to the same record; when the last handle goes, the record
// may be found again, or be made anew, or be gone.
TEST_F(PoolRaces, last_release_meets_queries_and_collections)
{
    constexpr unsigned int rounds = 1200;
    constexpr unsigned int texts = 3;
    EXPECT_EQ(beside_collections(
                  [&](unsigned int index)
                  {
                      Faults faults;
                      for (unsigned int round = 0; round < rounds; ++round)
                      {
                          std::wstring const text = text_of(1000 + (round + index) % texts);
                          std::basic_string<unsigned char> const bytes = narrow(text);
                          CPPoolString const found = CStringPool::QueryStringRef(text.c_str());
                          faults.expect(found.isnull() || found == text.c_str());
                          mix(round);
                          CPPoolString const made(bytes.c_str());
                          faults.expect(found.isnull() || found == made);
                          faults.expect(made == CPPoolString(CStringPool::QueryStringRef(bytes.c_str())));
                          faults.expect(made == CPPoolString(CStringPool::GetStringRefi(text.c_str())));
                          faults.expect(made == CPPoolString(CStringPool::QueryStringRefni(text.c_str(), text.size())));
                      }
                      return faults;
                  }),
              0U);
}

// The UTF-8 form is made by whoever comes first and freed with the record, by whoever lets go last. Nothing but the form
// itself orders the threads between two meetings.
TEST_F(PoolRaces, utf8_forms_are_made_read_and_freed_with_their_records)
{
    constexpr unsigned int rounds = 300;
    std::array<std::vector<CPPoolString>, workers> held;
    for (unsigned int round = 0; round < rounds; ++round)
    {
        CPPoolString const string((text_of(2000 + round) + std::wstring(2000, L'u')).c_str());
        for (std::vector<CPPoolString>& strings : held)
            strings.push_back(string);
    }
    std::vector<std::array<unsigned char const*, workers>> forms(rounds);
    races::MeetingPoint point(workers);
    EXPECT_EQ(faults_of(workers,
                        [&](unsigned int index)
                        {
                            Faults faults;
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                std::wstring const text = text_of(2000 + round) + std::wstring(2000, L'u');
                                point.meet();
                                unsigned char const* const form = held[index][round];
                                faults.expect(narrow(text) == form);
                                forms[round][index] = form;
                                held[index][round].free();
                            }
                            return faults;
                        }),
              0U);
    for (auto const& form : forms)
    {
        for (unsigned char const* const own : form)
            EXPECT_EQ(own, form[0]);
    }
}

// Buckets grow while others search them and walk through them.
TEST_F(PoolRaces, tables_grow_beside_look_ups_and_walks)
{
    constexpr unsigned int share = 1500;
    std::array<std::vector<CPPoolString>, workers> made;
    unsigned long size = 0;
    EXPECT_EQ(faults_beside(
                  workers,
                  [&](unsigned int index)
                  {
                      Faults faults;
                      for (unsigned int number = 0; number < share; ++number)
                      {
                          std::wstring const own = text_of(10000 * (index + 1) + number);
                          made[index].emplace_back(own.c_str());
                          std::wstring const other = text_of(10000 * ((index + 1) % workers + 1) + number);
                          CPPoolString const found = CStringPool::QueryStringRef(other.c_str());
                          faults.expect(found.isnull() || found == other.c_str());
                      }
                      return faults;
                  },
                  [&size](Faults& faults)
                  {
                      faults.expect(CStringPool::Verify() == 1);
                      unsigned long const now = CStringPool::GetSize();
                      faults.expect(now >= size);
                      size = now;
                      std::this_thread::yield(); // the lock is not handed on fairly
                  }),
              0U);
    for (unsigned int index = 0; index < workers; ++index)
    {
        for (unsigned int number = 0; number < share; ++number)
            ASSERT_TRUE(made[index][number] == text_of(10000 * (index + 1) + number).c_str());
    }
}

// Spellings of one text share a chain, which is cut and joined while others walk along it.
TEST_F(PoolRaces, spellings_come_and_go_beside_searches_without_case)
{
    constexpr unsigned int rounds = 1000;
    wchar_t const* const spellings[] = {L"races spelt", L"Races Spelt", L"RACES SPELT", L"rACES sPELT"};
    EXPECT_EQ(beside_collections(
                  [&](unsigned int index)
                  {
                      Faults faults;
                      for (unsigned int round = 0; round < rounds; ++round)
                      {
                          mix(round);
                          CPPoolString const exact(spellings[(round + index) % 4]);
                          CPPoolString const any = CStringPool::QueryStringRefi(spellings[(round / 2) % 4]);
                          faults.expect(any.isdef() && any.iequals(exact));
                          faults.expect(exact == spellings[(round + index) % 4]);
                      }
                      return faults;
                  }),
              0U);
}

// Arrays, decoders and submitters are each thread's own; the strings in them are everybody's.
TEST_F(PoolRaces, arrays_of_shared_strings_are_built_and_joined_in_all_threads)
{
    constexpr unsigned int rounds = 250;
    EXPECT_EQ(beside_collections(
                  [&](unsigned int index)
                  {
                      Faults faults;
                      for (unsigned int round = 0; round < rounds; ++round)
                      {
                          CPPoolStringArray sorted(true);
                          for (unsigned int number = 0; number < 12; ++number)
                              sorted.Add(text_of(3000 + (number * 5 + round + index) % 12).c_str());
                          faults.expect(sorted.GetCount() == 12);
                          CPPoolString const joined = sorted.Flatten(L'\n');
                          faults.expect(joined == CPPoolString(*joined));
                          C3FFFEncoder const encoder(*joined, joined.len());
                          CPPoolString const encoded = encoder;
                          ORVA::Buffers::CPPlainMemory const bytes = C3FFFDecoder(encoded);
                          faults.expect(bytes.GetSize() == joined.len());
                          faults.expect(std::memcmp(bytes.get_cptr(), *joined, bytes.GetSize()) == 0);
                      }
                      return faults;
                  }),
              0U);
}

} // namespace
