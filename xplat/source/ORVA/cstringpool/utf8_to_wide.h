/// @file
/// UTF-8 text on its way to wide text: measured first, and stored when there is room for it.
#pragma once

namespace ORVA::String
{

/// The characters from 0x01 to 0x7F that a text begins with, at most `limit`.
unsigned long ascii_length(unsigned char const* source, unsigned long limit);

/// The valid prefix of a UTF-8 text, as UTF8wstrlen measures it, in three parts: its leading ASCII, what is decoded while
/// it is measured, as far as there is room in the object, and the rest, which is measured alone and decoded when it is
/// stored. What is stored needs no second check.
///
/// The text stays the caller's, and must stay as it is until it has been stored.
class Utf8ToWide
{
public:
    /// Measures a text that begins with `ascii` ASCII characters or more.
    Utf8ToWide(unsigned char const* source, unsigned long limit, unsigned long ascii);

    /// The wide characters that the text takes, without a terminator.
    unsigned long length() const { return m_ascii + m_decoded + m_left; }

    /// Stores them.
    void store(wchar_t* destination) const;

private:
    /// 1 KB, most often of the stack, which may be a small one.
    static constexpr unsigned long room = 256;

    unsigned char const* m_source;
    unsigned long m_ascii;
    unsigned long m_decoded;
    unsigned char const* m_rest;
    unsigned long m_left; ///< characters from `m_rest` on
    wchar_t m_characters[room];
};

} // namespace ORVA::String
