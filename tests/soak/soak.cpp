/// @file
/// Uses the library from eight threads for as long as it is told, and checks that nothing goes wrong and nothing grows.
///
///     soak SECONDS
///
/// The time is divided into stretches. In each the workers do what work.h lists, in any order; at the quiet point behind
/// it they have ended, everything is let go and the pool is collected: it must have its former size and be good, and
/// what the process takes is sampled. At some of these points the library is stopped and started. At the end memory,
/// descriptors and threads must be level with the first sample after the warm-up. The first failed check ends the
/// process, and so does a thread that makes no progress for a minute. The result is 0 if all is clean, and 1 if not.
#include "measures.h"
#include "run.h"

#include "ORVA/Core.h"
#include "ORVA/Maintenance.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <filesystem>

#include <unistd.h>

namespace
{

using namespace soak;
using ORVA::String::CStringPool;

constexpr double shortest_stretch = 0.1; // seconds
constexpr double longest_stretch = 30;
constexpr double stretches = 20;
constexpr double share_of_warm_up = 0.2;

// A report is a failed check, wherever it comes from.
void no_failure(_nqfDebugLevel level, wchar_t const*, char const* file, int line, wchar_t const* format, va_list args)
{
    if (level != _nqfDebugFailure)
        return;
    wchar_t text[300] = L"";
    std::vswprintf(text, 300, format, args);
    std::fprintf(stderr, "soak: reported by %s, %d: %ls\n", file, line, text);
    check(false, "the library reports no failure");
}

class OwnDirectory
{
public:
    OwnDirectory()
    {
        auto const memory = std::filesystem::path("/dev/shm");
        auto const parent =
            ::access(memory.c_str(), W_OK | X_OK) == 0 ? memory : std::filesystem::temp_directory_path();
        m_path = (parent / "orva_soak_XXXXXX").string();
        check(::mkdtemp(m_path.data()) != nullptr, "there is a place for files");
    }
    ~OwnDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    OwnDirectory(OwnDirectory const&) = delete;
    OwnDirectory& operator=(OwnDirectory const&) = delete;

    std::string const& path() const { return m_path; }

private:
    std::string m_path;
};

void let_go(Shared& shared)
{
    for (auto& string : shared.mailbox)
        string.free();
    for (auto& parcel : shared.parcels)
        parcel.free();
}

// The classes that the workers register keep their names in the pool; all are there from the start.
void register_all_classes()
{
    for (unsigned int number = 0; number < class_count; ++number)
        register_class(number);
}

void collect_all()
{
    // A string goes with the second pass behind its last release.
    for (int pass = 0; pass < 2; ++pass)
        check(CStringPool::Collect(no_limit) == 1, "a collection goes through");
    check(CStringPool::Verify() == 1, "the pool is good");
}

void restart_library()
{
    Watch::main_does("stopping the library");
    ORVA::AppExit();
    check(!ORVA::Maintenance::IsActive(), "the library stops");
    Watch::main_does("starting the library");
    check(ORVA::AppInit() == 1 && ORVA::Maintenance::IsActive(), "the library starts");
}

class Soak
{
public:
    explicit Soak(double seconds)
        : m_seconds(seconds), m_stretch(std::clamp(seconds / stretches, shortest_stretch, longest_stretch)),
          m_tally(operation_count)
    {
        m_samples.reserve(1 + static_cast<std::size_t>(seconds / m_stretch));
        m_shared.directory = m_directory.path();
        register_all_classes();
        collect_all();
        m_pool = CStringPool::GetSize();
    }

    void run()
    {
        // A busy machine may do too little in a short time to compare anything.
        while (elapsed() < m_seconds || m_samples.size() < m_warm_up + 3 || least_done() == 0)
        {
            if (m_samples.size() % 3 == 2)
                restart_library();
            Watch::main_does(nullptr); // waits for the workers
            run_workers(m_shared, m_stretch, m_tally);
            Watch::main_does("a quiet point");
            rest();
            if (elapsed() < share_of_warm_up * m_seconds)
                m_warm_up = m_samples.size();
        }
    }

    // Tells whether all is clean.
    bool report() const
    {
        std::printf("%-20s %12s\n", "operation", "done");
        for (std::size_t index = 0; index < operation_count; ++index)
            std::printf("%-20s %12lu\n", operations[index].name, m_tally[index]);
        print_samples(m_samples, m_warm_up);
        Sample const& first = m_samples[m_warm_up];
        Sample const& last = m_samples.back();
        bool const clean = is_level(first, last);
        std::printf("soak: %.3g minutes, %lu operations, memory %lu -> %lu bytes, descriptors %lu -> %lu, %s\n",
                    m_seconds / 60, last.operations, memory_of(first), memory_of(last), first.descriptors,
                    last.descriptors, clean ? "clean" : "NOT CLEAN");
        return clean;
    }

private:
    using Clock = std::chrono::steady_clock;

    double elapsed() const { return std::chrono::duration<double>(Clock::now() - m_start).count(); }

    unsigned long least_done() const { return *std::min_element(m_tally.begin(), m_tally.end()); }

    void rest()
    {
        let_go(m_shared);
        collect_all();
        Sample sample = take_sample();
        sample.seconds = elapsed();
        for (unsigned long const done : m_tally)
            sample.operations += done;
        sample.pool = CStringPool::GetSize();
        check(sample.pool == m_pool, "the pool is as large as at the start");
        m_samples.push_back(sample);
    }

    double const m_seconds;
    double const m_stretch;
    Clock::time_point const m_start = Clock::now();
    OwnDirectory m_directory;
    Shared m_shared;
    Tally m_tally;
    unsigned long m_pool = 0; // bytes
    std::vector<Sample> m_samples;
    std::size_t m_warm_up = 1;
};

} // namespace

int main(int count, char** arguments)
{
    double const seconds = count == 2 ? std::atof(arguments[1]) : 0;
    if (!(seconds > 0))
    {
        std::fprintf(stderr, "usage: soak SECONDS\n");
        return 2;
    }
    ORVA::Develop::SetExternalLogger(no_failure);
    check(ORVA::AppInit() == 1, "the library starts");
    bool clean = false;
    {
        Watch const watch;
        Soak soak(seconds);
        soak.run();
        clean = soak.report();
    }
    ORVA::AppExit();
    check(!ORVA::Maintenance::IsActive(), "the library stops");
    return clean ? 0 : 1;
}
