#include "cstringpool/evaluation_kernels.h"

#include "ORVA/Core/Atomic.h"
#include "ORVA/String/Codecs.h"

#include "BaseOS_Unix_common/rune_locale.h"
#include "BaseOS_Unix_common/rune_mapping.h"

#include <initializer_list>

namespace ORVA::String::evaluation
{

namespace
{

Kernel const* chosen = nullptr;

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

// The general way, character by character. False if the text is forbidden.
template <class Unit>
bool walk(Kernel const& kernel, Folding const& fold, tagSTRINGBASICINFO& info, Unit const* source, unsigned long length)
{
    CharacterHash hash(kernel);
    unsigned long count = 0;
    unsigned long utf8_size = 0;
    for (Unit const* const end = source + length; source != end; ++count)
    {
        Character character;
        if (!read(source, end, character))
            return false;
        utf8_size += character.utf8_size;
        hash.add(character.value, fold(character.value));
    }
    hash.flush();
    info = {count, utf8_size, hash.text_hash(), hash.folded_hash()};
    return true;
}

template <class Unit>
unsigned int evaluate_with(Kernel const& kernel, HashAscii<Unit> hash_ascii, CaseMapping const& mapping,
                           tagSTRINGBASICINFO& info, Unit const* source, unsigned long length)
{
    if (length == 0)
    {
        info = {0, 0, 0, 0};
        return 1;
    }
    try
    {
        // Text without capitals does not depend on the locale: the mapping changes only characters that the locale
        // counts as upper case, and no locale counts an ASCII character but A to Z among them.
        AsciiHashes hashes;
        if (hash_ascii(source, length, hashes) && (!hashes.has_capitals || mapping.lowers_ascii_plainly()))
        {
            info = {length, length, hashes.text, hashes.folded};
            return 1;
        }
        return walk(kernel, Folding(mapping), info, source, length) ? 1 : 0;
    }
    catch (...)
    {
        set_unevaluated(info);
        return 0;
    }
}

} // namespace

CaseMapping const platform_mapping = {OS::rune_tolower, OS::ascii_lowers_plainly};

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

Kernel const& best_kernel()
{
    Kernel const* kernel = Core::load_relaxed(chosen);
    if (kernel == nullptr)
    {
        Kernels const kernels = available_kernels();
        kernel = kernels.entry[kernels.count - 1];
        Core::store_relaxed(chosen, kernel);
    }
    return *kernel;
}

void set_unevaluated(tagSTRINGBASICINFO& info)
{
    info = {0, 0, ~0UL, ~0UL};
}

unsigned int evaluate(Kernel const& kernel, CaseMapping const& mapping, tagSTRINGBASICINFO& info, wchar_t const* source,
                      unsigned long length)
{
    return evaluate_with(kernel, kernel.hash_wide, mapping, info, source, length);
}

unsigned int evaluate(Kernel const& kernel, CaseMapping const& mapping, tagSTRINGBASICINFO& info,
                      unsigned char const* source, unsigned long length)
{
    return evaluate_with(kernel, kernel.hash_utf8, mapping, info, source, length);
}

unsigned int evaluate(Kernel const& kernel, CaseMapping const& mapping, tagSTRINGBASICINFO& info,
                      unsigned short const* source, unsigned long length)
{
    return evaluate_with(kernel, kernel.hash_utf16, mapping, info, source, length);
}

} // namespace ORVA::String::evaluation
