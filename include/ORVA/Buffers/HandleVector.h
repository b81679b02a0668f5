/// @file
/// The vector of untyped handles.
///
/// Thread-safety and ownership are those of `CPObjectVector`.
#pragma once

#include "ORVA/Buffers/ObjectVector.h"

namespace ORVA::Buffers
{

/// A vector of handles on blocks of any type.
class ORVA_API CPOMVector : public CPObjectVector<CPObjectMemory>
{
public:
    CPOMVector() noexcept = default;

    /// A second handle on the elements of `source`, if that is empty or a vector of whole handles; otherwise empty.
    CPOMVector(CPOMVector const& source) : CPOMVector(static_cast<CPObjectMemory const&>(source)) {}
    /// As the constructor above.
    CPOMVector(CPObjectMemory const& source) : CPObjectVector(source) {}

    /// A second handle on the elements of `source`; its type is not tested.
    CPOMVector& operator=(CPOMVector const& source)
    {
        CopyCPMemory(source);
        return *this;
    }
    /// As the constructor; a refused block leaves the handle empty, its own block released.
    CPOMVector& operator=(CPObjectMemory const& source)
    {
        CPObjectVector::operator=(source);
        return *this;
    }
};

} // namespace ORVA::Buffers
