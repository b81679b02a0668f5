// Evaluation of texts: the bytewise twin, the standard library's way to get one hash of the same text, and each kernel
// that this processor offers. The argument is the number of characters; the texts are file names, with one capital
// each and ASCII throughout, unless the name of the benchmark says otherwise.

#include "cstringpool/evaluation_kernels.h"
#include "reference/plain_evaluation.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <cwchar>
#include <string>
#include <string_view>

namespace
{

namespace evaluation = ORVA::String::evaluation;
using ORVA::String::tagSTRINGBASICINFO;

std::wstring wide_name(long length)
{
    // Never inside the string object: what a benchmark stores beside it would then stall the loads of the text.
    std::wstring text;
    text.reserve(64);
    while (text.size() < static_cast<unsigned long>(length))
        text += L"Name_of-file(02).txt ";
    text.resize(static_cast<unsigned long>(length));
    return text;
}

// Every fifth character is a letter with an accent, one in ten a capital.
std::wstring accented_name(long length)
{
    std::wstring text = wide_name(length);
    for (unsigned long i = 1; i < text.size(); i += 5)
        text[i] = i % 2 != 0 ? L'\u00C9' : L'\u00E9';
    return text;
}

std::string to_utf8(std::wstring const& text)
{
    std::string bytes;
    bytes.reserve(64);
    for (wchar_t character : text)
    {
        if (character >= 0x80)
            bytes += static_cast<char>(0xC0 | character >> 6);
        bytes += static_cast<char>(character < 0x80 ? character : 0x80 | (character & 0x3F));
    }
    return bytes;
}

unsigned char const* as_utf8(std::string const& text)
{
    return reinterpret_cast<unsigned char const*>(text.c_str());
}

// The usual bytewise evaluation, but with ASCII folded without a call: two look-ups per character and hash.
tagSTRINGBASICINFO bytewise_without_calls(unsigned long const* table, wchar_t const* text)
{
    tagSTRINGBASICINFO info = {0, 0, 0, 0};
    for (; *text != 0; ++text)
    {
        unsigned int const c = static_cast<unsigned int>(*text);
        unsigned int const f = c - 'A' < 26 ? c + 32 : c;
        info.len += 1;
        info.utf8Size += c < 0x80 ? 1 : c < 0x800 ? 2 : 3;
        info.sHash = table[((info.sHash >> 56) ^ c) & 255] ^ info.sHash << 8;
        info.sHash = table[((info.sHash >> 56) ^ c >> 8) & 255] ^ info.sHash << 8;
        info.sHashi = table[((info.sHashi >> 56) ^ f) & 255] ^ info.sHashi << 8;
        info.sHashi = table[((info.sHashi >> 56) ^ f >> 8) & 255] ^ info.sHashi << 8;
    }
    return info;
}

class OpenInfo : public ORVA::String::CStringInfo
{
public:
    using CStringInfo::aTable;
};

OpenInfo const evaluator;
reference::PlainEvaluation const twin;

template <class Text, class Operation>
void measure(benchmark::State& state, Text const* text, Operation operation)
{
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(text);
        auto result = operation(text);
        benchmark::DoNotOptimize(result);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void wide_twin(benchmark::State& state)
{
    std::wstring const text = wide_name(state.range(0));
    measure(state, text.c_str(),
            [](wchar_t const* source)
            {
                tagSTRINGBASICINFO info;
                twin(info, source);
                return info;
            });
}

void wide_bytewise_without_calls(benchmark::State& state)
{
    std::wstring const text = wide_name(state.range(0));
    measure(state, text.c_str(),
            [](wchar_t const* source) { return bytewise_without_calls(evaluator.aTable, source); });
}

void wide_std_hash(benchmark::State& state)
{
    std::wstring const text = wide_name(state.range(0));
    measure(state, text.c_str(),
            [](wchar_t const* source)
            { return std::hash<std::wstring_view>()(std::wstring_view(source, std::wcslen(source))); });
}

void wide_Eval(benchmark::State& state)
{
    std::wstring const text = wide_name(state.range(0));
    measure(state, text.c_str(),
            [](wchar_t const* source)
            {
                tagSTRINGBASICINFO info;
                evaluator.Eval(info, source);
                return info;
            });
}

void utf8_Eval(benchmark::State& state)
{
    std::string const text = to_utf8(wide_name(state.range(0)));
    measure(state, as_utf8(text),
            [](unsigned char const* source)
            {
                tagSTRINGBASICINFO info;
                evaluator.Eval(info, source);
                return info;
            });
}

void utf8_twin(benchmark::State& state)
{
    std::string const text = to_utf8(wide_name(state.range(0)));
    measure(state, as_utf8(text),
            [](unsigned char const* source)
            {
                tagSTRINGBASICINFO info;
                twin(info, source);
                return info;
            });
}

void accented_wide_twin(benchmark::State& state)
{
    std::wstring const text = accented_name(state.range(0));
    measure(state, text.c_str(),
            [](wchar_t const* source)
            {
                tagSTRINGBASICINFO info;
                twin(info, source);
                return info;
            });
}

// With the length found beforehand by the same functions that Eval uses.
template <class Text>
void measure_kernel(benchmark::State& state, evaluation::Kernel const& kernel, Text const* text)
{
    measure(state, text,
            [&kernel](Text const* source)
            {
                tagSTRINGBASICINFO info;
                unsigned long length;
                if constexpr (sizeof(Text) == 1)
                    length = std::strlen(reinterpret_cast<char const*>(source));
                else
                    length = std::wcslen(source);
                evaluation::evaluate(kernel, evaluation::platform_mapping, info, source, length);
                return info;
            });
}

void add_sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->Arg(8)->Arg(12)->Arg(16)->Arg(64)->Arg(4096);
}

} // namespace

