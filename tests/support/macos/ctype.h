/// @file
/// The C library's header, and the mapping of characters that only macOS declares in it.
#pragma once

#include_next <ctype.h>

#ifdef __cplusplus
extern "C"
{
#endif
    int __tolower(int character);
    int __toupper(int character);
#ifdef __cplusplus
}
#endif
