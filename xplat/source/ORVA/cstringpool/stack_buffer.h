// Working memory whose size comes from a caller's text.
#pragma once

#include "ORVA/Core.h"

#include <climits>

namespace ORVA::String
{

// Room for `count` elements of plain type `T`: on the stack up to `usual`, on the heap beyond, so that a long text never
// overruns a thread's stack. False if the heap is exhausted.
template <class T, unsigned long usual>
class StackBuffer
{
public:
    explicit StackBuffer(unsigned long count) : m_elements(count <= usual ? m_usual : allocate(count)) {}

    StackBuffer(StackBuffer const&) = delete;
    StackBuffer& operator=(StackBuffer const&) = delete;

    ~StackBuffer()
    {
        if (m_elements != m_usual)
            Core::OS::_ffree(m_elements);
    }

    explicit operator bool() const noexcept { return m_elements != nullptr; }
    T* get() noexcept { return m_elements; }

private:
    static T* allocate(unsigned long count)
    {
        return count > ULONG_MAX / sizeof(T) ? nullptr : static_cast<T*>(Core::OS::_falloc(count * sizeof(T)));
    }

    T m_usual[usual];
    T* m_elements;
};

} // namespace ORVA::String
