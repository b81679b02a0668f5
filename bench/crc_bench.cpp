// The 64-bit check of the library's keys over bytes, beside the check of liblzma, which has the same generator with
// its bits in the opposite order: the same work per byte. `Eval` is what a caller gets on this processor; the kernels
// below it are the ways that the library chooses from, so that the portable one can be seen too. `byte_table` is one
// look-up per byte, as most programs have it. The argument is the number of bytes.
#include "ORVA/Buffers/MachineCRC.h"

#include "crc_kernels.h"
#include "crc_tables.h"

#include <benchmark/benchmark.h>

#include <lzma.h>

#include <random>
#include <string>
#include <vector>

namespace
{

namespace crc64 = ORVA::Buffers::crc64;

std::vector<unsigned char> random_bytes(long length)
{
    std::vector<unsigned char> bytes(static_cast<std::size_t>(length));
    std::mt19937 random(20261);
    for (unsigned char& byte : bytes)
        byte = static_cast<unsigned char>(random());
    return bytes;
}

template <class Check>
void measure(benchmark::State& state, Check check)
{
    std::vector<unsigned char> const bytes = random_bytes(state.range(0));
    unsigned char const* data = bytes.data();
    unsigned long length = bytes.size();
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(data);
        benchmark::DoNotOptimize(length);
        unsigned long const crc = check(data, length);
        benchmark::DoNotOptimize(crc);
    }
    state.SetBytesProcessed(static_cast<long>(state.iterations()) * state.range(0));
}

void Eval(benchmark::State& state)
{
    static ORVA::Buffers::CMachineCRC const crc(64, crc64::polynomial);
    measure(state, [](void const* data, unsigned long length) { return crc.Eval(data, length, 0); });
}

void lzma(benchmark::State& state)
{
    measure(state, [](unsigned char const* data, unsigned long length) { return lzma_crc64(data, length, 0); });
}

void byte_table(benchmark::State& state)
{
    measure(state,
            [](unsigned char const* data, unsigned long length)
            {
                unsigned long crc = 0;
                for (unsigned long i = 0; i < length; ++i)
                    crc = crc64::slicing.entry[0][crc >> 56 ^ data[i]] ^ crc << 8;
                return crc;
            });
}

void add_sizes(benchmark::internal::Benchmark* benchmark)
{
    for (long length : {64, 128, 256, 512, 1024, 4096, 65536, 1048576})
        benchmark->Arg(length);
}

} // namespace

int main(int argc, char** argv)
{
    add_sizes(benchmark::RegisterBenchmark("crc64/Eval", Eval));
    add_sizes(benchmark::RegisterBenchmark("crc64/lzma_crc64", lzma));
    add_sizes(benchmark::RegisterBenchmark("crc64/byte_table", byte_table));
    crc64::Kernels const kernels = crc64::available_kernels();
    for (unsigned int k = 0; k < kernels.count; ++k)
    {
        crc64::Evaluate const evaluate = kernels.entry[k].evaluate;
        add_sizes(benchmark::RegisterBenchmark((std::string("crc64/") + kernels.entry[k].name).c_str(),
                                               [evaluate](benchmark::State& state) {
                                                   measure(state, [evaluate](void const* data, unsigned long length)
                                                           { return evaluate(data, length, 0); });
                                               }));
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
