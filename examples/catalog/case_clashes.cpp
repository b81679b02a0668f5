#include "case_clashes.h"

#include "ORVA/Buffers/Sort.h"

#include <algorithm>

namespace catalog
{

namespace
{

using namespace ORVA;

// By hash first: most pairs differ there, and their texts are not looked at.
int by_folded_hash(void const* a, void const* b)
{
    auto const& first = *static_cast<String::CPPoolString const*>(a);
    auto const& second = *static_cast<String::CPPoolString const*>(b);
    if (first.sHashi() != second.sHashi())
        return first.sHashi() < second.sHashi() ? -1 : 1;
    int const folded = first.cmpi(second);
    return folded != 0 ? folded : first.cmp(second);
}

} // namespace

std::vector<PooledNames> case_clashes(PooledNames& names)
{
    std::vector<PooledNames> groups;
    Buffers::Sort::vfqsort(names.data(), names.size(), sizeof(String::CPPoolString), by_folded_hash);
    for (auto first = names.begin(), end = names.begin(); first != names.end(); first = end)
    {
        end = std::find_if_not(first, names.end(),
                               [first](String::CPPoolString const& name) { return name.iequals(*first); });
        if (end - first > 1)
            groups.emplace_back(first, end);
    }
    std::sort(groups.begin(), groups.end(),
              [](PooledNames const& a, PooledNames const& b)
              {
                  int const folded = a.front().cmpi(b.front());
                  return folded != 0 ? folded < 0 : a.front().cmp(b.front()) < 0;
              });
    return groups;
}

} // namespace catalog
