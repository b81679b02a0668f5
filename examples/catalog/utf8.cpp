#include "utf8.h"

#include <cstdio>

namespace catalog
{

namespace
{

unsigned char const* bytes_of(std::string_view text)
{
    return reinterpret_cast<unsigned char const*>(text.data());
}

// Characters that move the cursor, switch the terminal's state or turn the direction of writing, or are not seen.
bool controls_the_terminal(unsigned int character)
{
    return character < 0x20 || (character >= 0x7F && character < 0xA0) || character == 0x61C ||
           (character >= 0x200B && character <= 0x200F) || (character >= 0x2028 && character <= 0x202E) ||
           (character >= 0x2060 && character <= 0x206F) || character == 0xFEFF;
}

void append_hexadecimal(std::string& text, unsigned char byte)
{
    char code[5];
    std::snprintf(code, sizeof code, "\\x%02X", byte);
    text += code;
}

// The bytes of the first `limit` characters of a name.
std::string_view beginning(ORVA::String::CPPoolString const& name, unsigned long limit)
{
    unsigned char const* const view = name;
    unsigned char const* end = view;
    for (unsigned int character; limit != 0 && *end != 0; --limit)
        ORVA::String::utf8_nqfW32(&character, end);
    return {reinterpret_cast<char const*>(view), static_cast<unsigned long>(end - view)};
}

// Valid UTF-8 with what would control the terminal as \xNN.
std::string printable(std::string_view bytes)
{
    std::string text;
    unsigned char const* next = bytes_of(bytes);
    unsigned char const* const end = next + bytes.size();
    while (next != end)
    {
        unsigned char const* byte = next;
        unsigned int character;
        ORVA::String::utf8_nqfW32(&character, next);
        if (character == '\\')
            text += '\\';
        for (; byte != next; ++byte)
        {
            if (controls_the_terminal(character))
                append_hexadecimal(text, *byte);
            else
                text += static_cast<char>(*byte);
        }
    }
    return text;
}

// The nearest place, from `place` on, at which no character is cut.
std::size_t whole_characters(std::string_view utf8, std::size_t place)
{
    while (place < utf8.size() && (bytes_of(utf8)[place] & 0xC0) == 0x80)
        ++place;
    return place;
}

} // namespace

bool is_utf8(std::string_view bytes)
{
    unsigned char const* next = bytes_of(bytes);
    unsigned char const* const end = next + bytes.size();
    while (next != end)
    {
        unsigned char const* const start = next;
        unsigned int const length = ORVA::String::UTF8Len(*start);
        unsigned int character;
        if (*start == 0 || length == 0 || length > static_cast<unsigned long>(end - start))
            return false;
        if (ORVA::String::utf8_nqfW32(&character, next) == 0)
            return false;
        bool const shortest = ORVA::String::UTF8Size(character) == length;
        bool const surrogate = character >= 0xD800 && character <= 0xDFFF;
        if (!shortest || surrogate)
            return false;
    }
    return true;
}

std::string escaped(std::string_view bytes)
{
    std::string text;
    for (char const c : bytes)
    {
        if (c == '\\')
            text += "\\\\";
        else if (c >= 0x20 && c < 0x7F)
            text += c;
        else
            append_hexadecimal(text, static_cast<unsigned char>(c));
    }
    return text;
}

std::string shown(ORVA::String::CPPoolString const& name, unsigned long limit)
{
    std::string const text = printable(beginning(name, limit));
    return name.len() > limit ? text + "..." : text;
}

std::string shown_path(std::string_view path)
{
    constexpr std::size_t most = 240;
    constexpr std::size_t at_each_end = 118;

    bool const valid = is_utf8(path);
    auto const show = [valid](std::string_view part) { return valid ? printable(part) : escaped(part); };
    if (path.size() <= most)
        return show(path);
    std::size_t const start = valid ? whole_characters(path, at_each_end) : at_each_end;
    std::size_t const end = valid ? whole_characters(path, path.size() - at_each_end) : path.size() - at_each_end;
    return show(path.substr(0, start)) + "..." + show(path.substr(end));
}

std::string json_string(std::string_view text)
{
    std::string quoted = "\"";
    unsigned char const* next = bytes_of(text);
    unsigned char const* const end = next + text.size();
    while (next != end)
    {
        unsigned char const* const start = next;
        unsigned int character;
        ORVA::String::utf8_nqfW32(&character, next);
        if (character == '"' || character == '\\')
            quoted += '\\';
        if (controls_the_terminal(character))
        {
            char code[7];
            std::snprintf(code, sizeof code, "\\u%04x", character & 0xFFFF);
            quoted += code;
        }
        else
        {
            quoted.append(start, next);
        }
    }
    return quoted + '"';
}

std::string json_string(ORVA::String::CPPoolString const& name, unsigned long limit)
{
    return json_string(beginning(name, limit));
}

} // namespace catalog
