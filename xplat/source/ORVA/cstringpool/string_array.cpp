#include "ORVA/String/StringArray.h"

#include "ORVA/Buffers/Sort.h"
#include "ORVA/String/Pool.h"
#include "ORVA/String/Submitters.h"

#include <algorithm>
#include <climits>
#include <cwchar>

namespace ORVA::String
{

namespace
{

int compare_entries(void const* first, void const* second)
{
    return comparepoolptr(static_cast<CPPoolString const*>(first), static_cast<CPPoolString const*>(second));
}

} // namespace

int comparepoolptr(CPPoolString const* first, CPPoolString const* second)
{
    return first->cmp(*second);
}

CPPoolStringArray& CPPoolStringArray::operator=(CPPoolStringArray const& source)
{
    CopyCPMemory(source);
    m_sorted = source.m_sorted;
    return *this;
}

CPPoolStringArray& CPPoolStringArray::operator=(Buffers::CPObjectMemory const& source)
{
    Vector::operator=(source);
    if (m_sorted)
        Sort();
    return *this;
}

void CPPoolStringArray::Sort()
{
    Buffers::Sort::vfqsort(begin(), GetCount(), sizeof(CPPoolString), &compare_entries);
}

unsigned long CPPoolStringArray::_locate(CPPoolString const& value) const
{
    return Buffers::Sort::vfqsearch(&value, begin(), GetCount(), sizeof(CPPoolString), &compare_entries);
}

bool CPPoolStringArray::_is_at(unsigned long position, CPPoolString const& value) const
{
    return position < GetCount() && (*this)[position] == value;
}

unsigned int CPPoolStringArray::Add(CPPoolString const& value)
{
    unsigned long position = ULONG_MAX;
    if (m_sorted)
    {
        position = _locate(value);
        if (_is_at(position, value))
            return 1;
    }
    return static_cast<unsigned int>(Vector::Insert(value, position));
}

unsigned int CPPoolStringArray::Insert(CPPoolString const& value, unsigned long index)
{
    return m_sorted ? 0 : static_cast<unsigned int>(Vector::Insert(value, index));
}

unsigned int CPPoolStringArray::Delete(CPPoolString const& value)
{
    if (!m_sorted)
        return 0;
    unsigned long const position = _locate(value);
    if (!_is_at(position, value))
        return 1;
    return static_cast<unsigned int>(Vector::Delete(position, true));
}

long CPPoolStringArray::LocateEntry(CPPoolString const& value) const
{
    if (!m_sorted || m_pMH == nullptr)
        return -1;
    return static_cast<long>(_locate(value));
}

CPPoolString CPPoolStringArray::Flatten(wchar_t separator) const
{
    if (GetCount() == 0)
        return CPPoolString();
    CStringArraySubmitter submitter(begin(), GetCount(), separator);
    return CStringPool::GetStringRef(submitter);
}

// Adds what stands between two separators. That a piece could not be pooled is a failure, and no null entry.
unsigned int CPPoolStringArray::_add_piece(wchar_t const* start, wchar_t const* end)
{
    CSubStringSubmitter submitter(start, static_cast<unsigned long>(end - start));
    CPPoolString const piece = CStringPool::GetStringRef(submitter);
    return piece.isnull() ? 0 : Add(piece);
}

unsigned int CPPoolStringArray::Inflate(CPPoolString const& text, wchar_t separator)
{
    // The text may be an entry of this array, or of one that shares its block.
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): keeps what free() may release
    CPPoolString const held = text;
    free();
    wchar_t const* start = *held;
    if (held.isnull() || start == nullptr)
        return 1;
    wchar_t const* const end = start + std::wcslen(start);
    if (!Reserve(static_cast<unsigned long>(std::count(start, end, separator)) + 1))
        return 0;
    for (;;)
    {
        wchar_t const* const piece_end = std::find(start, end, separator);
        if (piece_end == end)
            return start == end ? 1 : _add_piece(start, end);
        if (piece_end == start)
            Add(CPPoolString::pnull);
        else if (!_add_piece(start, piece_end))
            return 0;
        start = piece_end + 1;
    }
}

} // namespace ORVA::String
