/// @file
/// The check computed bit by bit, from its definition: no table and no assumption about the parameters.
#pragma once

namespace reference
{

/// Feeds `length` bytes into the register `crc` of `width` bits, 9 to 64, most significant bit first.
inline unsigned long plain_crc(unsigned int width, unsigned long polynomial, void const* data, unsigned long length,
                               unsigned long crc)
{
    unsigned long const mask = width == 64 ? ~0UL : (1UL << width) - 1;
    unsigned char const* const bytes = static_cast<unsigned char const*>(data);
    crc &= mask;
    for (unsigned long i = 0; i < length; ++i)
    {
        for (int bit = 7; bit >= 0; --bit)
        {
            unsigned long const top = crc >> (width - 1) & 1;
            unsigned long const next = bytes[i] >> bit & 1;
            crc = crc << 1 & mask;
            if (top != next)
                crc ^= polynomial & mask;
        }
    }
    return crc;
}

} // namespace reference
