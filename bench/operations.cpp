// The key operations of the library on fixed inputs, for ./dev bench --check, which counts their instructions under
// valgrind. Prints what the counts depend on, and for each operation its name and how many calls of it were counted.
#include "ORVA/ORVA.h"

#include "crc_kernels.h"
#include "cstringpool/evaluation_kernels.h"

#include <benchmark/benchmark.h>
#include <boost/version.hpp>
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gnu/libc-version.h>

namespace
{

using namespace ORVA;
using benchmark::DoNotOptimize;
using String::CPPoolString;

// Counts `rounds` calls of `work`, which is given the number of the call.
template <class Work>
void count(char const* name, unsigned long rounds, Work work)
{
    CALLGRIND_TOGGLE_COLLECT;
    for (unsigned long round = 0; round < rounds; ++round)
        work(round);
    CALLGRIND_TOGGLE_COLLECT;
    CALLGRIND_DUMP_STATS_AT(name);
    std::printf("%s ; %lu\n", name, rounds);
}

// The same after a few calls that are not counted: the first ones choose kernels and fill caches.
template <class Work>
void count_warm(char const* name, unsigned long rounds, Work work)
{
    for (unsigned long round = 0; round < 4; ++round)
        work(round);
    count(name, rounds, work);
}

// Texts stand where the number of steps over them does not depend on the place.
template <class Unit, unsigned long size>
struct alignas(64) Text
{
    Unit units[size + 1] = {};
};

template <class Unit, unsigned long size>
Text<Unit, size> name_like_text()
{
    static constexpr char sample[] = "Name_of-file(02).txt ";
    Text<Unit, size> text;
    for (unsigned long i = 0; i < size; ++i)
        text.units[i] = static_cast<Unit>(sample[i % (sizeof sample - 1)]);
    return text;
}

constexpr unsigned long name_count = 4096;

// Names of 12 to 27 characters.
Text<wchar_t, 27> const* names()
{
    static std::vector<Text<wchar_t, 27>> const all = []
    {
        std::vector<Text<wchar_t, 27>> made(name_count);
        for (unsigned long i = 0; i < name_count; ++i)
        {
            std::wstring const text =
                L"Take " + std::to_wstring(10000 + i) + std::wstring(L", of the evening", 2 + i % 14);
            text.copy(made[i].units, 27);
        }
        return made;
    }();
    return all.data();
}

void count_pool()
{
    std::vector<CPPoolString> kept;
    kept.reserve(name_count);
    Text<wchar_t, 27> const* const texts = names();
    count("pooling of a new string", name_count, [&](unsigned long i) { kept.emplace_back(texts[i].units); });
    count_warm("look-up of a pooled string", name_count,
               [&](unsigned long i)
               {
                   CPPoolString const pooled(texts[i].units);
                   DoNotOptimize(pooled);
               });
}

template <unsigned long size>
void count_evaluation(char const* name)
{
    static Text<wchar_t, size> const text = name_like_text<wchar_t, size>();
    static String::CStringInfo const evaluator;
    count_warm(name, 100,
               [](unsigned long)
               {
                   String::tagSTRINGBASICINFO info;
                   evaluator.Eval(info, text.units);
                   DoNotOptimize(info);
               });
}

// Every eighth character is one of two bytes.
void count_conversion()
{
    static Text<unsigned char, 128> utf8;
    static Text<wchar_t, 64> wide;
    unsigned char* end = utf8.units;
    for (unsigned int i = 0; i < 64; ++i)
        String::nqfW32_utf8(end, i % 8 == 5 ? 0xE9 : 'a' + i % 26);
    count_warm("64 characters of UTF-8 to wide text", 100,
               [](unsigned long)
               {
                   DoNotOptimize(String::UTF8_To_nqfWChar(utf8.units, ~0UL, wide.units, 65));
                   benchmark::ClobberMemory();
               });
}

void count_check()
{
    static Text<unsigned char, 1024> const bytes = name_like_text<unsigned char, 1024>();
    static Buffers::CMachineCRC const crc(64, 0x42f0e1eba9ea3693);
    count_warm("CRC-64 of 1 KB", 100, [](unsigned long) { DoNotOptimize(crc.Eval(bytes.units, 1024, 0)); });
}

class Table : public Lookup::CBaseHashTable
{
public:
    Table() : CBaseHashTable(8) {}
    int compare(Buffers::CPObjectMemory const&, Buffers::CPObjectMemory const&) override { return 0; }
};

// In 256 buckets of 39 on average, so that the search in a bucket counts.
void count_table()
{
    constexpr unsigned long entries = 10000;
    Table table;
    Buffers::CPObject<int> item;
    item.create();
    std::mt19937_64 random(20261);
    std::vector<unsigned long> keys(entries);
    for (unsigned long& key : keys)
    {
        key = random();
        table.AddItem(key, item, Lookup::eHashKeepKey);
    }
    Buffers::CPObjectMemory const any;
    count_warm("hit in a hash table of 10,000", entries,
               [&](unsigned long i) { DoNotOptimize(table.FindItem(keys[i], any)); });
}

int compare_keys(void const* a, void const* b)
{
    unsigned long const x = *static_cast<unsigned long const*>(a);
    unsigned long const y = *static_cast<unsigned long const*>(b);
    return (x > y) - (x < y);
}

void count_sort()
{
    std::mt19937_64 random(7);
    std::vector<unsigned long> source(1000);
    for (unsigned long& key : source)
        key = random();
    std::vector<unsigned long> elements(source.size());
    count_warm("sorting of 1,000 elements of 8 bytes", 4,
               [&](unsigned long)
               {
                   std::memcpy(elements.data(), source.data(), source.size() * sizeof source[0]);
                   Buffers::Sort::vfqsort(elements.data(), elements.size(), sizeof elements[0], compare_keys);
               });
}

void count_threading()
{
    Threading::CPCriticalSection lock;
    count_warm("enter and leave of a free lock", 1000,
               [&](unsigned long)
               {
                   lock.Enter();
                   benchmark::ClobberMemory();
                   lock.Leave();
               });
    Threading::CPEvent const event(true);
    event.Set();
    count_warm("wait on a signalled event", 1000, [&](unsigned long) { DoNotOptimize(event.Wait(0xFFFFFFFFU)); });
}

void count_handle()
{
    Buffers::CPObject<int> source;
    source.create();
    count_warm("copy and release of a handle", 1000,
               [&](unsigned long)
               {
                   Buffers::CPObjectMemory const copy(source);
                   DoNotOptimize(copy);
               });
}

void count_numbers()
{
    std::mt19937 random(20261);
    std::vector<Math::CRational> fractions;
    for (unsigned int i = 0; i <= 1000; ++i)
    {
        int const numerator = static_cast<int>(1 + random() % 20000);
        fractions.emplace_back(numerator, static_cast<int>(1 + random() % 20000));
    }
    count_warm("sum of two rationals", 1000, [&](unsigned long i) { DoNotOptimize(fractions[i] + fractions[i + 1]); });

    // Ten blocks, so that making them counts.
    Develop::CMTRandom generator;
    generator.seed(20261);
    count_warm("draw of a random number", 6240, [&](unsigned long) { DoNotOptimize(generator.rnd()); });
}

void print_circumstances()
{
    auto const crc_kernels = Buffers::crc64::available_kernels();
#if defined(__clang__)
    std::printf("# compiler: clang++ %s\n", __VERSION__);
#else
    std::printf("# compiler: g++ %s\n", __VERSION__);
#endif
    std::printf("# libraries: glibc %s, Boost %s\n", gnu_get_libc_version(), BOOST_LIB_VERSION);
    std::printf("# kernels under valgrind: evaluation %s, CRC %s\n", String::evaluation::best_kernel().name,
                crc_kernels.entry[crc_kernels.count - 1].name);
}

} // namespace

int main()
{
    // The C library takes cheaper steps in a process that has never had a second thread, and no process that uses this
    // library stays so.
    std::thread([] {}).join();

    print_circumstances();
    count_pool();
    count_evaluation<16>("evaluation of 16 characters");
    count_evaluation<4096>("evaluation of 4,096 characters");
    count_conversion();
    count_check();
    count_table();
    count_sort();
    count_threading();
    count_handle();
    count_numbers();
    return 0;
}
