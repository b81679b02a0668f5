/// @file
/// The ways to evaluate a text, and the evaluation with one of them. All ways give the same results.
#pragma once

#include "ORVA/String/StringInfo.h"

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

/// The best kernel for this processor. It is found on the first call, so that it serves constructors of global
/// objects too, and costs a load afterwards.
Kernel const& best_kernel();

/// The mapping to lower case. It may throw.
struct CaseMapping
{
    wchar_t (*lower)(wchar_t character);
    bool (*lowers_ascii_plainly)(); ///< true only if `lower` maps ASCII as every sane locale does
};

/// The mapping of the platform in the current locale.
extern CaseMapping const platform_mapping;

/// Makes `info` that of a text that could not be evaluated for no fault of its own.
void set_unevaluated(tagSTRINGBASICINFO& info);

/// @name Evaluation
/// As CStringInfo::Eval, with `length` units that hold no 0.
/// @{
unsigned int evaluate(Kernel const& kernel, CaseMapping const& mapping, tagSTRINGBASICINFO& info, wchar_t const* source,
                      unsigned long length);
unsigned int evaluate(Kernel const& kernel, CaseMapping const& mapping, tagSTRINGBASICINFO& info,
                      unsigned char const* source, unsigned long length);
unsigned int evaluate(Kernel const& kernel, CaseMapping const& mapping, tagSTRINGBASICINFO& info,
                      unsigned short const* source, unsigned long length);
/// @}

} // namespace ORVA::String::evaluation
