#include "ORVA/Buffers/TypedObjectVector.h"

#include "ORVA/Buffers/Sort.h"

#include <climits>
#include <cstring>

namespace ORVA::Buffers
{

int CompareTypeID(void const* key, void const* element)
{
    unsigned long wanted;
    std::memcpy(&wanted, key, sizeof(wanted));
    unsigned long const present =
        reinterpret_cast<unsigned long>(static_cast<CPObjectMemory const*>(element)->GetTypeID());
    if (wanted == present)
        return 0;
    return wanted < present ? -1 : 1;
}

CPTypedObjectVector::CPTypedObjectVector(CPTypedObjectVector const& source) = default;

CPTypedObjectVector::~CPTypedObjectVector() = default;

CPTypedObjectVector& CPTypedObjectVector::operator=(CPTypedObjectVector const& source) = default;

unsigned long CPTypedObjectVector::_locate(unsigned long typeId, bool& found) const
{
    found = false;
    if (!m_vector)
        return UINT_MAX;
    unsigned long const count = m_vector.GetCount();
    unsigned long const position =
        Sort::vfqfind(&typeId, m_vector.begin(), count, sizeof(CPObjectMemory), CompareTypeID);
    found = position < count && reinterpret_cast<unsigned long>(m_vector[position].GetTypeID()) == typeId;
    return position;
}

int CPTypedObjectVector::Set(CPObjectMemory const& item)
{
    if (!item)
        return 0;
    bool found = false;
    unsigned long const position = _locate(reinterpret_cast<unsigned long>(item.GetTypeID()), found);
    if (found)
    {
        m_vector[position] = item;
        m_vector[position].clone();
        return 1;
    }
    CPObjectMemory copy = item;
    copy.clone();
    return m_vector.Insert(copy, position);
}

CPObjectMemory CPTypedObjectVector::Get(unsigned long typeId) const
{
    bool found = false;
    unsigned long const position = _locate(typeId, found);
    CPObjectMemory copy;
    if (found)
    {
        copy = m_vector[position];
        copy.clone();
    }
    return copy;
}

int CPTypedObjectVector::Delete(unsigned long typeId)
{
    bool found = false;
    unsigned long const position = _locate(typeId, found);
    return found ? m_vector.Delete(position, true) : 1;
}

} // namespace ORVA::Buffers
