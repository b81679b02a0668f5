#include "ORVA/Buffers/ObjectMemory.h"

#include "ORVA/Develop/Log.h"

#include <climits>

namespace ORVA::Buffers
{

namespace
{

constexpr char const assumption_failed[] = "Runtime assumption failed";
constexpr char const point_reached[] = "Illegal code point reached";

bool report(char const* first, char const* second) noexcept
{
    try
    {
        Develop::OS::RTABox(first, second);
        return true;
    }
    // Not reached: the log keeps what the logger throws.
    catch (...)
    {
        return false;
    }
}

} // namespace

bool CPObjectMemory::_report_assumption(char const* condition) noexcept
{
    return report(assumption_failed, condition);
}

bool CPObjectMemory::_report_wrapped_count() noexcept
{
    return report(point_reached,
                  "InterlockedIncrement32 returned 0, possible multi-threading access problem on shared object!");
}

bool CPObjectMemory::_report_unusable(tagCPOMEMHEADER const* header) noexcept
{
    if (Core::load_relaxed(header->lRefCnt) == 0 && !_report_assumption("m_pMH->lRefCnt>0"))
        return false; // Not reached: the report does not fail, for the reason above.
    return header->pVTbl != nullptr || _report_assumption("m_pMH->pVTbl");
}

unsigned int CPObjectMemory::hash() const noexcept
{
    if (m_pMH == nullptr)
        return 0;
    unsigned long const address = reinterpret_cast<unsigned long>(m_pMH);
    unsigned int const folded = static_cast<unsigned int>(address >> 32) ^ static_cast<unsigned int>(address);
    return folded == 0 ? 1 : folded;
}

unsigned int CPObjectMemory::GetType(unsigned long const* list, unsigned int count) const noexcept
{
    if (m_pMH != nullptr)
    {
        unsigned long const id = reinterpret_cast<unsigned long>(m_pMH->pVTbl);
        for (unsigned int index = 0; index < count; ++index)
        {
            if (list[index] == id)
                return index;
        }
    }
    return UINT_MAX;
}

bool CPObjectMemory::IsAssignable(unsigned long size, tagCPOVTABL const* table) const noexcept
{
    if (size == 0 || table == nullptr)
        return false;
    if (m_pMH == nullptr)
        return true;
    return m_pMH->pVTbl == table && m_pMH->uSize >= size;
}

bool CPObjectMemory::IsNAssignable(unsigned long size, tagCPOVTABL const* table) const noexcept
{
    if (size == 0 || table == nullptr)
        return false;
    if (m_pMH == nullptr)
        return true;
    return m_pMH->pVTbl == table && m_pMH->uSize % size == 0;
}

tagCPOMEMHEADER* CPObjectMemory::_allocate(unsigned long size, unsigned long used, tagCPOVTABL const* table)
{
    if (size > ULONG_MAX - sizeof(tagCPOMEMHEADER))
        return nullptr;
    auto* const header = static_cast<tagCPOMEMHEADER*>(Core::OS::_falloc(size + sizeof(tagCPOMEMHEADER)));
    if (header == nullptr)
        return nullptr;
    header->lRefCnt = 1;
    header->uAllocSize = size;
    header->uSize = used;
    header->pVTbl = table;
    return header;
}

int CPObjectMemory::Alloc(unsigned long size, tagCPOVTABL const* table)
{
    free();
    if (table != nullptr)
        m_pMH = _allocate(size, size, table);
    return m_pMH != nullptr ? 1 : 0;
}

int CPObjectMemory::Reserve(unsigned long size, tagCPOVTABL const* table)
{
    free();
    if (table != nullptr)
        m_pMH = _allocate(size, 0, table);
    return m_pMH != nullptr ? 1 : 0;
}

int CPObjectMemory::Incalloc(unsigned long more)
{
    if (m_pMH == nullptr || Core::load_relaxed(m_pMH->lRefCnt) != 1 || more == 0)
        return 0;
    if (more > ULONG_MAX - sizeof(tagCPOMEMHEADER) - m_pMH->uAllocSize)
        return 0;
    unsigned long const capacity = m_pMH->uAllocSize + more;
    auto* const grown = static_cast<tagCPOMEMHEADER*>(Core::OS::_frealloc(m_pMH, capacity + sizeof(tagCPOMEMHEADER)));
    if (grown == nullptr)
        return 0;
    grown->uAllocSize = capacity;
    m_pMH = grown;
    return 1;
}

int CPObjectMemory::SetSize(unsigned long size)
{
    if (m_pMH == nullptr)
        return 0;
    if (!_report_unusable(m_pMH) || m_pMH->uAllocSize < size)
        return 0;
    m_pMH->uSize = size;
    return 1;
}

void CPObjectMemory::free()
{
    Free(m_pMH);
    m_pMH = nullptr;
}

int CPObjectMemory::clone()
{
    if (m_pMH == nullptr)
        return 1;
    _report_unusable(m_pMH);
    tagCPOVTABL const* const table = m_pMH->pVTbl;
    if (table == nullptr)
        return 0;
    if (table->_clone == nullptr)
    {
        Develop::OS::RTABox(point_reached, "CPObjectMemory::clone: Class does not allow cloning");
        return 0;
    }
    if (lockcnt() < 2)
        return 1;

    tagCPOMEMHEADER* const old = m_pMH;
    unsigned long const size = old->uSize;
    tagCPOMEMHEADER* const copy = _allocate(size, size, table);
    if (copy == nullptr)
        return 0;
    try
    {
        table->_clone(copy + 1, old + 1, size);
        Free(old);
    }
    catch (...)
    {
        Free(copy);
        Develop::OS::RTABox(point_reached, "CPObjectMemory::Clone exception");
        return 1;
    }
    m_pMH = copy;
    return 1;
}

long CPObjectMemory::queryinterface(CPObjectMemory const& object, _nqfUID const& uid) const
{
    if (object.m_pMH == nullptr)
        return -1;
    auto* const payload = static_cast<char*>(object.get_ptr());
    auto* const found = static_cast<char*>(object.m_pMH->pVTbl->_interface(payload, uid));
    return found == nullptr ? -1 : found - payload;
}

void* CPObjectMemory::_nointerface(void*, _nqfUID const&)
{
    return nullptr;
}

// The count is 0 from here on, so a `_finalize` that copies a handle to the dying block takes it for a static one and
// does not bring it back to life.
void CPObjectMemory::_destroy(tagCPOMEMHEADER* header)
{
    static constexpr char const failed[] = "CPObjectMemory::Free exception";
    try
    {
        header->pVTbl->_finalize(header + 1, header->uSize);
    }
    catch (...)
    {
        report(point_reached, failed);
    }
    try
    {
        Core::OS::_ffree(header);
    }
    // Not reached: the heap throws nothing.
    catch (...)
    {
        Develop::OS::RTABox(point_reached, failed);
    }
}

} // namespace ORVA::Buffers
