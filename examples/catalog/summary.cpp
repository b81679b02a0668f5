#include "summary.h"

#include <algorithm>

namespace catalog
{

namespace
{

using namespace ORVA;

constexpr unsigned long names_shown = 10;

// The sort hands over addresses of elements, and elements are pointers to names. Each order ends with the text, so that
// no two names are equal in it: the report is the same in every run, and the sort stays fast.

int by_frequency(void const* a, void const* b)
{
    Name const& first = **static_cast<Name const* const*>(a);
    Name const& second = **static_cast<Name const* const*>(b);
    if (first.occurrences != second.occurrences)
        return first.occurrences > second.occurrences ? -1 : 1;
    return first.text.cmp(second.text);
}

int by_length(void const* a, void const* b)
{
    Name const& first = **static_cast<Name const* const*>(a);
    Name const& second = **static_cast<Name const* const*>(b);
    if (first.text.len() != second.text.len())
        return first.text.len() > second.text.len() ? -1 : 1;
    return first.text.cmp(second.text);
}

std::vector<Name const*> first_names(NameList& names, Buffers::Sort::Compare order)
{
    Buffers::Sort::vfqsort(names.begin(), names.GetCount(), sizeof(Name const*), order);
    return {names.begin(), names.begin() + std::min(names.GetCount(), names_shown)};
}

std::vector<Name const*> spellings_of(Name const* word)
{
    std::vector<Name const*> spellings;
    for (; word != nullptr; word = word->next_spelling)
        spellings.push_back(word);
    Buffers::Sort::vfqsort(spellings.data(), spellings.size(), sizeof(Name const*), by_frequency);
    return spellings;
}

void find_spellings(NameList const& words, Summary& summary)
{
    std::vector<std::vector<Name const*>> found;
    for (Name const* word : words)
    {
        if (word->next_spelling != nullptr)
            found.push_back(spellings_of(word));
    }
    std::sort(found.begin(), found.end(),
              [](auto const& a, auto const& b)
              { return a.size() != b.size() ? a.size() > b.size() : by_frequency(&a.front(), &b.front()) < 0; });
    summary.words_with_spellings = found.size();
    found.resize(std::min(found.size(), names_shown));
    summary.spellings = std::move(found);
}

Verified verify(Summary const& summary)
{
    if (summary.distinct == 0)
        return Verified::nothing_pooled;
    return String::CStringPool::Verify() != 0 && summary.lookups.wrong == 0 ? Verified::yes : Verified::no;
}

} // namespace

Summary summarise(Catalogue& catalogue)
{
    NameList names = catalogue.names();
    NameList const words = catalogue.words();

    Summary summary{};
    summary.totals = catalogue.totals();
    summary.distinct = names.GetCount();
    summary.distinct_ignoring_case = words.GetCount();
    find_spellings(words, summary);
    summary.longest = first_names(names, by_length);
    summary.most_frequent = first_names(names, by_frequency);

    summary.pool_bytes = String::CStringPool::GetSize();
    if (summary.distinct != 0)
        summary.bytes_per_string = static_cast<double>(summary.pool_bytes) / static_cast<double>(summary.distinct);
    summary.lookups = measure_lookups(names);
    summary.verified = verify(summary);
    return summary;
}

} // namespace catalog
