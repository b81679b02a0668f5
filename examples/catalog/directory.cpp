#include "directory.h"

#include "utf8.h"

#include "ORVA/String.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

namespace catalog
{

namespace
{

using namespace ORVA;

Kind kind_of(mode_t mode)
{
    return S_ISREG(mode) ? Kind::file : S_ISDIR(mode) ? Kind::directory : S_ISLNK(mode) ? Kind::link : Kind::other;
}

// What the stream tells by itself, which file systems need not; CFindData tells directories from all else only.
Kind kind_of(unsigned char type)
{
    return type == DT_REG ? Kind::file : type == DT_DIR ? Kind::directory : type == DT_LNK ? Kind::link : Kind::other;
}

bool is_the_directory_or_its_parent(char const* name)
{
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

// True if the wide text is the UTF-8 text. A system's names have 255 bytes; longer ones simply differ.
bool same(wchar_t const* wide, std::string_view utf8)
{
    unsigned char text[1024];
    unsigned long const size = wide == nullptr ? 0 : String::nqfWChar_To_UTF8(wide, ~0UL, text, sizeof text);
    return size == utf8.size() + 1 && std::memcmp(text, utf8.data(), utf8.size()) == 0 && is_utf8(utf8);
}

// The separator at the end keeps a backslash before it part of the name: at the end of a path the enumerator takes
// either for a separator.
bool begin(Files::OS::CDirectoryEnumerator& enumerator, std::string const& path)
{
    if (!is_utf8(path))
        return false;
    String::CNQFWChar const wide(reinterpret_cast<unsigned char const*>((path + "/").c_str()));
    return enumerator.BeginEnumerate(wide) != 0;
}

} // namespace

Directory::Directory(std::string const& path, bool follow_link)
{
    // One that was replaced by a link since it was listed is not entered.
    int const descriptor = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | (follow_link ? 0 : O_NOFOLLOW));
    if (descriptor >= 0)
        m_stream = fdopendir(descriptor);
    if (m_stream == nullptr)
    {
        m_error = errno;
        if (descriptor >= 0)
            close(descriptor);
        return;
    }
    m_in_step = begin(m_enumerator, path);
}

Directory::~Directory()
{
    if (m_stream != nullptr)
        closedir(m_stream);
}

bool Directory::next(Entry& entry)
{
    dirent const* found = nullptr;
    do
    {
        errno = 0;
        // NOLINTNEXTLINE(concurrency-mt-unsafe): safe on streams of one's own
        found = m_stream == nullptr ? nullptr : readdir(m_stream);
    } while (found != nullptr && is_the_directory_or_its_parent(found->d_name));
    if (found == nullptr)
    {
        // The enumerator does not tell this from the end.
        if (m_stream != nullptr)
            m_error = errno;
        return false;
    }

    entry = Entry();
    entry.name = found->d_name;
    entry.kind = kind_of(found->d_type);
    m_in_step = m_in_step && m_enumerator.GetNext(m_data) != 0 && same(m_data.GetFilename(), entry.name);

    // Without a record all is 0; the time of the last change of status cannot be set to that.
    if (m_in_step && m_data.GetCreated() != 0 && found->d_type != DT_UNKNOWN)
    {
        entry.known = true;
        entry.size = m_data.GetSize();
        entry.modified = m_data.GetLastModified() / 1000;
    }
    else
    {
        _ask_system(entry);
    }
    return true;
}

// From the open directory, so that the length of its path does not matter.
void Directory::_ask_system(Entry& entry) const
{
    struct stat record;
    if (fstatat(dirfd(m_stream), entry.name.c_str(), &record, AT_SYMLINK_NOFOLLOW) != 0)
        return;
    entry.known = true;
    entry.kind = kind_of(record.st_mode);
    entry.size = record.st_size;
    entry.modified = record.st_mtime;
}

} // namespace catalog
