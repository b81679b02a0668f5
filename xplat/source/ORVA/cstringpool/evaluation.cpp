#include "cstringpool/evaluation_kernels.h"

#include "ORVA/String/Codecs.h"

#include <initializer_list>

namespace ORVA::String::evaluation
{

namespace
{

// Collects the low 16 bits of characters and of their folded forms as pairs of bytes, and hashes them in pieces. The
// folded text costs nothing as long as it does not differ from the text.
class CharacterHash
{
public:
    explicit CharacterHash(Kernel const& kernel) : m_kernel(kernel) {}

    void add(unsigned int character, unsigned int folded)
    {
        store(m_text + m_filled, character);
        store(m_folded + m_filled, folded);
        m_differs |= ((character ^ folded) & 0xFFFF) != 0;
        m_filled += 2;
        if (m_filled == sizeof m_text)
            flush();
    }

    // Takes in what is left over. The hashes are valid after it.
    void flush()
    {
        unsigned long const text_hash = m_kernel.evaluate_bytes(m_text, m_filled, m_text_hash);
        m_folded_hash = m_differs ? m_kernel.evaluate_bytes(m_folded, m_filled, m_folded_hash) : text_hash;
        m_text_hash = text_hash;
        m_filled = 0;
    }

    unsigned long text_hash() const { return m_text_hash; }
    unsigned long folded_hash() const { return m_folded_hash; }

private:
    static void store(unsigned char* bytes, unsigned int character)
    {
        bytes[0] = static_cast<unsigned char>(character);
        bytes[1] = static_cast<unsigned char>(character >> 8);
    }

    Kernel const& m_kernel;
    unsigned long m_text_hash = 0;
    unsigned long m_folded_hash = 0;
    unsigned long m_filled = 0;
    bool m_differs = false;
    unsigned char m_text[512];
    unsigned char m_folded[512];
};

// Folds characters, ASCII without asking the mapping where that is known to make no difference.
class Folding
{
public:
    explicit Folding(CaseMapping const& mapping) : m_lower(mapping.lower), m_plain(mapping.lowers_ascii_plainly()) {}

    unsigned int operator()(unsigned int character) const
    {
        if (character < 0x80 && m_plain)
            return character - 'A' <= 'Z' - 'A' ? character | 0x20 : character;
        if (character > 0xFFFF)
            return character;
        return static_cast<unsigned int>(m_lower(static_cast<wchar_t>(character)));
    }

private:
    wchar_t (*m_lower)(wchar_t);
    bool m_plain;
};

// One character: its value and what it takes in UTF-8.
struct Character
{
    unsigned int value;
    unsigned int utf8_size;
};

// Reads the next character and moves `source` past it. False if the text up to `end` is forbidden there.
inline bool read(wchar_t const*& source, wchar_t const*, Character& character)
{
    character.value = static_cast<unsigned int>(*source++);
    character.utf8_size = UTF8Size(character.value);
    return true;
}

inline bool read(unsigned char const*& source, unsigned char const* end, Character& character)
{
    character.utf8_size = UTF8Len(*source);
    if (character.utf8_size > static_cast<unsigned long>(end - source))
        return false;
    return utf8_nqfW32(&character.value, source) != 0;
}

inline bool read(unsigned short const*& source, unsigned short const* end, Character& character)
{
    if (UTF16Len(*source) > static_cast<unsigned long>(end - source) || utf16_nqfW32(&character.value, source) == 0)
        return false;
    character.utf8_size = UTF8Size(character.value);
    return true;
}

} // namespace

Kernel const* chosen_kernel = nullptr;

Kernels available_kernels()
{
    Kernels kernels{{&sliced_kernel}, 1};
    for (Kernel const* kernel : {carryless_kernel(), paired_kernel()})
    {
        if (kernel != nullptr)
            kernels.entry[kernels.count++] = kernel;
    }
    return kernels;
}

Kernel const& choose_kernel()
{
    Kernels const kernels = available_kernels();
    Kernel const* const kernel = kernels.entry[kernels.count - 1];
    Core::store_relaxed(chosen_kernel, kernel);
    return *kernel;
}

template <class Unit>
unsigned int evaluate_characters(Kernel const& kernel, CaseMapping const& mapping, tagSTRINGBASICINFO& info,
                                 Unit const* source, unsigned long length)
{
    Folding const fold(mapping);
    CharacterHash hash(kernel);
    unsigned long count = 0;
    unsigned long utf8_size = 0;
    for (Unit const* const end = source + length; source != end; ++count)
    {
        Character character;
        if (!read(source, end, character))
            return 0;
        utf8_size += character.utf8_size;
        hash.add(character.value, fold(character.value));
    }
    hash.flush();
    info = {count, utf8_size, hash.text_hash(), hash.folded_hash()};
    return 1;
}

template unsigned int evaluate_characters(Kernel const&, CaseMapping const&, tagSTRINGBASICINFO&, wchar_t const*,
                                          unsigned long);
template unsigned int evaluate_characters(Kernel const&, CaseMapping const&, tagSTRINGBASICINFO&, unsigned char const*,
                                          unsigned long);
template unsigned int evaluate_characters(Kernel const&, CaseMapping const&, tagSTRINGBASICINFO&, unsigned short const*,
                                          unsigned long);

} // namespace ORVA::String::evaluation
