// The code of docs/memory-and-handles.md.

#include "ORVA/Buffers.h"
#include "ORVA/String.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace ORVA::Buffers;
using ORVA::String::CPPoolString;

namespace
{

TEST(MemoryAndHandles, copies_of_a_handle_share_a_block_until_one_is_cloned)
{
    // [[plain]]
    CPPlainMemory bytes;
    if (bytes.Alloc(64) == 0)
        return; // the heap is exhausted, and the handle is empty
    std::memset(bytes.get_ptr(), 0, bytes.GetMemorySize());

    CPPlainMemory const same(bytes); // a second handle on the block: bytes.lockcnt() is 2
    CPPlainMemory own(bytes);
    if (own.clone() == 0 || own.lockcnt() != 1)
        return;                                        // no memory, or the copy was not made
    static_cast<unsigned char*>(own.get_ptr())[0] = 1; // seen through `own` alone
    // [[end]]
    EXPECT_EQ(bytes.lockcnt(), 2U);
    EXPECT_EQ(static_cast<unsigned char const*>(same.get_cptr())[0], 0);
    EXPECT_EQ(static_cast<unsigned char const*>(own.get_cptr())[0], 1);
}

// [[object type]]
struct Take
{
    unsigned long frames = 0;
    bool good = false;
};
// [[end]]

TEST(MemoryAndHandles, handle_of_another_type_is_refused)
{
    // [[object]]
    CPObject<Take> take;
    if (take.create() == nullptr)
        return; // the heap is exhausted
    take->frames = 48000;

    CPObjectMemory const any(take);       // a handle that does not ask for the type
    CPObject<Take> const again(any);      // the type is right: a third handle on the one block
    CPObject<CPPoolString> const no(any); // it is not: empty, and nothing is reported
    // [[end]]
    EXPECT_EQ(take.lockcnt(), 3U);
    EXPECT_EQ(again->frames, 48000U);
    EXPECT_FALSE(no);
}

} // namespace

// [[interface type]]
struct IPlayable
{
    virtual unsigned long Frames() = 0;

protected:
    ~IPlayable() = default;
};

template <>
inline _nqfUID const& __nqf_uuidof<IPlayable>()
{
    static constexpr _nqfUID uid = {0x4B1F6D2E, 0x93C7, 0x4E50, {0x8A, 0x1D, 0x70, 0x2C, 0xE5, 0x39, 0xB6, 0x84}};
    return uid;
}

class Loop : public IPlayable
{
public:
    unsigned long Frames() override { return 96000; }

    void* queryInterface(_nqfUID const& uid) const
    {
        bool const asked = std::memcmp(&uid, &__nqf_uuidof<IPlayable>(), sizeof uid) == 0;
        return asked ? const_cast<IPlayable*>(static_cast<IPlayable const*>(this)) : nullptr;
    }
};
// [[end]]

namespace
{

TEST(MemoryAndHandles, interface_is_found_in_a_block_of_unknown_type)
{
    // [[interface]]
    CPIObject<Loop> loop;
    if (loop.create() == nullptr)
        return;
    CPObjectMemory const anything(loop);

    CPInterface<IPlayable> const playable(anything); // empty if the block has no such interface
    unsigned long const frames = playable ? playable->Frames() : 0;
    // [[end]]
    EXPECT_EQ(frames, 96000U);
    EXPECT_EQ(loop.lockcnt(), 3U);
}

TEST(MemoryAndHandles, vector_is_shared_until_it_is_cloned)
{
    // [[vector]]
    CPObjectVector<CPPoolString> names;
    for (wchar_t const* const name : {L"Guitar", L"Bass", L"Drums"})
        if (names.Insert(CPPoolString(name), names.GetCount()) == 0)
            return; // the heap is exhausted; the vector is as it was

    CPObjectVector<CPPoolString> snapshot(names); // the same elements so far
    snapshot.clone();                             // and now elements of its own
    names.Delete(0, true);                        // Bass, Drums
    for (CPPoolString& name : snapshot)
        name = name.inc(); // Guitar (2), Bass (2), Drums (2)
    // [[end]]
    ASSERT_EQ(names.GetCount(), 2U);
    EXPECT_TRUE(names[0] == CPPoolString(L"Bass"));
    ASSERT_EQ(snapshot.GetCount(), 3U);
    EXPECT_TRUE(snapshot[0] == CPPoolString(L"Guitar (2)"));
}

TEST(MemoryAndHandles, moved_handle_leaves_the_source_empty)
{
    // [[moving]]
    CPObjectMemory first;
    if (first.Alloc(16, &CPPlainMemory::_vtbl) == 0)
        return;
    CPObjectMemory const second(std::move(first)); // no count changes; `first` is empty
    // [[end]]
    EXPECT_FALSE(first); // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(second.lockcnt(), 1U);
}

// [[sort]]
int by_frames(void const* a, void const* b)
{
    unsigned long const first = static_cast<Take const*>(a)->frames;
    unsigned long const second = static_cast<Take const*>(b)->frames;
    return first < second ? -1 : first > second ? 1 : 0;
}
// [[end]]

TEST(MemoryAndHandles, array_is_sorted_and_searched)
{
    // [[search]]
    Take takes[] = {{480, true}, {96, true}, {240, false}};
    Sort::vfqsort(takes, 3, sizeof(Take), &by_frames);

    Take const key = {240, false};
    unsigned long const place = Sort::vfqsearch(&key, takes, 3, sizeof(Take), &by_frames);
    bool const found = place < 3 && by_frames(&key, &takes[place]) == 0; // a place is no proof
    // [[end]]
    EXPECT_EQ(place, 1U);
    EXPECT_TRUE(found);
}

} // namespace
