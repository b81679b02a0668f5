/// @file
/// Text that does not yet exist in one piece.
///
/// Thread-safety: the pool calls a submitter on the caller's thread alone, with no lock held. Ownership: the caller's.
#pragma once

#include "ORVA/Core/Export.h"

namespace ORVA::String
{

/// Hands the string pool a text by writing it straight into the new record. Usually a stack object that lives for one
/// call of the pool, and belongs to the caller. What it throws passes to who called the pool, which is as it was.
class ORVA_API IStringSubmitter
{
public:
    /// The length of the text in wide characters, without a terminator. The pool asks twice; a first answer of 0 stands
    /// for the empty string.
    virtual unsigned long GetStringLen() = 0;

    /// Writes the text into a buffer of that length and one character more, which the pool hands over filled with zeros.
    /// Non-zero for success. The text ends at its first 0.
    virtual unsigned int GetString(wchar_t* buffer) = 0;

protected:
    ~IStringSubmitter() = default;
};

} // namespace ORVA::String
