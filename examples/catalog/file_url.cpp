#include "file_url.h"

#include "utf8.h"

#include "ORVA/Files.h"
#include "ORVA/String.h"

#include <new>

namespace catalog
{

namespace
{

using namespace ORVA;

char const* as_chars(unsigned char const* text)
{
    return reinterpret_cast<char const*>(text);
}

unsigned char const* as_bytes(char const* text)
{
    return reinterpret_cast<unsigned char const*>(text);
}

std::string escaped_bytes(std::string const& path)
{
    unsigned char const* const bytes = as_bytes(path.c_str());
    unsigned char const* const allowed = as_bytes("/");
    std::basic_string<unsigned char> url(Internetional::URL_encoderequired(bytes, allowed) + 1, 0);
    Internetional::URL_encodebuffer(url.data(), bytes, allowed);
    return as_chars(url.c_str());
}

} // namespace

// The library's function takes wide text, which bytes that are no UTF-8 do not become, and it takes a backslash for a
// separator, which it is not on the systems that this example runs on. For such paths the library's escapes are used by
// themselves.
std::string file_url(std::string const& absolute_path)
{
    if (!is_utf8(absolute_path) || absolute_path.find('\\') != std::string::npos)
        return "file://" + escaped_bytes(absolute_path);
    String::CNQFWChar const wide(as_bytes(absolute_path.c_str()));
    String::CUTF8Char const url = Internetional::file_EncodeURL(wide);
    if (!url)
        throw std::bad_alloc();
    return as_chars(*url);
}

} // namespace catalog
