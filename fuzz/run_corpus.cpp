// Runs one of the harnesses over the files of its corpus, and over a number of changes of them that are the same in
// every run: the fuzz tests without a fuzzer. What ends the program is written as hexadecimal digits.
#include "fuzz/harness.h"

#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#define HARNESS(name, function) extern "C" int function(std::uint8_t const* data, std::size_t size);
#include "harnesses.inc"
#undef HARNESS

// The sanitizers have no other way to tell that they end the program.
extern "C" __attribute__((weak)) void __sanitizer_set_death_callback(void (*callback)());

namespace
{

using fuzz::Bytes;
using Function = int (*)(std::uint8_t const*, std::size_t);

struct Harness
{
    char const* name;
    Function function;
};

constexpr Harness harnesses[] = {
#define HARNESS(name, function) {#name, &function},
#include "harnesses.inc"
#undef HARNESS
};

constexpr std::size_t largest_input = 600;

Bytes current;

void show_current()
{
    std::fprintf(stderr, "the input was ");
    for (unsigned char const byte : current)
        std::fprintf(stderr, "%02x", static_cast<unsigned int>(byte));
    std::fprintf(stderr, "\n");
}

void on_abort(int)
{
    show_current();
    std::_Exit(1);
}

void run(Harness const& harness, Bytes const& bytes)
{
    current = bytes;
    fuzz::Exact<std::uint8_t> const exact(bytes);
    harness.function(exact.get(), bytes.size());
}

Bytes content_of(std::filesystem::path const& path)
{
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// The kinds of changes that fuzzers make.
class Changes
{
public:
    explicit Changes(std::vector<Bytes> const& corpus) : m_corpus(corpus) {}

    Bytes next()
    {
        Bytes bytes = m_corpus[below(m_corpus.size())];
        for (unsigned long left = 1 + below(4); left != 0; --left)
            change(bytes);
        bytes.resize(std::min(bytes.size(), largest_input));
        return bytes;
    }

private:
    unsigned long below(unsigned long limit) { return m_random() % limit; }
    std::ptrdiff_t place_in(Bytes const& bytes) { return static_cast<std::ptrdiff_t>(below(bytes.size() + 1)); }

    unsigned char byte()
    {
        static constexpr unsigned char edges[] = {0,    1,    0x20, 0x25, 0x2F, 0x5C, 0x7F,
                                                  0x80, 0xC0, 0xD8, 0xDC, 0xF4, 0xFF};
        return below(2) == 0 ? edges[below(sizeof(edges))] : static_cast<unsigned char>(below(256));
    }

    void change(Bytes& bytes)
    {
        std::ptrdiff_t const place = place_in(bytes);
        unsigned long const kind = bytes.empty() ? 0 : below(6);
        std::ptrdiff_t const last = static_cast<std::ptrdiff_t>(bytes.size()) - 1;
        switch (kind)
        {
        case 0:
            bytes.insert(bytes.begin() + place, 1 + below(below(8) == 0 ? 64 : 2), byte());
            break;
        case 1:
            bytes[static_cast<std::size_t>(std::min(place, last))] ^= static_cast<unsigned char>(1U << below(8));
            break;
        case 2:
            bytes[static_cast<std::size_t>(std::min(place, last))] = byte();
            break;
        case 3:
            bytes.erase(bytes.begin() + std::min(place, last));
            break;
        case 4:
            bytes.resize(static_cast<std::size_t>(place));
            break;
        default:
        {
            // The beginning of one and the end of another, which may be the same one.
            Bytes const& other = m_corpus[below(m_corpus.size())];
            bytes.resize(static_cast<std::size_t>(place));
            bytes.insert(bytes.end(), other.begin() + place_in(other), other.end());
        }
        }
    }

    std::vector<Bytes> const& m_corpus;
    std::mt19937 m_random{20240501};
};

int run_all(Harness const& harness, std::filesystem::path const& directory, int changes)
{
    std::vector<std::filesystem::path> paths;
    for (auto const& entry : std::filesystem::directory_iterator(directory))
        paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    if (paths.empty())
    {
        std::fprintf(stderr, "there are no files in %s\n", directory.c_str());
        return 1;
    }
    std::vector<Bytes> corpus;
    for (std::filesystem::path const& path : paths)
    {
        corpus.push_back(content_of(path));
        run(harness, corpus.back());
    }
    run(harness, {});
    Changes changed(corpus);
    for (int count = 0; count < changes; ++count)
        run(harness, changed.next());
    std::printf("%s: %zu files and %d changes of them\n", harness.name, corpus.size(), changes);
    return 0;
}

} // namespace

int main(int count, char** arguments)
{
    std::signal(SIGABRT, on_abort);
    if (__sanitizer_set_death_callback != nullptr)
        __sanitizer_set_death_callback(show_current);
    if (count != 4)
    {
        std::fprintf(stderr, "usage: %s HARNESS DIRECTORY CHANGES\n", arguments[0]);
        return 2;
    }
    for (Harness const& harness : harnesses)
    {
        if (std::strcmp(harness.name, arguments[1]) == 0)
            return run_all(harness, arguments[2], std::atoi(arguments[3]));
    }
    std::fprintf(stderr, "there is no harness %s\n", arguments[1]);
    return 2;
}
