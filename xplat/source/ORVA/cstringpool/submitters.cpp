#include "ORVA/String/Submitters.h"

#include "ORVA/Develop/Log.h"

#include <cstring>

namespace ORVA::String
{

namespace
{

// Copies up to `length` characters, or those before a 0: a record may have fewer than its length says.
void copy_text(wchar_t* place, wchar_t const* text, unsigned long length)
{
    if (text == nullptr)
        return;
    for (unsigned long index = 0; index < length && text[index] != 0; ++index)
        place[index] = text[index];
}

} // namespace

unsigned long CStringArraySubmitter::GetStringLen()
{
    unsigned long length = m_count - 1;
    for (unsigned long index = 0; index < m_count; ++index)
        length += m_items[index].len();
    return length;
}

unsigned int CStringArraySubmitter::GetString(wchar_t* buffer)
{
    wchar_t* place = buffer;
    for (unsigned long index = 0; index < m_count; ++index)
    {
        if (index != 0)
            *place++ = m_separator;
        copy_text(place, *m_items[index], m_items[index].len());
        place += m_items[index].len();
    }
    *place = L'\0';
    return 1;
}

CSubStringSubmitter::CSubStringSubmitter(wchar_t const* start, unsigned long length) : m_start(start), sccLen(length)
{
    if (sccLen == 0)
        Develop::OS::RTABox("Runtime assumption failed", "sccLen > 0");
}

unsigned long CSubStringSubmitter::GetStringLen()
{
    return sccLen;
}

// Bytes and not characters, as the class states.
unsigned int CSubStringSubmitter::GetString(wchar_t* buffer)
{
    if (sccLen != 0)
        std::memcpy(buffer, m_start, sccLen);
    return 1;
}

} // namespace ORVA::String
