#include "ORVA/String/Encoders.h"

#include "ORVA/Develop/Log.h"
#include "ORVA/String/Pool.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <utility>

namespace ORVA::String
{

namespace
{

using Buffers::CPPlainMemory;

constexpr unsigned long group_characters = 4;

// Groups that are worked on at once, by vector code.
constexpr unsigned long block_groups = 16;

// What makes the form C3F: groups of three bytes, six bits to a character.
struct C3F
{
    static constexpr unsigned long group_bytes = 3;
    static constexpr unsigned int header = 0x103;
    static constexpr bool has_blocks = true;

    static void refuse()
    {
        Develop::_logWrite(_nqfDebugBadInput, L"ORVA", "cstringpool", 4316, L"C3FDecoder: Invalid string passed");
    }

    static void encode(unsigned char const* bytes, wchar_t* text)
    {
        unsigned int const b0 = bytes[0];
        unsigned int const b1 = bytes[1];
        unsigned int const b2 = bytes[2];
        text[0] = static_cast<wchar_t>((b0 & 63) + 33);
        // Eight bits, not six: the sum wraps for a low half of 14 or 15, and what is lost does not come back.
        text[1] = static_cast<wchar_t>(((b0 >> 6 | b1 << 4) + 33) & 255);
        text[2] = static_cast<wchar_t>((b1 >> 4 | (b2 & 3) << 4) + 33);
        text[3] = static_cast<wchar_t>((b2 >> 2) + 33);
    }

    // `encode` for a block of groups. Reads one byte behind them.
    static void encode_block(unsigned char const* bytes, wchar_t* text)
    {
        unsigned int groups[block_groups];
        for (unsigned long i = 0; i < block_groups; ++i)
            std::memcpy(&groups[i], bytes + i * group_bytes, sizeof(unsigned int));
        for (unsigned long i = 0; i < block_groups; ++i, text += group_characters)
        {
            unsigned int const b = groups[i];
            text[0] = static_cast<wchar_t>((b & 63) + 33);
            text[1] = static_cast<wchar_t>((((b >> 6 & 3) | (b >> 4 & 240)) + 33) & 255);
            text[2] = static_cast<wchar_t>((b >> 12 & 63) + 33);
            text[3] = static_cast<wchar_t>((b >> 18 & 63) + 33);
        }
    }

    // `decode` for a block of groups. Writes one byte behind them.
    static void decode_block(wchar_t const* text, unsigned char* bytes)
    {
        unsigned int groups[block_groups];
        for (unsigned long i = 0; i < block_groups; ++i, text += group_characters)
        {
            auto const c0 = static_cast<unsigned int>(text[0]);
            auto const c1 = static_cast<unsigned int>(text[1]);
            auto const c2 = static_cast<unsigned int>(text[2]);
            auto const c3 = static_cast<unsigned int>(text[3]);
            groups[i] = (((c1 + 223) << 6 | (c0 - 33)) & 255) | (((c2 - 33) << 4 | (c1 + 4063) >> 4) & 255) << 8 |
                        (((c3 - 33) << 2 | (c2 + 4063) >> 4) & 255) << 16;
        }
        for (unsigned long i = 0; i < block_groups; ++i)
            std::memcpy(bytes + i * group_bytes, &groups[i], sizeof(unsigned int));
    }

    static void decode(unsigned int const* text, unsigned char* bytes)
    {
        // 33 is taken off modulo 4096 where the upper bits are shifted in, so a character below it brings ones along.
        bytes[0] = static_cast<unsigned char>((text[1] + 223) << 6 | (text[0] - 33));
        bytes[1] = static_cast<unsigned char>((text[2] - 33) << 4 | (text[1] + 4063) >> 4);
        bytes[2] = static_cast<unsigned char>((text[3] - 33) << 2 | (text[2] + 4063) >> 4);
    }
};

// What makes the form C3FFF: groups of seven bytes, 14 bits to a character.
struct C3FFF
{
    static constexpr unsigned long group_bytes = 7;
    static constexpr unsigned int header = 0x307;
    static constexpr bool has_blocks = false;

    static void refuse()
    {
        Develop::_logWrite(_nqfDebugBadInput, L"ORVA", "cstringpool", 4500, L"C3FFFDecoder: Invalid string passed");
    }

    static void encode(unsigned char const* bytes, wchar_t* text)
    {
        unsigned int b[group_bytes];
        std::copy_n(bytes, group_bytes, b);
        text[0] = static_cast<wchar_t>(0x4000 | b[0] | (b[1] & 63) << 8);
        text[1] = static_cast<wchar_t>(0x4000 | b[2] << 2 | (b[3] & 15) << 10 | b[1] >> 6);
        text[2] = static_cast<wchar_t>(0x4000 | b[4] << 4 | (b[5] & 3) << 12 | b[3] >> 4);
        text[3] = static_cast<wchar_t>(0x4000 | b[6] << 6 | b[5] >> 2);
    }

