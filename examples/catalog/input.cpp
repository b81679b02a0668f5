#include "input.h"

#include "utf8.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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
        ++input.files_read;
    else
        input.problems.push_back("cannot read " + (path == "-" ? "standard input" : "'" + escaped(path) + "'") + ": " +
                                 (error == EISDIR ? "it is a directory, not a file of names" : std::strerror(error)));
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

Input read_files(std::vector<std::string> const& files, LineSink const& sink)
{
    Input input;
    std::string const& first = files.front();
    input.title =
        files.size() > 1 ? std::to_string(files.size()) + " files" : escaped(first == "-" ? "standard input" : first);
    for (std::string const& path : files)
        read_file(path, input, sink);
    return input;
}

Input read_machine(LineSink const& sink)
{
    std::vector<std::string> const lists = package_lists("/var/lib/dpkg/info");
    if (lists.empty())
        return read_tree("/usr", sink);
    Input input = read_files(lists, sink);
    input.title = "the files installed on this machine: /var/lib/dpkg/info/*.list";
    return input;
}

Input read_tree(std::string const& root, LineSink const& sink)
{
    Input input;
    input.title = "the files on this machine: the tree under " + escaped(root);
    std::error_code error;
    fs::recursive_directory_iterator entry(root, fs::directory_options::skip_permission_denied, error);
    unsigned long number = 0;
    for (fs::recursive_directory_iterator const end; !error && entry != end; entry.increment(error))
    {
        std::string const& path = entry->path().native();
        sink({path, root, ++number, path.size()});
    }
    if (error)
        input.problems.push_back("cannot read all of '" + escaped(root) + "': " + error.message());
    else
        input.files_read = 1;
    return input;
}

} // namespace catalog
