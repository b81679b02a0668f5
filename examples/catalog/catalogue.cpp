#include "catalogue.h"

#include "utf8.h"

#include <new>

namespace catalog
{

namespace
{

using namespace ORVA;

constexpr unsigned int log2_of_buckets = 14;

Name* name_of(Buffers::CPObjectMemory const& item)
{
    return static_cast<Name*>(item.get_ptr());
}

// Tables are looked into with a visitor, which is shown one entry after the other.
class CollectNames final : public Lookup::IBaseHashTableEnum
{
public:
    explicit CollectNames(NameList& list) : m_next(list.begin()) {}

    bool EnumEntry(unsigned long, Buffers::CPObjectMemory& item) override
    {
        *m_next++ = name_of(item);
        return true;
    }

private:
    Name const** m_next;
};

NameList list_of(Lookup::CBaseHashTable& table)
{
    NameList list;
    if (!list.Alloc(table.GetNItems() * sizeof(Name const*)))
        throw std::bad_alloc();
    CollectNames collect(list);
    table.EnumTableBy(&collect, 0, false);
    return list;
}

} // namespace

NameTable::NameTable() : CBaseHashTable(log2_of_buckets) {}

// Only asked about two names with one hash. Any order will do, as long as it stays: that of their addresses.
int NameTable::compare(Buffers::CPObjectMemory const& a, Buffers::CPObjectMemory const& b)
{
    return name_of(a)->text.pcmp(name_of(b)->text);
}

Name* NameTable::find(String::CPPoolString const& text)
{
    HASHENTRY* const entry =
        _search(text.sHash(), [&text](Buffers::CPObjectMemory const& item) { return name_of(item)->text == text; });
    return entry == nullptr ? nullptr : name_of(entry->cpItem);
}

WordTable::WordTable() : CBaseHashTable(log2_of_buckets) {}

// 0 for exactly those names of one case-insensitive hash for which iequals() holds. The pool's own look-up without case
// would not do here: it answers with any spelling, today this one and tomorrow another.
int WordTable::compare(Buffers::CPObjectMemory const& a, Buffers::CPObjectMemory const& b)
{
    String::CPPoolString const& first = name_of(a)->text;
    String::CPPoolString const& second = name_of(b)->text;
    if (first.len() != second.len())
        return first.len() < second.len() ? -1 : 1;
    return first.cmpi(second);
}

void Catalogue::add(Line const& line)
{
    ++m_totals.lines;
    m_totals.bytes += line.bytes;
    if (!is_utf8(line.text))
        return _refuse(line);

    std::string_view rest = line.text;
    while (!rest.empty())
    {
        std::string_view const component = rest.substr(0, rest.find('/'));
        if (!component.empty())
            add_name(component);
        rest.remove_prefix(component.size() < rest.size() ? component.size() + 1 : rest.size());
    }
}

void Catalogue::_refuse(Line const& line)
{
    constexpr unsigned long lines_kept = 5;
    constexpr unsigned long bytes_kept = 60;

    ++m_totals.refused_lines;
    m_totals.refused_bytes += line.bytes;
    if (m_totals.first_refused.size() < lines_kept)
        m_totals.first_refused.push_back({std::string(line.source), line.number, line.bytes,
                                          std::string(line.text.substr(0, bytes_kept)), line.text.size() > bytes_kept});
}

Name const& Catalogue::add_name(std::string_view component)
{
    // One look-up in the pool, which makes the record if this is the first time that the text is seen. Valid text that
    // is not empty is refused only where there is no memory left.
    auto const* const bytes = reinterpret_cast<unsigned char const*>(component.data());
    String::CPPoolString const text = String::CStringPool::GetStringRefn(bytes, component.size());
    if (!text.isdef())
        throw std::bad_alloc();

    Name* name = m_names.find(text);
    if (name == nullptr)
        name = _add(text);
    ++name->occurrences;
    ++m_totals.components;
    return *name;
}

Name* Catalogue::_add(String::CPPoolString const& text)
{
    Buffers::CPObject<Name> name;
    if (name.create() == nullptr)
        throw std::bad_alloc();
    name->text = text;

    Buffers::CPObjectMemory const entered = m_names.AddItem(text.sHash(), name, Lookup::eHashKeepEqual);
    Buffers::CPObjectMemory const word = m_words.AddItem(text.sHashi(), name, Lookup::eHashKeepEqual);
    if (!entered || !word)
        throw std::bad_alloc();
    if (word != name)
    {
        name->next_spelling = name_of(word)->next_spelling;
        name_of(word)->next_spelling = name_of(name);
    }
    return name_of(name);
}

NameList Catalogue::names()
{
    return list_of(m_names);
}

NameList Catalogue::words()
{
    return list_of(m_words);
}

} // namespace catalog
