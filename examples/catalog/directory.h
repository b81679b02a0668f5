/// @file
/// The entries of one directory, by the names that they really have.
///
/// The library's enumerator gives a name as wide text, decoded by the process's locale. Of a name with bytes that the
/// locale refuses it gives what stands before them, and does not tell that it is not all: "caf\xE9" comes as "caf",
/// beside which there may be another file that is called so. And a directory whose own path is no UTF-8 cannot be named
/// to it at all, since paths are wide text.
///
/// So the directory is read twice at the same time: by the enumerator, and by the system's `readdir`, which has the
/// bytes of the names. As long as both give the same name, the enumerator's answer is taken. From the first name on in
/// which they differ, the system is asked about each entry directly, up to the end of that directory; this goes for all
/// of a directory that the enumerator cannot be given. The second reading costs little beside the question about each
/// entry, and it makes no difference what the locale is.
#pragma once

#include "ORVA/Files.h"

#include <string>

namespace catalog
{

enum class Kind
{
    file, ///< a regular one
    directory,
    link, ///< symbolic; where it leads does not matter
    other ///< a device, a pipe, a socket
};

struct Entry
{
    std::string name; ///< its bytes, whatever they are
    Kind kind = Kind::other;
    bool known = false; ///< false if the system tells no more about it: it has gone, or must not be looked at
    long size = 0;      ///< in bytes; 0 if not known
    long modified = 0;  ///< in seconds since the epoch; 0 if not known
};

class Directory
{
public:
    /// Opens the directory at `path`. If that is a link it is followed only if `follow_link` says so.
    Directory(std::string const& path, bool follow_link);
    ~Directory();
    Directory(Directory const&) = delete;
    Directory& operator=(Directory const&) = delete;

    bool is_open() const { return m_stream != nullptr; }

    /// The next entry, in the order of the system; false at the end. "." and ".." are left out.
    bool next(Entry& entry);

    /// What kept the directory from being opened or from being read to its end, as in `errno`; 0 for nothing.
    int error() const { return m_error; }

private:
    void _ask_system(Entry& entry) const;

    DIR* m_stream = nullptr;
    int m_error = 0;
    ORVA::Files::OS::CDirectoryEnumerator m_enumerator;
    ORVA::Files::OS::CFindData m_data;
    bool m_in_step = false; ///< the enumerator stands where the stream does
};

} // namespace catalog
