#include "ORVA/NQF/NamedInterface.h"
#include "ORVA/NQF/TypedInterface.h"

#include "CPNQF/framework_call.h"

namespace ORVA::NQF
{

template class CPNQI<INQFComponentFactory>;
template class CPNQI<INQFEnumDefinitions>;
template class CPNQI<INQFDefinition>;

IPNQF::IPNQF(_nqfUID const& type, INQFUnknown* pointer) : m_type(type)
{
    _own(_addRef(pointer));
}

IPNQF::IPNQF(_nqfUID const& type, CPINQFUnknown const& source) : CPINQFUnknown(), m_type(type)
{
    _own(_addRef(source._getptr()));
}

IPNQF::IPNQF(IPNQF const& source) : IPNQF(source.m_type, source) {}

IPNQF::~IPNQF() = default;

_nqfUID const& IPNQF::GetType() const
{
    return m_type;
}

IPNQF& IPNQF::operator=(INQFUnknown* pointer)
{
    CPINQFUnknown::operator=(pointer);
    return *this;
}

IPNQF& IPNQF::operator=(CPINQFUnknown const& other)
{
    CPINQFUnknown::operator=(other);
    return *this;
}

IPNQF& IPNQF::operator=(IPNQF const& other)
{
    CPINQFUnknown::operator=(other);
    return *this;
}

int IPNQF::QueryRawInterface(void** out) const
{
    INQFUnknown* const pointer = _getptr();
    if (pointer == nullptr || out == nullptr || !add_reference(*pointer))
        return 0;
    *out = pointer;
    return 1;
}

} // namespace ORVA::NQF
