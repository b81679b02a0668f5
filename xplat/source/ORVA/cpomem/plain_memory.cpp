#include "ORVA/Buffers/PlainMemory.h"

#include <cstring>
#include <utility>

namespace ORVA::Buffers
{

tagCPOVTABL const CPPlainMemory::_vtbl = {&CPPlainMemory::_create, &CPPlainMemory::_clone, &CPPlainMemory::_finalize,
                                          &CPObjectMemory::_nointerface};

void CPPlainMemory::_create(void*, unsigned long) {}

void CPPlainMemory::_clone(void* dest, void const* source, unsigned long size)
{
    std::memmove(dest, source, size);
}

void CPPlainMemory::_finalize(void*, unsigned long) {}

bool CPPlainMemory::_accepts(CPObjectMemory const& source) const noexcept
{
    return !source || (source.IsType(&_vtbl) && source.GetSize() > 0);
}

CPPlainMemory::CPPlainMemory(CPObjectMemory const& source)
{
    if (_accepts(source))
        CopyCPMemory(source);
}

CPPlainMemory& CPPlainMemory::operator=(CPObjectMemory const& source)
{
    if (_accepts(source))
        CopyCPMemory(source);
    else
        free();
    return *this;
}

bool CPPlainMemory::isMemory(void const* p) const noexcept
{
    if (m_pMH == nullptr || p == nullptr)
        return false;
    unsigned long const header = reinterpret_cast<unsigned long>(m_pMH);
    unsigned long const address = reinterpret_cast<unsigned long>(p);
    return address > header && address < header + sizeof(tagCPOMEMHEADER) + m_pMH->uAllocSize;
}

int CPPlainMemory::Alloc(unsigned long size)
{
    return _Alloc(size, &_vtbl);
}

int CPPlainMemory::_Alloc(unsigned long size, tagCPOVTABL const* table)
{
    free();
    if (size == 0)
        return 1;
    return CPObjectMemory::Alloc(size, table);
}

int CPPlainMemory::Resize(unsigned long size)
{
    return _Resize(size, m_pMH == nullptr ? &_vtbl : m_pMH->pVTbl);
}

int CPPlainMemory::_Resize(unsigned long size, tagCPOVTABL const* table)
{
    if (GetSize() == size)
        return 1;
    if (size > GetSize() && GetAllocSize() < size)
        return _replace_by_larger(size, table);
    if (m_pMH != nullptr && _report_unusable(m_pMH) && m_pMH->uAllocSize >= size)
        m_pMH->uSize = size;
    return 1;
}

int CPPlainMemory::_Reserve(unsigned long size, tagCPOVTABL const* table)
{
    if (m_pMH == nullptr && size == 0)
        return 1;
    if (m_pMH != nullptr && m_pMH->uSize >= size)
        return 1;
    unsigned long const used = GetSize();
    if (used == 0)
        return CPObjectMemory::Reserve(size, table);
    if (!_replace_by_larger(size, table))
        return 0;
    SetSize(used);
    return 1;
}

// The new block is held by a handle of its own until it has taken the old one's place, so that it is released if the
// release of the old block throws.
int CPPlainMemory::_replace_by_larger(unsigned long size, tagCPOVTABL const* table)
{
    if (table == nullptr)
        return 0;
    CPPlainMemory larger;
    larger.m_pMH = _allocate(size, size, table);
    if (larger.m_pMH == nullptr)
        return 0;
    if (m_pMH != nullptr)
        std::memmove(larger.get_ptr(), get_ptr(), m_pMH->uSize);
    Free(m_pMH);
    m_pMH = std::exchange(larger.m_pMH, nullptr);
    return 1;
}

} // namespace ORVA::Buffers
