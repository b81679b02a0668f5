#include "ORVA/Develop/Clocks.h"

namespace ORVA::Develop
{

bool _isBigEndian()
{
    return false;
}

bool _isWChar32()
{
    return sizeof(wchar_t) == 4;
}

unsigned long _now_nano()
{
    return _steady_clock_now();
}

unsigned long _now_micro()
{
    return _round_precision(_steady_clock_now(), 1000);
}

unsigned long _now_milli()
{
    return _round_precision(_steady_clock_now(), 1000000);
}

unsigned long long _round_precision(unsigned long long value, unsigned long long precision)
{
    unsigned long long const quotient = value / precision;
    unsigned long long const remainder = value % precision;
    return quotient + (remainder >= (precision >> 1) ? 1 : 0);
}

unsigned int bitcount64(unsigned long long value)
{
    value -= (value >> 1) & 0x5555555555555555ULL;
    value = (value & 0x3333333333333333ULL) + ((value >> 2) & 0x3333333333333333ULL);
    value = (value + (value >> 4)) & 0x0F0F0F0F0F0F0F0FULL;
    return static_cast<unsigned int>((value * 0x0101010101010101ULL) >> 56);
}

} // namespace ORVA::Develop
