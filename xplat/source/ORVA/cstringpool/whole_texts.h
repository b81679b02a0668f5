/// @file
/// Conversions of whole zero-terminated texts into buffers that were measured for them.
///
/// Each does what its converter of single characters does, one character after the other, until that refuses or the
/// text ends. No terminator is stored. All give the end of what they stored.
#pragma once

namespace ORVA::String
{

/// As utf8_utf16; the room needed is that of UTF8u16strlen.
unsigned short* convert_whole(unsigned char const* source, unsigned short* destination);

/// As utf16_utf8; the room needed is that of UTF16u8strlen.
unsigned char* convert_whole(unsigned short const* source, unsigned char* destination);

} // namespace ORVA::String
