/// @file
/// Texts as the string pool sees them: what it tells them apart by, and the forms in which they are handed over to it.
#pragma once

#include "fuzz/harness.h"

#include "ORVA/String/PoolString.h"
#include "ORVA/String/Submitter.h"

#include "reference/plain_codecs.h"

#include <array>
#include <cwctype>

namespace fuzz::pool
{

using namespace ORVA::String;

inline constexpr unsigned long compared = 10;

inline unsigned int value_of(wchar_t character)
{
    return static_cast<unsigned int>(character);
}

inline unsigned int folded(wchar_t character)
{
    unsigned int const value = value_of(character);
    return value >> 16 == 0 ? static_cast<unsigned int>(std::towlower(static_cast<std::wint_t>(character))) : value;
}

// What the pool tells texts apart by: 16 bits of each character and of its folded form, and the first characters whole.
using Identity = std::vector<std::array<unsigned int, 3>>;

inline Identity identity_of(std::wstring const& text)
{
    Identity identity;
    for (unsigned long index = 0; index < text.size(); ++index)
        identity.push_back({value_of(text[index]) & 0xFFFF, folded(text[index]) & 0xFFFF,
                            index < compared ? value_of(text[index]) : 0});
    return identity;
}

// A word in any spelling.
using Word = std::vector<unsigned int>;

inline Word word_of(std::wstring const& text)
{
    Word word;
    for (wchar_t const character : text)
        word.push_back(folded(character) & 0xFFFF);
    return word;
}

// Words that share their 16 bits and differ in their first characters would disturb each other, as the pool does not
// tell them apart where it takes them out. Here, characters above 16 bits are of one plane and shadow no others.
inline bool is_plain_beginning(std::wstring const& text)
{
    return std::all_of(text.begin(), text.begin() + static_cast<long>(std::min(text.size(), compared)),
                       [](wchar_t character)
                       {
                           unsigned int const value = value_of(character);
                           return value < 0xF000 || (value >= 0x1F000 && value < 0x20000);
                       });
}

// A text with the size in UTF-8 of the source that it first came from.
struct Source
{
    std::wstring text;
    unsigned long utf8_size;
};

inline Source wide_source(std::wstring const& text)
{
    unsigned long size = 0;
    for (wchar_t const character : text)
        size += plain::utf8_size(value_of(character));
    return {text, size};
}

class WholeText final : public IStringSubmitter
{
public:
    explicit WholeText(std::wstring const& text) : m_text(text) {}
    unsigned long GetStringLen() override { return m_text.size(); }
    unsigned int GetString(wchar_t* buffer) override
    {
        m_text.copy(buffer, m_text.size());
        buffer[m_text.size()] = L'!'; // where the terminator comes
        return 1;
    }

private:
    std::wstring const& m_text;
};

// How a text is handed over.
struct Form
{
    bool is_bounded;
    bool is_utf8;
};

inline Form form_of(unsigned long number)
{
    return {number % 2 == 0, number >= 2};
}

// False for text that UTF-8 has no form for.
inline bool encode(std::wstring const& text, fuzz::Bytes& bytes)
{
    bool has_form = true;
    for (wchar_t const character : text)
    {
        unsigned char form[4];
        unsigned int const count = plain::encode_utf8(form, value_of(character));
        bytes.insert(bytes.end(), form, form + count);
        has_form = has_form && count != 0;
    }
    return has_form;
}

// Gives `text` to one of four functions, in the form, with more behind it where it is bounded.
template <class Wide, class WideBounded, class Utf8, class Utf8Bounded>
_cppoolstring ask(std::wstring const& text, Form form, Wide wide, WideBounded wide_bounded, Utf8 utf8,
                  Utf8Bounded utf8_bounded)
{
    fuzz::Bytes bytes;
    if (!form.is_utf8 || !encode(text, bytes))
        return form.is_bounded ? wide_bounded((text + text).c_str(), text.size()) : wide(text.c_str());
    unsigned long const size = bytes.size();
    if (form.is_bounded)
        bytes.insert(bytes.end(), bytes.begin(), bytes.begin() + static_cast<long>(size));
    fuzz::Exact<unsigned char> const source = fuzz::terminated<unsigned char>(bytes);
    return form.is_bounded ? utf8_bounded(source, size) : utf8(source);
}

} // namespace fuzz::pool