    static void decode(unsigned int const* text, unsigned char* bytes)
    {
        bytes[0] = static_cast<unsigned char>(text[0]);
        bytes[1] = static_cast<unsigned char>((text[0] >> 8 & 63) | text[1] << 6);
        bytes[2] = static_cast<unsigned char>(text[1] >> 2);
        bytes[3] = static_cast<unsigned char>((text[1] >> 10 & 15) | text[2] << 4);
        bytes[4] = static_cast<unsigned char>(text[2] >> 4);
        bytes[5] = static_cast<unsigned char>((text[2] >> 12 & 3) | text[3] << 2);
        bytes[6] = static_cast<unsigned char>(text[3] >> 6);
    }
};

template <class Form>
unsigned long longest_text(unsigned long count)
{
    return count / Form::group_bytes * group_characters + 5;
}

// Writes the text of `count` bytes at `input` and leaves both behind them.
template <class Form>
void encode(unsigned char const*& input, unsigned long& count, wchar_t* text)
{
    *text++ = static_cast<wchar_t>(count % Form::group_bytes ^ Form::header);
    if constexpr (Form::has_blocks)
    {
        for (; count > block_groups * Form::group_bytes; count -= block_groups * Form::group_bytes)
        {
            Form::encode_block(input, text);
            input += block_groups * Form::group_bytes;
            text += block_groups * group_characters;
        }
    }
    for (; count >= Form::group_bytes; count -= Form::group_bytes)
    {
        Form::encode(input, text);
        input += Form::group_bytes;
        text += group_characters;
    }
    if (count != 0)
    {
        unsigned char padded[Form::group_bytes] = {};
        std::copy_n(input, count, padded);
        Form::encode(padded, text);
        input += count;
        count = 0;
        text += group_characters;
    }
    *text = L'\0';
}

template <class Form>
bool is_valid(wchar_t const* text, unsigned long length)
{
    if (text == nullptr || length % group_characters != 1)
        return false;
    auto const header = static_cast<unsigned int>(*text);
    return (header & 0xFF00) == (Form::header & 0xFF00) && (header & 0xFF) < Form::group_bytes;
}

template <class Form>
void decode_group(wchar_t const* text, unsigned char* bytes)
{
    unsigned int characters[group_characters];
    std::transform(text, text + group_characters, characters,
                   [](wchar_t character) { return static_cast<unsigned int>(character); });
    Form::decode(characters, bytes);
}

// The bytes of `text`; empty if there are none.
template <class Form>
CPPlainMemory decode(wchar_t const* text, unsigned long length)
{
    CPPlainMemory result;
    if (!is_valid<Form>(text, length))
    {
        Form::refuse();
        return result;
    }
    unsigned long const capacity = length / group_characters * Form::group_bytes;
    unsigned long const padding = static_cast<unsigned int>(*text++) & 0xFF;
    if (capacity == 0 || !result.Alloc(capacity - padding))
        return result;
    auto* bytes = static_cast<unsigned char*>(result.get_ptr());
    unsigned long left = result.GetSize();
    if constexpr (Form::has_blocks)
    {
        for (; left > block_groups * Form::group_bytes; left -= block_groups * Form::group_bytes)
        {
            Form::decode_block(text, bytes);
            bytes += block_groups * Form::group_bytes;
            text += block_groups * group_characters;
        }
    }
    for (; left >= Form::group_bytes; left -= Form::group_bytes)
    {
        decode_group<Form>(text, bytes);
        bytes += Form::group_bytes;
        text += group_characters;
    }
    if (left != 0)
    {
        unsigned char group[Form::group_bytes];
        decode_group<Form>(text, group);
        std::copy_n(group, left, bytes);
    }
    return result;
}

unsigned long length_of(wchar_t const* text)
{
    return text == nullptr ? 0 : std::wcslen(text);
}

} // namespace

C3FEncoder::C3FEncoder(void const* data, unsigned long size)
    : m_input(static_cast<unsigned char const*>(data)), m_count(size)
{
    m_text = CStringPool::GetStringRef(this);
}

C3FEncoder::C3FEncoder(CPPlainMemory const& data) : C3FEncoder(data.get_cptr(), data.GetSize()) {}

unsigned long C3FEncoder::GetStringLen()
{
    return longest_text<C3F>(m_count);
}

unsigned int C3FEncoder::GetString(wchar_t* buffer)
{
    encode<C3F>(m_input, m_count, buffer);
    return 1;
}

C3FFFEncoder::C3FFFEncoder(void const* data, unsigned long size)
    : m_input(static_cast<unsigned char const*>(data)), m_count(size)
{
    m_text = CStringPool::GetStringRef(this);
}

C3FFFEncoder::C3FFFEncoder(CPPlainMemory const& data) : C3FFFEncoder(data.get_cptr(), data.GetSize()) {}

unsigned long C3FFFEncoder::GetStringLen()
{
    return longest_text<C3FFF>(m_count);
}

unsigned int C3FFFEncoder::GetString(wchar_t* buffer)
{
    encode<C3FFF>(m_input, m_count, buffer);
    return 1;
}

C3FDecoder::C3FDecoder(wchar_t const* text)
{
    _set(text, length_of(text));
}

C3FDecoder::C3FDecoder(CPPoolString const& text)
{
    _set(*text, text.len());
}

void C3FDecoder::_set(wchar_t const* text, unsigned long length)
{
    m_bytes = decode<C3F>(text, length);
}

C3FFFDecoder::C3FFFDecoder(wchar_t const* text)
{
    _set(text, length_of(text));
}

C3FFFDecoder::C3FFFDecoder(CPPoolString const& text)
{
    _set(*text, text.len());
}

void C3FFFDecoder::_set(wchar_t const* text, unsigned long length)
{
    m_bytes = decode<C3FFF>(text, length);
}

} // namespace ORVA::String
