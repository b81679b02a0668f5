// Bytes to text and back, in bytes of the input per second, beside GLib's base64. The library's encoders write wide
// characters and put the text into the string pool; what that costs is measured as well as the writing by itself.
#include "ORVA/String.h"

#include <benchmark/benchmark.h>

#include <glib.h>

#include <random>
#include <string>
#include <vector>

namespace
{

using namespace ORVA::String;

// Not a multiple of 3 or 7, which the library's decoders refuse.
std::vector<unsigned char> bytes(benchmark::State& state)
{
    std::vector<unsigned char> result(static_cast<std::size_t>(state.range(0)));
    std::mt19937 random(20261);
    for (unsigned char& byte : result)
        byte = static_cast<unsigned char>(random());
    return result;
}

void count_bytes(benchmark::State& state)
{
    state.SetBytesProcessed(static_cast<long>(state.iterations()) * state.range(0));
}

// An encoder that can be given its input again, so that no more than the writing is measured.
template <class Encoder>
class Writer : public Encoder
{
public:
    Writer() : Encoder(nullptr, 0) {}
    void take(std::vector<unsigned char> const& input)
    {
        this->m_input = input.data();
        this->m_count = input.size();
    }
};

template <class Encoder>
std::vector<wchar_t> text_of(std::vector<unsigned char> const& input)
{
    Writer<Encoder> writer;
    writer.take(input);
    std::vector<wchar_t> text(writer.GetStringLen() + 1);
    writer.GetString(text.data());
    return text;
}

template <class Encoder>
void encode(benchmark::State& state)
{
    auto const input = bytes(state);
    auto text = text_of<Encoder>(input);
    Writer<Encoder> writer;
    for (auto _ : state)
    {
        writer.take(input);
        writer.GetString(text.data());
        benchmark::ClobberMemory();
    }
    count_bytes(state);
}

// The text is in the pool from the first turn on; each further one finds it.
template <class Encoder>
void encode_into_pool(benchmark::State& state)
{
    auto const input = bytes(state);
    Encoder const held(input.data(), input.size());
    for (auto _ : state)
    {
        Encoder const encoder(input.data(), input.size());
        benchmark::DoNotOptimize(encoder);
    }
    count_bytes(state);
}

void encode_base64(benchmark::State& state)
{
    auto const input = bytes(state);
    std::vector<gchar> text(input.size() * 4 / 3 + 8);
    for (auto _ : state)
    {
        gint step = 0;
        gint save = 0;
        gsize const written = g_base64_encode_step(input.data(), input.size(), FALSE, text.data(), &step, &save);
        g_base64_encode_close(FALSE, text.data() + written, &step, &save);
        benchmark::ClobberMemory();
    }
    count_bytes(state);
}

void encode_base64_into_new(benchmark::State& state)
{
    auto const input = bytes(state);
    for (auto _ : state)
    {
        gchar* const text = g_base64_encode(input.data(), input.size());
        benchmark::DoNotOptimize(text);
        g_free(text);
    }
    count_bytes(state);
}

template <class Encoder, class Decoder>
void decode(benchmark::State& state)
{
    auto const text = text_of<Encoder>(bytes(state));
    for (auto _ : state)
    {
        Decoder const decoder(text.data());
        benchmark::DoNotOptimize(decoder);
    }
    count_bytes(state);
}

void decode_base64_into_new(benchmark::State& state)
{
    auto const input = bytes(state);
    gchar* const text = g_base64_encode(input.data(), input.size());
    for (auto _ : state)
    {
        gsize size = 0;
        guchar* const decoded = g_base64_decode(text, &size);
        benchmark::DoNotOptimize(decoded);
        g_free(decoded);
    }
    g_free(text);
    count_bytes(state);
}

void sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->Arg(16)->Arg(64)->Arg(1024)->Arg(65536);
}

BENCHMARK_TEMPLATE(encode, C3FEncoder)->Apply(sizes);
BENCHMARK_TEMPLATE(encode, C3FFFEncoder)->Apply(sizes);
BENCHMARK(encode_base64)->Apply(sizes);

BENCHMARK_TEMPLATE(encode_into_pool, C3FEncoder)->Apply(sizes);
BENCHMARK_TEMPLATE(encode_into_pool, C3FFFEncoder)->Apply(sizes);
BENCHMARK(encode_base64_into_new)->Apply(sizes);

BENCHMARK_TEMPLATE(decode, C3FEncoder, C3FDecoder)->Apply(sizes);
BENCHMARK_TEMPLATE(decode, C3FFFEncoder, C3FFFDecoder)->Apply(sizes);
BENCHMARK(decode_base64_into_new)->Apply(sizes);

} // namespace
