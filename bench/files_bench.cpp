// Paths as text, file URLs, and a walk through a tree, beside std::filesystem and GLib. The paths are a sample of those
// below /usr of this machine; the time is that of one path, or of one entry of the tree.
#include "ORVA/Files.h"
#include "ORVA/String.h"

#include <benchmark/benchmark.h>

#include <glib.h>
#include <glib/gstdio.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

using namespace ORVA;
using Files::OS::CDirectoryEnumerator;
using Files::OS::CFindData;

// As many as stay in the processor's caches in either form, as a path does that has just been made.
constexpr std::size_t count = 1024;

// A path in the forms that the two sides take, and its URL.
struct Path
{
    std::wstring wide;
    std::string narrow;
    std::string url;
};

unsigned char const* bytes(std::string const& text)
{
    return reinterpret_cast<unsigned char const*>(text.c_str());
}

std::wstring widen(std::string const& path)
{
    return *String::CNQFWChar(bytes(path));
}

// The same ones at each run.
std::vector<Path> const& paths()
{
    static std::vector<Path> const result = []
    {
        std::vector<std::string> found;
        for (auto const& entry : std::filesystem::recursive_directory_iterator("/usr"))
            found.push_back(entry.path().string());
        std::sort(found.begin(), found.end());
        std::shuffle(found.begin(), found.end(), std::mt19937(20261));
        found.resize(std::min(found.size(), count));
        std::vector<Path> sample;
        for (std::string const& path : found)
        {
            gchar* const url = g_filename_to_uri(path.c_str(), nullptr, nullptr);
            sample.push_back({widen(path), path, url});
            g_free(url);
        }
        return sample;
    }();
    return result;
}

template <class Operation>
void for_each_path(benchmark::State& state, Operation operation)
{
    std::vector<Path> const& all = paths();
    std::size_t i = 0;
    for (auto _ : state)
    {
        operation(all[i]);
        i = i + 1 == all.size() ? 0 : i + 1;
    }
}

// Directory, name and extension.

void parse(benchmark::State& state)
{
    for_each_path(state,
                  [](Path const& path)
                  {
                      Files::tagCPATHPARSEINFO info;
                      Files::FU_ParsePath(path.wide.c_str(), info, true);
                      benchmark::DoNotOptimize(info);
                  });
}

void parse_std_filesystem(benchmark::State& state)
{
    for_each_path(state,
                  [](Path const& path)
                  {
                      std::filesystem::path const whole(path.narrow);
                      std::filesystem::path const directory = whole.parent_path();
                      std::filesystem::path const name = whole.stem();
                      std::filesystem::path const extension = whole.extension();
                      benchmark::DoNotOptimize(directory);
                      benchmark::DoNotOptimize(name);
                      benchmark::DoNotOptimize(extension);
                  });
}

void parse_glib(benchmark::State& state)
{
    for_each_path(state,
                  [](Path const& path)
                  {
                      gchar* const directory = g_path_get_dirname(path.narrow.c_str());
                      gchar* const name = g_path_get_basename(path.narrow.c_str());
                      gchar const* const extension = std::strrchr(name, '.');
                      benchmark::DoNotOptimize(directory);
                      benchmark::DoNotOptimize(extension);
                      g_free(directory);
                      g_free(name);
                  });
}

// File URLs.

void encode_url(benchmark::State& state)
{
    for_each_path(state,
                  [](Path const& path)
                  {
                      auto const url = Internetional::file_EncodeURL(path.wide.c_str());
                      benchmark::DoNotOptimize(*url);
                  });
}

void encode_url_glib(benchmark::State& state)
{
    for_each_path(state,
                  [](Path const& path)
                  {
                      gchar* const url = g_filename_to_uri(path.narrow.c_str(), nullptr, nullptr);
                      benchmark::DoNotOptimize(url);
                      g_free(url);
                  });
}

void decode_url(benchmark::State& state)
{
    for_each_path(state,
                  [](Path const& path)
                  {
                      auto const decoded = Internetional::file_DecodeURL(bytes(path.url));
                      benchmark::DoNotOptimize(*decoded);
                  });
}

void decode_url_glib(benchmark::State& state)
{
    for_each_path(state,
                  [](Path const& path)
                  {
                      gchar* const decoded = g_filename_from_uri(path.url.c_str(), nullptr, nullptr);
                      benchmark::DoNotOptimize(decoded);
                      g_free(decoded);
                  });
}

// Escapes alone, from buffer to buffer; GLib's escapes come in new buffers only.

void escape(benchmark::State& state)
{
    for_each_path(state,
                  [](Path const& path)
                  {
                      static unsigned char const slash[] = "/";
                      unsigned long const size = Internetional::URL_encoderequired(bytes(path.narrow), slash) + 1;
                      std::unique_ptr<unsigned char[]> const escaped(new unsigned char[size]);
                      Internetional::URL_encodebuffer(escaped.get(), bytes(path.narrow), slash);
                      benchmark::DoNotOptimize(escaped.get());
                  });
}

void escape_glib(benchmark::State& state)
{
    for_each_path(state,
                  [](Path const& path)
                  {
                      gchar* const escaped = g_uri_escape_string(path.narrow.c_str(), "/", FALSE);
                      benchmark::DoNotOptimize(escaped);
                      g_free(escaped);
                  });
}

