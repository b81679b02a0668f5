// What the generators' words look like to simple statistics, as a table in markdown for docs/random.md. The argument is
// the number of words, 10^8 without one.
//
// All figures but the last are deviations from what is expected of independent, even bits, in standard deviations: up to
// about 4 is chance. Far below 0, where bytes are counted, is not: those are spread more evenly than chance allows.
#include "ORVA/Develop.h"
#include "ORVA/Math.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

namespace
{

class Statistics
{
public:
    /// For words of which the lower `bits` count.
    explicit Statistics(unsigned int bits) : m_bits(bits) {}

    void add(std::vector<unsigned int> const& words)
    {
        for (unsigned int bit = 0; bit < m_bits; ++bit)
        {
            unsigned int ones = 0;
            unsigned int changes = (words.front() ^ m_last) >> bit & 1;
            for (unsigned int const word : words)
                ones += word >> bit & 1;
            for (std::size_t i = 1; i < words.size(); ++i)
                changes += (words[i] ^ words[i - 1]) >> bit & 1;
            m_ones[bit] += ones;
            m_changes[bit] += changes;
        }
        for (unsigned int const word : words)
        {
            for (unsigned int byte = 0; byte < m_bytes.size(); ++byte)
                ++m_bytes[byte][word >> 8 * byte & 255];
            m_even += is_even_before_tempering(word);
        }
        m_last = words.back();
        m_count += words.size();
    }

    /// The largest deviation of the ones of any bit.
    double balance() const { return largest_deviation(m_ones); }

    /// The largest deviation of the runs of any bit, that is, of its changes from word to word.
    double runs() const { return largest_deviation(m_changes); }

    /// The deviation of chi-square for one byte of the words, 0 being the lowest.
    double byte(unsigned int place) const
    {
        unsigned int const values = 1U << std::min(8U, m_bits - 8 * place);
        double const expected = static_cast<double>(m_count) / values;
        double sum = 0;
        for (unsigned int value = 0; value < values; ++value)
        {
            double const difference = static_cast<double>(m_bytes[place][value]) - expected;
            sum += difference * difference / expected;
        }
        double const freedom = values - 1;
        return (sum - freedom) / std::sqrt(2 * freedom);
    }

    unsigned int byte_count() const { return (m_bits + 7) / 8; }

    /// The share of the words that have come of an even one, in percent.
    double even() const { return 100.0 * static_cast<double>(m_even) / static_cast<double>(m_count); }

private:
    /// Takes the tempering of the family back.
    static bool is_even_before_tempering(unsigned int word)
    {
        word ^= word >> 18;
        word ^= (word << 15) & 0xEFC60000U;
        for (unsigned int lower = word, step = 0; step < 4; ++step)
            word = lower ^ ((word << 7) & 0x9D2C5680U);
        unsigned int const upper = word ^ word >> 11;
        return ((word ^ upper >> 11) & 1) == 0;
    }

    double largest_deviation(std::array<unsigned long, 32> const& counts) const
    {
        double largest = 0;
        for (unsigned int bit = 0; bit < m_bits; ++bit)
        {
            double const half = static_cast<double>(m_count) / 2;
            double const deviation = (static_cast<double>(counts[bit]) - half) / std::sqrt(half / 2);
            if (std::fabs(deviation) > std::fabs(largest))
                largest = deviation;
        }
        return largest;
    }

    unsigned int m_bits;
    unsigned int m_last = 0;
    unsigned long m_count = 0;
    unsigned long m_even = 0;
    std::array<unsigned long, 32> m_ones = {};
    std::array<unsigned long, 32> m_changes = {};
    std::array<std::array<unsigned long, 256>, 4> m_bytes = {};
};

template <class Draw>
void print(char const* name, unsigned int bits, unsigned long count, Draw draw)
{
    Statistics statistics(bits);
    std::vector<unsigned int> words(4096);
    for (unsigned long drawn = 0; drawn < count; drawn += words.size())
    {
        for (unsigned int& word : words)
            word = static_cast<unsigned int>(draw());
        statistics.add(words);
    }
    std::printf("| %s | %.1f | %.1f |", name, statistics.balance(), statistics.runs());
    for (unsigned int place = 0; place < 4; ++place)
    {
        if (place < statistics.byte_count())
            std::printf(" %.1f |", statistics.byte(place));
        else
            std::printf(" |");
    }
    if (bits == 32)
        std::printf(" %.2f %% |\n", statistics.even());
    else
        std::printf(" |\n");
}

} // namespace

int main(int argument_count, char** arguments)
{
    unsigned long const count = argument_count > 1 ? std::strtoul(arguments[1], nullptr, 10) : 100'000'000;
    if (count == 0)
    {
        std::fprintf(stderr, "usage: random_statistics [WORDS]\n");
        return 2;
    }
    std::printf("| generator | balance | runs | byte 0 | byte 1 | byte 2 | byte 3 | even "
                "|\n|---|---|---|---|---|---|---|---|\n");
    ORVA::Develop::CMTRandom own;
    own.seed(20261);
    print("`CMTRandom`", 32, count, [&own] { return own.rnd(); });
    ORVA::Develop::CMTRnd_TS shared;
    print("`CMTRnd_TS`", 32, count, [&shared] { return shared.rnd(); });
    ORVA::Random::CMonoRand linear(20261);
    print("`CMonoRand`", 15, count, [&linear] { return linear.rand(); });
    std::mt19937 peer(20261);
    print("`std::mt19937`", 32, count, [&peer] { return peer(); });
    return 0;
}
