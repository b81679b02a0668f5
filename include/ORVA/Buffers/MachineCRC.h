/// @file
/// Cyclic redundancy checks of any width from 9 to 64 bits, with any polynomial.
///
/// The register takes each byte most significant bit first; nothing is reflected and nothing is inverted at the end.
///
/// Thread-safety: an instance is not changed after its construction, so one serves all threads without a lock.
/// Ownership: a plain value of about 2 KB that owns nothing and may be copied by bytes.
#pragma once

#include "ORVA/Core/Export.h"

namespace ORVA::Buffers
{

/// A table for one width and polynomial, and the evaluation with it.
class ORVA_API CMachineCRC
{
public:
    /// Builds the table, the only slow operation here. `width` is in bits; `polynomial` holds the generator without
    /// its top bit, in normal (not reflected) form.
    ///
    /// A width below 8 or above 64 gives an unusable instance. So does a width of exactly 8, as far as Eval goes: its
    /// table is built, but Eval cannot tell it from an unusable one.
    CMachineCRC(unsigned int width, unsigned long polynomial);

    /// Feeds `length` bytes into the register `crc` and returns the register, `width` bits of it. `crc` is the initial
    /// value, and the result of the piece before when a long input comes in pieces.
    ///
    /// An instance that is unusable or of width 8 returns `crc` as it stands. With width 64 and the polynomial
    /// 0x42f0e1eba9ea3693, which the library uses for its keys, long inputs cost a small fraction of the one table
    /// look-up per byte that other parameters cost.
    unsigned long Eval(void const* data, unsigned long length, unsigned long crc) const;

protected:
    unsigned int uShift;       ///< width minus 8: how far the top byte lies from bit 0; 0 marks an unusable instance
    unsigned long uMask;       ///< the low `width` bits; 0 in an unusable instance
    unsigned long aTable[256]; ///< entry i is the register after feeding the byte i into a register of 0
};

} // namespace ORVA::Buffers
