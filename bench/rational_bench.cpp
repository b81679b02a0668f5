// Each operation on fractions beside that of boost::rational<int>: on small components, as of beats and sample rates, and
// on components of up to 20,000, of which every result still fits into both. Signed operands are of either sign; the
// library keeps the sign that truncating division leaves, and has to find it out.
#include "ORVA/Math.h"

#include <benchmark/benchmark.h>

#include <boost/rational.hpp>

#include <random>
#include <utility>
#include <vector>

namespace
{

using Own = ORVA::Math::CRational;
using Peer = boost::rational<int>;

// More than the processor can learn the branches of.
constexpr std::size_t count = 16384;

// Numerators and denominators above 0. No numerator is 0: the library gives 1/0 for a division by 0, the peer throws.
std::vector<std::pair<int, int>> components(int largest, bool has_sign)
{
    std::vector<std::pair<int, int>> result(count);
    std::mt19937 random(20261);
    std::uniform_int_distribution<int> sizes(1, largest);
    for (auto& [numerator, denominator] : result)
    {
        numerator = has_sign && random() % 2 == 0 ? -sizes(random) : sizes(random);
        denominator = sizes(random);
    }
    return result;
}

template <class Fraction>
std::vector<Fraction> fractions(benchmark::State& state)
{
    std::vector<Fraction> result(count);
    auto const source = components(static_cast<int>(state.range(0)), state.range(1) != 0);
    for (std::size_t i = 0; i < count; ++i)
        result[i] = Fraction(source[i].first, source[i].second);
    return result;
}

struct Plus
{
    template <class Fraction>
    static Fraction of(Fraction const& a, Fraction const& b)
    {
        return a + b;
    }
};

struct Minus
{
    template <class Fraction>
    static Fraction of(Fraction const& a, Fraction const& b)
    {
        return a - b;
    }
};

struct Times
{
    template <class Fraction>
    static Fraction of(Fraction const& a, Fraction const& b)
    {
        return a * b;
    }
};

struct By
{
    template <class Fraction>
    static Fraction of(Fraction const& a, Fraction const& b)
    {
        return a / b;
    }
};

struct Equal
{
    template <class Fraction>
    static bool of(Fraction const& a, Fraction const& b)
    {
        return a == b;
    }
};

struct Less
{
    template <class Fraction>
    static bool of(Fraction const& a, Fraction const& b)
    {
        return a < b;
    }
};

template <class Operation, class Fraction>
void operation(benchmark::State& state)
{
    auto const operands = fractions<Fraction>(state);
    std::size_t i = 0;
    for (auto _ : state)
    {
        auto result = Operation::of(operands[i % count], operands[(i + 1) % count]);
        benchmark::DoNotOptimize(result);
        ++i;
    }
}

template <class Fraction>
void construct(benchmark::State& state)
{
    auto const source = components(static_cast<int>(state.range(0)), state.range(1) != 0);
    std::size_t i = 0;
    for (auto _ : state)
    {
        auto const& [numerator, denominator] = source[i++ % count];
        Fraction result(numerator, denominator);
        benchmark::DoNotOptimize(result);
    }
}

void operands(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgNames({"largest", "signed"});
    for (long const largest : {100, 20000})
    {
        for (long const has_sign : {0, 1})
            benchmark->Args({largest, has_sign});
    }
}

BENCHMARK_TEMPLATE(operation, Plus, Own)->Apply(operands);
BENCHMARK_TEMPLATE(operation, Plus, Peer)->Apply(operands);
BENCHMARK_TEMPLATE(operation, Minus, Own)->Apply(operands);
BENCHMARK_TEMPLATE(operation, Minus, Peer)->Apply(operands);
BENCHMARK_TEMPLATE(operation, Times, Own)->Apply(operands);
BENCHMARK_TEMPLATE(operation, Times, Peer)->Apply(operands);
BENCHMARK_TEMPLATE(operation, By, Own)->Apply(operands);
BENCHMARK_TEMPLATE(operation, By, Peer)->Apply(operands);
BENCHMARK_TEMPLATE(operation, Equal, Own)->Apply(operands);
BENCHMARK_TEMPLATE(operation, Equal, Peer)->Apply(operands);
BENCHMARK_TEMPLATE(operation, Less, Own)->Apply(operands);
BENCHMARK_TEMPLATE(operation, Less, Peer)->Apply(operands);
BENCHMARK_TEMPLATE(construct, Own)->Apply(operands);
BENCHMARK_TEMPLATE(construct, Peer)->Apply(operands);

} // namespace
