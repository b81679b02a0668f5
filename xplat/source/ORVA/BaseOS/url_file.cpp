#include "ORVA/Files/Url.h"

#include "ORVA/Core.h"
#include "ORVA/String/Codecs.h"

#include <cstring>
#include <cwchar>
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

/// The bits that any of `length` characters has.
template <class Character>
unsigned int bits_of(Character const* text, unsigned long length)
{
    unsigned int bits = 0;
    for (unsigned long i = 0; i < length; ++i)
        bits |= static_cast<unsigned int>(text[i]);
    return bits;
}

bool is_ascii(unsigned int bits)
{
    return bits < 0x80;
}

/// Writes `path`, of ASCII characters alone, up to its terminator with slashes for backslashes.
void narrow_with_slashes(wchar_t const* path, unsigned long size, unsigned char* text)
{
    for (unsigned long i = 0; i < size; ++i)
        text[i] = path[i] == L'\\' ? '/' : static_cast<unsigned char>(path[i]);
}

/// Writes the UTF-8 form of `path`, of `size` bytes with its terminator, with slashes for backslashes.
void encode_with_slashes(wchar_t const* path, unsigned long size, unsigned char* text)
{
    String::nqfWChar_To_UTF8(path, ~0UL, text, size);
    for (; *text != 0; ++text)
    {
        if (*text == '\\')
            *text = '/';
    }
}

/// A holder of a text that is there already.
class WideText : public String::CNQFWChar
{
public:
    WideText(wchar_t* text, unsigned long length) { _adopt(text, length); }
};

/// A holder that has failed to allocate still has a length; an empty result has none.
template <class Holder>
Holder held_or_empty(Holder&& holder)
{
    return holder ? std::forward<Holder>(holder) : Holder();
}

/// The wide form of a decoded path. Empty if the heap is exhausted.
String::CNQFWChar widened(unsigned char const* path)
{
    unsigned long const length = length_of(path);
    if (!is_ascii(bits_of(path, length)))
        return held_or_empty(String::CNQFWChar(path));
    auto* const text = static_cast<wchar_t*>(Core::OS::_falloc((length + 1) * sizeof(wchar_t)));
    if (!text)
        return {};
    for (unsigned long i = 0; i <= length; ++i)
        text[i] = path[i];
    return WideText(text, length);
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
    unsigned long const length = std::wcslen(path);
    bool const plain = is_ascii(bits_of(path, length));
    unsigned long const size = plain ? length + 1 : String::nqfWChar_To_UTF8(path, ~0UL, nullptr, 0);
    Bytes text(size);
    if (!text)
        return {};
    if (plain)
        narrow_with_slashes(path, size, text.get());
    else
        encode_with_slashes(path, size, text.get());

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
    unsigned long const rest_length = size - 1 - static_cast<unsigned long>(rest - text.get());
    unsigned long const encoded_length = URL_encoderequired(rest, slash);
    Bytes url(start_length + encoded_length + 1);
    if (!url)
        return {};
    std::memcpy(url.get(), start, start_length);
    if (encoded_length == rest_length)
        std::memcpy(url.get() + start_length, rest, rest_length + 1); // there is nothing to escape
    else
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
    return path ? widened(path) : String::CNQFWChar();
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
