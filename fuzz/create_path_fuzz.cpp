// The making of a path: below a directory of the harness's own, the same directories come about as by making the parts of
// the path one after the other, and one that cannot be made ends it with one report.
#include "fuzz/harness.h"

#include "ORVA/Files/Path.h"

#include "reference/plain_codecs.h"
#include "reference/plain_path.h"

#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;

// The form that the system gets.
std::string narrowed(std::wstring const& text)
{
    std::string result;
    for (wchar_t const character : text)
    {
        unsigned char form[4];
        unsigned int const size = plain::encode_utf8(form, static_cast<unsigned int>(character));
        if (size == 0)
            break;
        result.append(reinterpret_cast<char const*>(form), size);
    }
    return result;
}

// Whether no step of a path leads upwards, with either separator behind it: the last one goes, and all end a step.
bool stays_below(std::string path)
{
    std::replace(path.begin(), path.end(), '\\', '/');
    return ('/' + path + '/').find("/../") == std::string::npos;
}

// The directory below which everything happens. What comes about in it goes again after each run.
class Root
{
public:
    // In memory, where there is such a place: this is about the sequence of steps, and not about a disk.
    Root() : m_path(::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : fs::temp_directory_path().string())
    {
        m_path += "/orva-fuzz-XXXXXX";
        REQUIRE(::mkdtemp(m_path.data()) != nullptr);
    }
    ~Root()
    {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    Root(Root const&) = delete;
    Root& operator=(Root const&) = delete;

    std::string const& path() const { return m_path; }

    std::set<std::string> take_content() const
    {
        std::set<std::string> result;
        for (fs::directory_entry const& entry : fs::recursive_directory_iterator(m_path))
            result.insert(entry.path().string().substr(m_path.size()));
        for (fs::directory_entry const& entry : fs::directory_iterator(m_path))
            fs::remove_all(entry.path());
        return result;
    }

private:
    std::string m_path;
};

// What a file system makes of the same: names of up to 255 bytes, and no directory without the one above.
class Model
{
public:
    explicit Model(std::string const& root) : m_root(root) {}

    bool provide(std::string const& path)
    {
        std::string const from_root = path.substr(path.find_first_not_of('/') - 1);
        if (from_root.size() <= m_root.size())
            return true; // one of those that are above
        std::string directory;
        std::istringstream steps(from_root.substr(m_root.size()));
        bool is_there = true;
        for (std::string step; std::getline(steps, step, '/');)
        {
            if (step.empty())
                continue;
            if (!is_there || step.size() > 255)
                return false;
            if (step == ".")
                continue;
            directory += '/' + step;
            is_there = m_content.count(directory) != 0;
        }
        if (!is_there)
            m_content.insert(directory);
        return true;
    }

    std::set<std::string> const& content() const { return m_content; }

private:
    std::string m_root;
    std::set<std::string> m_content;
};

bool is_separator(wchar_t character)
{
    return character == L'/' || character == L'\\';
}

// Makes the directories that a path names. The number of failures, which is 1 at the most.
unsigned long make(std::wstring const& path, Model& model)
{
    std::wstring const formed = plain::format_path(path, L'\0');
    plain::PathParts parts;
    if (!plain::parse_path(formed, false, parts) || parts.directory == plain::none)
        return 0;
    long const end = parts.directory_end;
    if (!is_separator(formed[static_cast<unsigned long>(parts.directory)]) || end - parts.directory < 2)
        return 0;
    long start = parts.directory;
    for (long const part : {parts.server, parts.drive, parts.prefix})
        start = part == plain::none ? start : part;
    bool is_share = parts.server != plain::none && parts.drive == plain::none;
    for (long at = parts.directory + 1; at <= end; ++at)
    {
        bool const is_end = at == end;
        if (!is_end && !is_separator(formed[static_cast<unsigned long>(at)]))
            continue;
        if (is_end && is_share)
            return 0;
        is_share = false;
        std::string const made =
            narrowed(formed.substr(static_cast<unsigned long>(start), static_cast<unsigned long>(at - start)));
        if (!model.provide(made))
            return 1;
    }
    return 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Input input(data, size);
    unsigned long const options = input.byte();
    std::wstring const text = input.text(400);
    // Blanks are left out, and two separators at the start make the first directory a server.
    std::wstring const blanks(options % 4, L' ');
    std::wstring const start = (options & 4) != 0 ? L"/" : L"";
    if (!stays_below(narrowed(text)))
        return 0;

    static Root const root;
    std::wstring const path = blanks + start + std::wstring(root.path().begin(), root.path().end()) + L'/' + text;
    Model model(root.path());
    unsigned long const failures = make(path, model);
    fuzz::Reports reports;
    fuzz::Exact<wchar_t> const exact = fuzz::terminated<wchar_t>(path);
    ORVA::Files::FU_CreatePath(exact);
    REQUIRE(reports.take().size() == failures);
    REQUIRE(root.take_content() == model.content());
    REQUIRE(path == exact.get());
    return 0;
}
