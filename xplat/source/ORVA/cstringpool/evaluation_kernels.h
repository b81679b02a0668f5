/// @file
/// The ways to evaluate a text, and the evaluation with one of them. All ways give the same results.
#pragma once

#include "ORVA/Core/Atomic.h"
#include "ORVA/String/StringInfo.h"

#include "BaseOS_Unix_common/rune_locale.h"
#include "BaseOS_Unix_common/rune_mapping.h"
#include "crc_kernels.h"

namespace ORVA::String::evaluation
{

/// The two hashes of a text of ASCII characters, with A to Z folded to a to z in the second.
struct AsciiHashes
{
    unsigned long text;
    unsigned long folded;
    bool has_capitals; ///< whether any character was folded
};

/// Hashes `length` units, at least 1, from a register of 0. False, with `hashes` undefined, if not all are ASCII.
template <class Unit>
using HashAscii = bool (*)(Unit const* text, unsigned long length, AsciiHashes& hashes);

/// One way, with its name for tests and measurements.
struct Kernel
{
    char const* name;
    HashAscii<wchar_t> hash_wide;
    HashAscii<unsigned char> hash_utf8;
    HashAscii<unsigned short> hash_utf16;
    Buffers::crc64::Evaluate evaluate_bytes; ///< the hash of characters as pairs of bytes, low byte first
};

/// Steps of four characters by table look-ups. Works everywhere.
extern Kernel const sliced_kernel;

/// Steps of eight characters by carry-less multiplication. Null if this build or this processor has none.
Kernel const* carryless_kernel();

/// The same with both hashes in one multiplication. Null if this build or this processor has none.
Kernel const* paired_kernel();

/// The kernels that this processor offers, the best one last.
struct Kernels
{
    Kernel const* entry[3];
    unsigned int count;
};

Kernels available_kernels();

/// What choose_kernel() has found, or null.
extern Kernel const* chosen_kernel;

/// Finds the best kernel for this processor and remembers it.
Kernel const& choose_kernel();

/// The best kernel for this processor. It is found on the first call, so that it serves constructors of global
/// objects too, and costs a load afterwards.
inline Kernel const& best_kernel()
{
    Kernel const* const kernel = Core::load_relaxed(chosen_kernel);
    return kernel != nullptr ? *kernel : choose_kernel();
}

/// The mapping to lower case. It may throw.
struct CaseMapping
{
    wchar_t (*lower)(wchar_t character);
    bool (*lowers_ascii_plainly)(); ///< true only if `lower` maps ASCII as every sane locale does
};

/// The mapping of the platform in the current locale.
inline constexpr CaseMapping platform_mapping = {OS::rune_tolower, OS::ascii_lowers_plainly};

/// Makes `info` that of a text that could not be evaluated for no fault of its own.
inline void set_unevaluated(tagSTRINGBASICINFO& info)
{
    info = {0, 0, ~0UL, ~0UL};
}

/// @name The function of `kernel` for ASCII units of the kind that the second argument points at
/// @{
inline HashAscii<wchar_t> ascii_hash(Kernel const& kernel, wchar_t const*)
{
    return kernel.hash_wide;
}
inline HashAscii<unsigned char> ascii_hash(Kernel const& kernel, unsigned char const*)
{
    return kernel.hash_utf8;
}
inline HashAscii<unsigned short> ascii_hash(Kernel const& kernel, unsigned short const*)
{
    return kernel.hash_utf16;
}
/// @}

/// The general way, character by character. As `evaluate`, but what the mapping throws passes through.
template <class Unit>
unsigned int evaluate_characters(Kernel const& kernel, CaseMapping const& mapping, tagSTRINGBASICINFO& info,
                                 Unit const* source, unsigned long length);

/// As CStringInfo::Eval, with `length` units that hold no 0. Inline, as most texts are short: for those the calls
/// between here and the kernel would be a good part of the work.
template <class Unit>
inline unsigned int evaluate(Kernel const& kernel, CaseMapping const& mapping, tagSTRINGBASICINFO& info,
                             Unit const* source, unsigned long length)
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
        if (ascii_hash(kernel, source)(source, length, hashes) &&
            (!hashes.has_capitals || mapping.lowers_ascii_plainly()))
        {
            info = {length, length, hashes.text, hashes.folded};
            return 1;
        }
        return evaluate_characters(kernel, mapping, info, source, length);
    }
    catch (...)
    {
        set_unevaluated(info);
        return 0;
    }
}

} // namespace ORVA::String::evaluation
