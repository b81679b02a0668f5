#include "ORVA/String/StringInfo.h"

#include "cstringpool/evaluation_kernels.h"

#include "crc_tables.h"

#include <cstdint>
#include <cstring>
#include <cwchar>

namespace ORVA::String
{

namespace
{

// The length functions of the system library are the fastest ones that read nothing they should not. UTF-16 has none.
inline unsigned long text_length(wchar_t const* source)
{
    return std::wcslen(source);
}

inline unsigned long text_length(unsigned char const* source)
{
    return std::strlen(reinterpret_cast<char const*>(source));
}

inline unsigned long text_length(unsigned short const* source)
{
    unsigned long length = 0;
    while (source[length] != 0)
        ++length;
    return length;
}

inline unsigned long text_length(wchar_t const* source, unsigned long limit)
{
    return wcsnlen(source, limit);
}

inline unsigned long text_length(unsigned char const* source, unsigned long limit)
{
    return strnlen(reinterpret_cast<char const*>(source), limit);
}

inline unsigned long text_length(unsigned short const* source, unsigned long limit)
{
    unsigned long length = 0;
    while (length < limit && source[length] != 0)
        ++length;
    return length;
}

template <class Unit>
inline unsigned int evaluate_text(bool ready, tagSTRINGBASICINFO& info, Unit const* source)
{
    if (!ready)
    {
        evaluation::set_unevaluated(info);
        return 0;
    }
    return evaluation::evaluate(evaluation::best_kernel(), evaluation::platform_mapping, info, source,
                                text_length(source));
}

template <class Unit>
inline unsigned int evaluate_text(bool ready, tagSTRINGBASICINFO& info, Unit const* source, unsigned long n)
{
    // An empty text is known without the tables, so it comes before the question whether there are any.
    if (static_cast<long>(n) < 1 || *source == 0)
    {
        info = {0, 0, 0, 0};
        return 1;
    }
    if (!ready)
    {
        evaluation::set_unevaluated(info);
        return 0;
    }
    // A limit beyond the highest address is none, and would not be understood by the functions above.
    unsigned long const room = (UINTPTR_MAX - reinterpret_cast<std::uintptr_t>(source)) / sizeof(Unit);
    return evaluation::evaluate(evaluation::best_kernel(), evaluation::platform_mapping, info, source,
                                n <= room ? text_length(source, n) : text_length(source));
}

} // namespace

static_assert(sizeof(CStringInfo) == sizeof(Buffers::CMachineCRC), "an evaluator adds no data");

CStringInfo::CStringInfo() : CMachineCRC(64, Buffers::crc64::polynomial) {}

unsigned int CStringInfo::Eval(tagSTRINGBASICINFO& info, wchar_t const* source) const
{
    return evaluate_text(uMask != 0, info, source);
}

unsigned int CStringInfo::Eval(tagSTRINGBASICINFO& info, wchar_t const* source, unsigned long n) const
{
    return evaluate_text(uMask != 0, info, source, n);
}

unsigned int CStringInfo::Eval(tagSTRINGBASICINFO& info, unsigned char const* source) const
{
    return evaluate_text(uMask != 0, info, source);
}

unsigned int CStringInfo::Eval(tagSTRINGBASICINFO& info, unsigned char const* source, unsigned long n) const
{
    return evaluate_text(uMask != 0, info, source, n);
}

unsigned int CStringInfo::Eval(tagSTRINGBASICINFO& info, unsigned short const* source) const
{
    return evaluate_text(uMask != 0, info, source);
}

unsigned int CStringInfo::Eval(tagSTRINGBASICINFO& info, unsigned short const* source, unsigned long n) const
{
    return evaluate_text(uMask != 0, info, source, n);
}

} // namespace ORVA::String
