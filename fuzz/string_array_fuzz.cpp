// The array of strings: splitting, joining and every change agree with the plain array, sorted or not.
#include "fuzz/harness.h"

#include "ORVA/String/StringArray.h"
#include "ORVA/String/Submitter.h"

#include "reference/plain_string_array.h"

using ORVA::String::CPPoolString;
using ORVA::String::CPPoolStringArray;
using ORVA::String::CStringPool;
using reference::PlainEntries;
using reference::PlainStringArray;

namespace
{

// A slice may deliver no character at all: that is a pooled string of its own.
class EmptySubmitter final : public ORVA::String::IStringSubmitter
{
public:
    unsigned long GetStringLen() override { return 1; }
    unsigned int GetString(wchar_t*) override { return 1; }
};

CPPoolString string_of(reference::PlainEntry const& entry)
{
    if (!entry)
        return CPPoolString();
    if (!entry->empty())
        return CPPoolString(entry->c_str());
    EmptySubmitter submitter;
    return CPPoolString(CStringPool::GetStringRef(&submitter));
}

PlainEntries entries_of(CPPoolStringArray const& array)
{
    PlainEntries entries;
    for (CPPoolString const& string : array)
        entries.push_back(string.isnull() ? reference::PlainEntry() : *string);
    return entries;
}

void check_contents(CPPoolStringArray const& array, PlainStringArray const& plain)
{
    REQUIRE(std::equal(array.begin(), array.end(), plain.entries().begin(), plain.entries().end()));
    if (array.IsSorted())
        for (unsigned long index = 1; index < array.GetCount(); ++index)
            REQUIRE(array[index - 1].cmp(array[index]) <= 0);
}

void check_text(CPPoolStringArray& array, std::wstring const& text, wchar_t separator, wchar_t joiner)
{
    CPPoolString const pooled(text.c_str());
    REQUIRE(array.Inflate(pooled, separator) == 1);
    PlainStringArray plain(array.IsSorted());
    for (reference::PlainEntry const& entry : reference::plain_split(text, separator))
        plain.add(string_of(entry));
    check_contents(array, plain);

    CPPoolString const flat = array.Flatten(joiner);
    REQUIRE(flat.isnull() == (array.GetCount() == 0));
    REQUIRE(*flat == reference::plain_join(entries_of(array), joiner));
}

// The text is an entry of the array, which lets go of it on the way.
void check_own_text(CPPoolStringArray& array, unsigned long chosen, wchar_t separator)
{
    if (array.GetCount() == 0)
        return;
    unsigned long const index = chosen % array.GetCount();
    if (array[index].isnull())
        return;
    std::wstring const text = *array[index];
    REQUIRE(array.Inflate(array[index], separator) == 1);
    PlainStringArray plain(array.IsSorted());
    for (reference::PlainEntry const& entry : reference::plain_split(text, separator))
        plain.add(string_of(entry));
    check_contents(array, plain);
}

// What is assigned to a sorted array is sorted, in the block that both share from then on; copies of arrays are alike.
void check_assignment(fuzz::Input& input)
{
    CPPoolStringArray source(false);
    std::vector<std::wstring> texts;
    for (unsigned long left = input.below(24); left != 0; --left)
    {
        texts.push_back(input.text(2, 0xFF));
        REQUIRE(source.Add(CPPoolString(texts.back().c_str())) == 1);
    }
    CPPoolStringArray const same(source);
    CPPoolStringArray sorted(true);
    sorted = static_cast<ORVA::Buffers::CPObjectMemory const&>(source);
    std::sort(texts.begin(), texts.end());
    REQUIRE(sorted == source && same == source && sorted.IsSorted() && !same.IsSorted());
    REQUIRE(std::equal(sorted.begin(), sorted.end(), texts.begin(), texts.end(),
                       [](CPPoolString const& string, std::wstring const& text) { return *string == text; }));
    sorted = same;
    REQUIRE(sorted == source && !sorted.IsSorted());
    sorted = static_cast<ORVA::Buffers::CPObjectMemory const&>(CPPoolString(L"no array"));
    REQUIRE(!sorted && !sorted.IsSorted());
}

void change(fuzz::Input& input, CPPoolStringArray& array, PlainStringArray& plain)
{
    unsigned long const action = input.below(6);
    unsigned long const index = input.below(16);
    std::wstring const word = input.text(2, 0xFF);
    CPPoolString const string = word.empty() && index % 2 != 0 ? CPPoolString() : CPPoolString(word.c_str());
    switch (action)
    {
    case 0:
    case 1:
        REQUIRE(array.Add(string) == plain.add(string));
        break;
    case 2:
        REQUIRE(array.Insert(string, index) == plain.insert(string, index));
        break;
    case 3:
        REQUIRE(array.Delete(string) == plain.remove(string));
        break;
    case 4:
        if (array.IsSorted() && array)
            REQUIRE(array.LocateEntry(string) == static_cast<long>(plain.place_of(string)));
        else
            REQUIRE(array.LocateEntry(string) == -1);
        break;
    default:
    {
        CPPoolString const flat = array.Flatten(L'+');
        REQUIRE(*flat == reference::plain_join(entries_of(array), L'+'));
    }
    }
    check_contents(array, plain);
    if (array.IsSorted())
        REQUIRE(!array || array.GetCount() != 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Input input(data, size);
    unsigned long const options = input.byte();
    bool const sorted = (options & 1) != 0;
    CPPoolStringArray array(sorted);
    if ((options & 2) != 0)
    {
        auto const separator = static_cast<wchar_t>(input.byte());
        auto const joiner = static_cast<wchar_t>(input.byte() | 1);
        // The pool tells characters apart by 16 bits.
        check_text(array, input.text(fuzz::no_limit, 0xFFFF), separator, joiner);
        check_own_text(array, options >> 3, joiner);
    }
    else if ((options & 4) != 0)
    {
        check_assignment(input);
    }
    else
    {
        PlainStringArray plain(sorted);
        while (!input.empty() && array.GetCount() < 200)
            change(input, array, plain);
    }
    fuzz::tidy_pool();
    return 0;
}
