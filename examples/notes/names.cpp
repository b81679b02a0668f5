#include "names.h"

#include <cwchar>

namespace notes
{

using ORVA::String::CStringPool;

// `LocateEntry` gives the place where a name belongs: whether it is there is one comparison of pointers more.
bool contains(CPPoolStringArray const& names, CPPoolString const& name)
{
    long const place = names.LocateEntry(name);
    if (place < 0)
        return false;
    unsigned long const index = static_cast<unsigned long>(place);
    return index < names.GetCount() && names[index] == name;
}

CPPoolString add_new(CPPoolStringArray& names, CPPoolString const& wanted)
{
    CPPoolString name = wanted;
    while (contains(names, name))
        name = name.inc();
    return !name.isnull() && names.Add(name) ? name : CPPoolString();
}

// `Inflate` would cut the pieces. The pool takes a slice as it is, save for an empty one, which it refuses.
CPPoolStringArray split(CPPoolString const& text, wchar_t separator)
{
    CPPoolStringArray pieces(false);
    if (text.isnull())
        return pieces;
    for (wchar_t const* start = *text;;)
    {
        wchar_t const* const next = std::wcschr(start, separator);
        unsigned long const length = next != nullptr ? static_cast<unsigned long>(next - start) : std::wcslen(start);
        CPPoolString const piece =
            length != 0 ? CPPoolString(CStringPool::GetStringRefn(start, length)) : CPPoolString::pempty;
        if (!pieces.Add(piece) || next == nullptr)
            return pieces;
        start = next + 1;
    }
}

} // namespace notes
