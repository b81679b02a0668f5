#include "ORVA/Buffers/Sort.h"
#include "ORVA/Core.h"
#include "ORVA/Files.h"
#include "ORVA/Maintenance.h"
#include "ORVA/Math.h"
#include "ORVA/NQF.h"
#include "ORVA/String.h"
#include "ORVA/Threading.h"

#include "cstringpool/globals.h"
#include "races/together.h"
#include "support/FreshProcess.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// What all threads may use without a lock, because it is not changed, or is made once at the first use.
namespace
{

using namespace ORVA;
using races::Faults;
using races::faults_of;

constexpr unsigned int threads = 4;

template <class T>
void add(std::string& to, T const& value)
{
    to.append(reinterpret_cast<char const*>(&value), sizeof value);
}

void add(std::string& to, wchar_t const* text)
{
    to.append(reinterpret_cast<char const*>(text), std::wcslen(text) * sizeof(wchar_t));
}

void add(std::string& to, unsigned char const* text)
{
    to.append(reinterpret_cast<char const*>(text));
}

int in_order(void const* a, void const* b)
{
    auto const first = *static_cast<unsigned int const*>(a);
    auto const second = *static_cast<unsigned int const*>(b);
    return first < second ? -1 : (first == second ? 0 : 1);
}

// One of each of the functions that have no state of their own, on texts that depend on `round`: as bytes.
std::string results_of(unsigned int round, Buffers::CMachineCRC const& crc)
{
    std::string results;
    std::wstring const wide = L"Races \u00c4\u20ac " + std::to_wstring(round) + L" \U0001f600";
    add(results, crc.Eval(wide.data(), wide.size() * sizeof(wchar_t), round));
    String::tagSTRINGBASICINFO info = {};
    String::g_evaluator.Eval(info, wide.c_str());
    add(results, info);
    String::CUTF8Char const utf8(wide.c_str());
    add(results, *utf8);
    String::CUTF16Char const utf16(wide.c_str());
    add(results, String::CNQFWChar(*utf16).operator*());
    String::CANSIChar const ansi(L"\u20ac\u0160 plain");
    results += *ansi;
    add(results, String::CNQFWChar(*ansi).operator*());
    add(results, String::wctolower(wide[6]));
    add(results, String::wctoupper(static_cast<wchar_t>(L'a' + round % 26)));
    add(results, String::wcscmpi(wide.c_str(), L"RACES \u00e4"));
    NQF::cnqfuid const uid("24508B8F-A78E-4243-9E68-71AA029C838A");
    results += *uid.ANSI();
    add(results, Internetional::file_EncodeURL((L"/" + wide).c_str()).operator*());
    Files::tagCPATHPARSEINFO parts = {};
    std::wstring const path = L"/a/" + wide + L".txt";
    add(results, Files::FU_ParsePath(path.c_str(), parts, true));
    add(results, parts.pName - path.c_str());
    Math::CRational const half(static_cast<int>(round % 7) + 1, 2);
    add(results, half + Math::CRational(1, 3));
    std::vector<unsigned int> numbers(40);
    for (unsigned int index = 0; index < numbers.size(); ++index)
        numbers[index] = (index * 17 + round) % 41;
    Buffers::Sort::vfqsort(numbers.data(), numbers.size(), sizeof(unsigned int), in_order);
    results.append(reinterpret_cast<char const*>(numbers.data()), numbers.size() * sizeof(unsigned int));
    return results;
}

TEST(SharedTablesRaces, functions_without_state_give_every_thread_the_same)
{
    constexpr unsigned int rounds = 150;
    Buffers::CMachineCRC const crc(32, 0x04c11db7);
    std::vector<std::string> expected;
    for (unsigned int round = 0; round < rounds; ++round)
        expected.push_back(results_of(round, crc));
    EXPECT_NE(expected[0], expected[1]);
    EXPECT_EQ(faults_of(threads,
                        [&](unsigned int index)
                        {
                            Faults faults;
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                unsigned int const mine = (round + index * 31) % rounds;
                                faults.expect(results_of(mine, crc) == expected[mine]);
                            }
                            return faults;
                        }),
              0U);
}

// Each in a process that has not asked for it yet, by threads that come at the same time.
TEST(SharedTablesRaces, what_is_found_out_once_is_the_same_for_the_threads_that_come_first)
{
    for (int process = 0; process < 4; ++process)
    {
        support::in_fresh_process(
            []
            {
                std::vector<std::string> seen(threads);
                EXPECT_EQ(faults_of(threads,
                                    [&](unsigned int index)
                                    {
                                        Faults faults;
                                        std::string& own = seen[index];
                                        add(own, Core::OS::GetProcessName());
                                        add(own, Core::OS::GetStartupPath());
                                        add(own, __nqf_uuidof<Maintenance::IMaintenanceRequest>());
                                        add(own, __nqf_uuidof<Threading::IThreadExecute>());
                                        // The first folded evaluation finds out about the locale.
                                        String::CPPoolString const string(L"First Of All");
                                        add(own, string.sHashi());
                                        faults.expect(String::CStringPool::Verify() == 1);
                                        faults.expect(*Core::OS::GetProcessName() != 0);
                                        return faults;
                                    }),
                          0U);
                for (std::string const& own : seen)
                    EXPECT_EQ(own, seen[0]);
            });
    }
}

} // namespace
