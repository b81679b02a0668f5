#include "ORVA/Files/Url.h"

#include "ORVA/Core.h"
#include "ORVA/String/Codecs.h"

#include <cstring>
#include <utility>

namespace ORVA::Internetional
{

namespace
{

unsigned char const slash[] = "/";

/// A buffer of bytes on the heap, for the length of a call. False if the heap is exhausted.
class Bytes
{
public:
    explicit Bytes(unsigned long size) : m_bytes(static_cast<unsigned char*>(Core::OS::_falloc(size))) {}
    ~Bytes() { Core::OS::_ffree(m_bytes); }
    Bytes(Bytes const&) = delete;
    Bytes& operator=(Bytes const&) = delete;

    explicit operator bool() const noexcept { return m_bytes != nullptr; }
    unsigned char* get() noexcept { return m_bytes; }

private:
    unsigned char* m_bytes;
};

unsigned long length_of(unsigned char const* text)
{
    return std::strlen(reinterpret_cast<char const*>(text));
}

bool begins_with(unsigned char const* text, char const* start)
{
    return std::strncmp(reinterpret_cast<char const*>(text), start, std::strlen(start)) == 0;
}

bool is_slash(unsigned char character)
{
    return character == '/' || character == '\\';
}

void make_slashes(unsigned char* text)
{
    for (; *text != 0; ++text)
    {
        if (*text == '\\')
            *text = '/';
    }
}

/// A holder that has failed to allocate still has a length; an empty result has none.
template <class Holder>
Holder held_or_empty(Holder&& holder)
{
    return holder ? std::forward<Holder>(holder) : Holder();
}

/// The path in a decoded URL that names no server: from `at` for one with a drive or scheme, from the slash before `at`
/// for any other. Null for a single step.
unsigned char const* local_path(unsigned char const* at)
{
    unsigned char const* const mark = at + std::strcspn(reinterpret_cast<char const*>(at), ":/");
    return *mark == ':' ? at : *mark == '/' ? at - 1 : nullptr;
}

/// The path in a decoded URL, of which `text` is what stands behind its first two slashes. Null for none.
unsigned char const* path_in(unsigned char const* text)
{
    if (*text == 0)
        return nullptr;
    if (*text == '/')
        return is_slash(text[1]) ? nullptr : local_path(text + 1);
    static char const localhost[] = "localhost";
    if (begins_with(text, localhost))
    {
        unsigned char const* const end = text + sizeof(localhost) - 1;
        if (*end == 0)
            return nullptr;
        if (*end == '/')
            return local_path(end + 1);
    }
    return text - 2;
}

} // namespace

String::CUTF8Char file_EncodeURL(wchar_t const* path)
{
    if (!path || *path == 0)
        return {};
    unsigned long const size = String::nqfWChar_To_UTF8(path, ~0UL, nullptr, 0);
    Bytes text(size);
    if (!text)
        return {};
    String::nqfWChar_To_UTF8(path, ~0UL, text.get(), size);
    make_slashes(text.get());

    unsigned char const* rest = text.get();
    char const* start = "file:///";
    if (begins_with(rest, "//"))
    {
        start = "file://";
        rest += 2;
    }
    else if (*rest == '/')
    {
        rest += 1;
    }
    unsigned long const start_length = std::strlen(start);
    Bytes url(start_length + URL_encoderequired(rest, slash) + 1);
    if (!url)
        return {};
    std::memcpy(url.get(), start, start_length);
    URL_encodebuffer(url.get() + start_length, rest, slash);
    return held_or_empty(String::CUTF8Char(url.get()));
}

String::CNQFWChar file_DecodeURL(unsigned char const* url)
{
    if (!url || !begins_with(url, "file://"))
        return {};
    unsigned char const* const escaped = url + std::strlen("file:");
    Bytes text(length_of(escaped) + 1);
    if (!text)
        return {};
    URL_decodebuffer(text.get(), escaped);
    unsigned char const* const path = path_in(text.get() + 2);
    return path ? held_or_empty(String::CNQFWChar(path)) : String::CNQFWChar();
}

String::CNQFWChar file_DecodeURL(wchar_t const* url)
{
    if (!url || *url == 0)
        return {};
    unsigned long const size = String::nqfWChar_To_UTF8(url, ~0UL, nullptr, 0);
    Bytes text(size);
    if (!text)
        return {};
    String::nqfWChar_To_UTF8(url, ~0UL, text.get(), size);
    return file_DecodeURL(text.get());
}

} // namespace ORVA::Internetional
