/// @file
/// What the tests of interface pointers share: a journal, an object, and a look at a handle's word.
#pragma once

#include "ORVA/NQF/InterfacePointer.h"
#include "support/FrameworkDoubles.h"

#include <gtest/gtest.h>

#include <cstring>

namespace components
{

using support::Calls;

/// The word of a handle as it stands.
inline unsigned long word_of(ORVA::NQF::CPINQFUnknown const& handle)
{
    unsigned long word = 0;
    std::memcpy(&word, reinterpret_cast<unsigned char const*>(&handle) + sizeof(void*), sizeof word);
    return word;
}

inline unsigned long raw_word(void const* pointer)
{
    return reinterpret_cast<unsigned long>(pointer);
}

inline unsigned long resolved_word(void const* pointer)
{
    return raw_word(pointer) | 1U;
}

/// The place of a virtual operation in its table. A pointer to it holds the offset, odd on most processors.
template <class Member>
unsigned long table_place(Member member)
{
    unsigned long word = 0;
    std::memcpy(&word, &member, sizeof word);
    return word / sizeof(void*);
}

/// The identifier of an interface of the tests' own.
inline _nqfUID const own_interface = support::test_uid(70);

/// A handle of that type.
class OwnHandle final : public ORVA::NQF::CPINQFUnknown
{
public:
    using CPINQFUnknown::operator=;
    _nqfUID const& GetType() const override { return own_interface; }
};

/// A handle that notes each `free` that goes through its table.
class NotingHandle final : public ORVA::NQF::CPINQFUnknown
{
public:
    explicit NotingHandle(support::CallJournal& to) : m_journal(to) {}
    using CPINQFUnknown::operator=;
    void free() override
    {
        m_journal.note("free");
        CPINQFUnknown::free();
    }

private:
    support::CallJournal& m_journal;
};

class InterfacePointer : public testing::Test
{
protected:
    /// Makes `handle` hold `to` as a framework call does: a raw pointer with one reference.
    static void write_raw(ORVA::NQF::CPINQFUnknown& handle, support::Counted& to) { to.give(handle.rec()); }

    /// Makes a word of 0, as a failed creation leaves it.
    static void write_zero(ORVA::NQF::CPINQFUnknown& handle) { *handle.rec() = nullptr; }

    support::CallJournal journal;
    support::ObjectDouble object{journal, "object", {own_interface}};
    support::ObjectDouble other{journal, "other", {own_interface}};
};

} // namespace components
