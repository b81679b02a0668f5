#include "ORVA/NQF/UID.h"

#include <cstdio>
#include <cwchar>

namespace ORVA::NQF
{

namespace
{

int scan_groups(char const* text, _nqfUID& uid, unsigned short& fourth)
{
    return std::sscanf(text, "%x-%hx-%hx-%hx", &uid.Data1, &uid.Data2, &uid.Data3, &fourth);
}

int scan_groups(wchar_t const* text, _nqfUID& uid, unsigned short& fourth)
{
    return std::swscanf(text, L"%x-%hx-%hx-%hx", &uid.Data1, &uid.Data2, &uid.Data3, &fourth);
}

int scan_pair(char const* pair, unsigned short& value)
{
    return std::sscanf(pair, "%hx", &value);
}

int scan_pair(wchar_t const* pair, unsigned short& value)
{
    return std::swscanf(pair, L"%hx", &value);
}

template <class Char>
int parse(Char const* text, _nqfUID& result)
{
    result = _nqfUID{};
    if (!text)
        return 1;

    unsigned long hyphens = 0;
    Char const* last_hyphen = nullptr;
    for (Char const* at = text; *at; ++at)
    {
        if (*at == Char('-'))
        {
            ++hyphens;
            last_hyphen = at;
        }
    }
    if (hyphens != 4)
        return 1;

    _nqfUID uid = {};
    unsigned short scanned = 0;
    if (scan_groups(text, uid, scanned) != 4)
        return 0;
    uid.Data4[0] = static_cast<unsigned char>(scanned >> 8);
    uid.Data4[1] = static_cast<unsigned char>(scanned);

    Char const* at = last_hyphen + 1;
    for (int byte = 2; byte < 8; ++byte, at += 2)
    {
        if (!at[0] || !at[1])
            return 0;
        Char const pair[3] = {at[0], at[1], 0};
        // A pair of blanks is the end of the input and not 0: the byte is then what was scanned before it.
        if (scan_pair(pair, scanned) == 0)
            return 0;
        uid.Data4[byte] = static_cast<unsigned char>(scanned);
    }
    result = uid;
    return 1;
}

constexpr int text_length = 36;

template <class Char>
class CanonicalText
{
public:
    explicit CanonicalText(_nqfUID const& uid)
    {
        append(uid.Data1, 8);
        append_hyphen();
        append(uid.Data2, 4);
        append_hyphen();
        append(uid.Data3, 4);
        append_hyphen();
        for (int byte = 0; byte < 8; ++byte)
        {
            if (byte == 2)
                append_hyphen();
            append(uid.Data4[byte], 2);
        }
        *m_end = 0;
    }

    Char const* text() const { return m_text; }

private:
    void append_hyphen() { *m_end++ = Char('-'); }

    void append(unsigned int value, int digits)
    {
        while (digits-- > 0)
            *m_end++ = Char("0123456789ABCDEF"[value >> (4 * digits) & 0xFU]);
    }

    Char m_text[text_length + 1];
    Char* m_end = m_text;
};

} // namespace

_nqfUID const nqfUID_null = {};

int cnqfuid::Set(char const* text) noexcept
{
    return parse(text, m_uid);
}

int cnqfuid::Set(wchar_t const* text) noexcept
{
    return parse(text, m_uid);
}

String::CANSIChar cnqfuid::ANSI() const
{
    return CanonicalText<char>(m_uid).text();
}

cnqfuid::operator String::CNQFWChar() const
{
    return CanonicalText<wchar_t>(m_uid).text();
}

} // namespace ORVA::NQF
