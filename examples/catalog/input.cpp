#include "input.h"

#include "utf8.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <new>
#include <system_error>

namespace catalog
{

namespace
{

namespace fs = std::filesystem;

struct CloseFile
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};

// The buffer of getline(), which grows to the longest line.
struct LineBuffer
{
    ~LineBuffer() { std::free(text); }

    char* text = nullptr;
    std::size_t capacity = 0;
};

std::string_view without_line_end(std::string_view line)
{
    if (!line.empty() && line.back() == '\n')
        line.remove_suffix(1);
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    return line;
}

// 0, or the error that ended the reading.
int read_lines(std::FILE* file, std::string_view source, LineSink const& sink)
{
    LineBuffer buffer;
    unsigned long number = 0;
    for (;;)
    {
        errno = 0;
        ssize_t const length = getline(&buffer.text, &buffer.capacity, file);
        if (length < 0)
            break;
        std::string_view const line(buffer.text, static_cast<std::size_t>(length));
        sink({without_line_end(line), source, ++number, line.size()});
    }
    if (errno == ENOMEM)
        throw std::bad_alloc();
    return std::ferror(file) != 0 ? errno : 0;
}

void read_file(std::string const& path, Input& input, LineSink const& sink)
{
    int error = 0;
    if (path == "-")
    {
        error = read_lines(stdin, "standard input", sink);
    }
    else
    {
        std::unique_ptr<std::FILE, CloseFile> const file(std::fopen(path.c_str(), "rb"));
        error = file == nullptr ? errno : read_lines(file.get(), path, sink);
    }
    if (error == 0)
    {
        ++input.files_read;
        return;
    }
    ++input.files_unreadable;
    input.problems.push_back("cannot read " + (path == "-" ? "standard input" : "'" + escaped(path) + "'") + ": " +
                             std::generic_category().message(error));
}

// Not the library's _TestDirExists(): that takes sockets and block devices for directories, and cannot be given a path
// that is no UTF-8.
bool is_directory(std::string const& path)
{
    std::error_code error;
    return path != "-" && fs::is_directory(path, error);
}

std::string counted(unsigned long count, char const* thing)
{
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string title_of(std::vector<std::string> const& arguments, unsigned long trees)
{
    unsigned long const files = arguments.size() - trees;
    if (arguments.size() == 1)
        return arguments.front() == "-" ? "standard input" : shown_path(arguments.front());
    return files == 0   ? counted(trees, "tree")
           : trees == 0 ? counted(files, "file")
                        : counted(files, "file") + " and " + counted(trees, "tree");
}

std::vector<std::string> package_lists(fs::path const& directory)
{
    std::vector<std::string> lists;
    std::error_code error;
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error))
    {
        if (entry->path().extension() == ".list")
            lists.push_back(entry->path().string());
    }
    std::sort(lists.begin(), lists.end());
    return lists;
}

} // namespace

Input read_files(std::vector<std::string> const& files, LineSink const& sink, TreeReader const& read_tree)
{
    Input input;
    unsigned long trees = 0;
    for (std::string const& path : files)
    {
        if (is_directory(path))
        {
            ++trees;
            read_tree(path, input);
        }
        else
        {
            read_file(path, input, sink);
        }
    }
    input.title = title_of(files, trees);
    return input;
}

Input read_machine(LineSink const& sink, TreeReader const& read_tree)
{
    std::vector<std::string> const lists = package_lists("/var/lib/dpkg/info");
    bool const has_lists = !lists.empty();
    Input input = read_files(has_lists ? lists : std::vector<std::string>{"/usr"}, sink, read_tree);
    input.title = has_lists ? "the files installed on this machine: /var/lib/dpkg/info/*.list"
                            : "the files on this machine: the tree under /usr";
    return input;
}

} // namespace catalog