void unescape(benchmark::State& state)
{
    for_each_path(state,
                  [](Path const& path)
                  {
                      std::unique_ptr<unsigned char[]> const text(new unsigned char[path.url.size() + 1]);
                      Internetional::URL_decodebuffer(text.get(), bytes(path.url));
                      benchmark::DoNotOptimize(text.get());
                  });
}

void unescape_glib(benchmark::State& state)
{
    for_each_path(state,
                  [](Path const& path)
                  {
                      gchar* const text = g_uri_unescape_string(path.url.c_str(), nullptr);
                      benchmark::DoNotOptimize(text);
                      g_free(text);
                  });
}

// A tree of 100,000 entries, for the length of the process: 1,000 directories with 99 files each.
class Tree
{
public:
    static constexpr long entries = 100'000;

    Tree()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "files_bench.XXXXXX").string();
        m_root = g_mkdtemp(pattern.data()) ? pattern : std::string();
        for (int directory = 0; directory < 1000; ++directory)
        {
            std::filesystem::path const place =
                std::filesystem::path(m_root) / ("directory " + std::to_string(directory));
            std::filesystem::create_directory(place);
            for (int file = 0; file < 99; ++file)
                std::ofstream(place / ("take " + std::to_string(file) + ".wav")) << file;
        }
    }
    ~Tree() { std::filesystem::remove_all(m_root); }
    Tree(Tree const&) = delete;
    Tree& operator=(Tree const&) = delete;

    std::string const& root() const { return m_root; }

private:
    std::string m_root;
};

Tree const& tree()
{
    static Tree const only;
    return only;
}

// What the walks add up, so that they can be seen to find the same.
struct Sum
{
    long entries = 0;
    long directories = 0;
    long bytes = 0;
    long seconds = 0;

    void check(benchmark::State& state) const
    {
        if (entries != Tree::entries || directories != 1000)
            state.SkipWithError("the walk has not found the tree");
        benchmark::DoNotOptimize(bytes);
        benchmark::DoNotOptimize(seconds);
    }
};

void walk_below(std::wstring const& directory, Sum& sum)
{
    CDirectoryEnumerator enumerator;
    if (enumerator.BeginEnumerate(directory.c_str()) == 0)
        return;
    CFindData entry;
    while (enumerator.GetNext(entry) != 0)
    {
        ++sum.entries;
        sum.seconds += entry.GetLastModified() / 1000;
        if (!entry.isDirectory())
        {
            sum.bytes += entry.GetSize();
            continue;
        }
        ++sum.directories;
        walk_below(directory + L'/' + entry.GetFilename(), sum);
    }
}

// Per entry rather than for the whole tree.
void count_entries(benchmark::State& state)
{
    state.counters["per_entry"] =
        benchmark::Counter(static_cast<double>(Tree::entries),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void walk(benchmark::State& state)
{
    std::wstring const root = widen(tree().root());
    for (auto _ : state)
    {
        Sum sum;
        walk_below(root, sum);
        sum.check(state);
    }
    count_entries(state);
}

void walk_std_filesystem(benchmark::State& state)
{
    std::string const& root = tree().root();
    for (auto _ : state)
    {
        Sum sum;
        std::error_code error;
        for (auto const& entry : std::filesystem::recursive_directory_iterator(root))
        {
            ++sum.entries;
            sum.seconds += entry.last_write_time(error).time_since_epoch().count() / 1'000'000'000;
            if (std::filesystem::is_directory(entry.symlink_status(error)))
                ++sum.directories;
            else
                sum.bytes += static_cast<long>(entry.file_size(error));
        }
        sum.check(state);
    }
    count_entries(state);
}

void walk_below_glib(std::string const& directory, Sum& sum)
{
    GDir* const names = g_dir_open(directory.c_str(), 0, nullptr);
    if (names == nullptr)
        return;
    while (gchar const* const name = g_dir_read_name(names))
    {
        ++sum.entries;
        std::string const path = directory + '/' + name;
        GStatBuf record;
        if (g_lstat(path.c_str(), &record) != 0)
            continue;
        sum.seconds += record.st_mtime;
        if (!S_ISDIR(record.st_mode))
        {
            sum.bytes += record.st_size;
            continue;
        }
        ++sum.directories;
        walk_below_glib(path, sum);
    }
    g_dir_close(names);
}

void walk_glib(benchmark::State& state)
{
    std::string const& root = tree().root();
    for (auto _ : state)
    {
        Sum sum;
        walk_below_glib(root, sum);
        sum.check(state);
    }
    count_entries(state);
}

BENCHMARK(parse);
BENCHMARK(parse_std_filesystem);
BENCHMARK(parse_glib);

BENCHMARK(encode_url);
BENCHMARK(encode_url_glib);
BENCHMARK(decode_url);
BENCHMARK(decode_url_glib);

BENCHMARK(escape);
BENCHMARK(escape_glib);
BENCHMARK(unescape);
BENCHMARK(unescape_glib);

BENCHMARK(walk)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(walk_std_filesystem)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(walk_glib)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