int main(int argc, char** argv)
{
    add_sizes(benchmark::RegisterBenchmark("wide/twin", wide_twin));
    add_sizes(benchmark::RegisterBenchmark("wide/bytewise_without_calls", wide_bytewise_without_calls));
    add_sizes(benchmark::RegisterBenchmark("wide/std_hash", wide_std_hash));
    add_sizes(benchmark::RegisterBenchmark("wide/Eval", wide_Eval));
    add_sizes(benchmark::RegisterBenchmark("utf8/twin", utf8_twin));
    add_sizes(benchmark::RegisterBenchmark("utf8/Eval", utf8_Eval));
    add_sizes(benchmark::RegisterBenchmark("accented_wide/twin", accented_wide_twin));
    evaluation::Kernels const kernels = evaluation::available_kernels();
    for (unsigned int k = 0; k < kernels.count; ++k)
    {
        evaluation::Kernel const& kernel = *kernels.entry[k];
        std::string const suffix = std::string("/") + kernel.name;
        add_sizes(benchmark::RegisterBenchmark(("wide" + suffix).c_str(),
                                               [&kernel](benchmark::State& state)
                                               {
                                                   std::wstring const text = wide_name(state.range(0));
                                                   measure_kernel(state, kernel, text.c_str());
                                               }));
        add_sizes(benchmark::RegisterBenchmark(("utf8" + suffix).c_str(),
                                               [&kernel](benchmark::State& state)
                                               {
                                                   std::string const text = to_utf8(wide_name(state.range(0)));
                                                   measure_kernel(state, kernel, as_utf8(text));
                                               }));
        add_sizes(benchmark::RegisterBenchmark(("accented_wide" + suffix).c_str(),
                                               [&kernel](benchmark::State& state)
                                               {
                                                   std::wstring const text = accented_name(state.range(0));
                                                   measure_kernel(state, kernel, text.c_str());
                                               }));
        add_sizes(benchmark::RegisterBenchmark(("accented_utf8" + suffix).c_str(),
                                               [&kernel](benchmark::State& state)
                                               {
                                                   std::string const text = to_utf8(accented_name(state.range(0)));
                                                   measure_kernel(state, kernel, as_utf8(text));
                                               }));
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
