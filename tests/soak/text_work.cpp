#include "work.h"

#include <cstring>

namespace soak
{

namespace
{

using ORVA::String::CPPoolString;
using ORVA::String::CPPoolStringArray;
using ORVA::String::CStringPool;

// Texts that all workers have, and texts that nobody has had before.
std::wstring shared_text()
{
    return L"soak shared " + std::to_wstring(below(500));
}

std::wstring new_text()
{
    return L"soak " + std::to_wstring(ORVA::Develop::_random()) + L" \u00e4\u20ac " +
           std::to_wstring(ORVA::Develop::_random());
}

std::basic_string<unsigned char> bytes_of(std::wstring const& ascii)
{
    return {ascii.begin(), ascii.end()};
}

void keep(Worker& worker, CPPoolString const& string)
{
    if (worker.held.size() < Worker::most_held)
        worker.held.push_back(string);
    else
        worker.held[below(Worker::most_held)] = string;
}

} // namespace

void intern_texts(Worker& worker)
{
    for (int round = 0; round < 8; ++round)
    {
        std::wstring const text = round % 2 == 0 ? shared_text() : new_text();
        CPPoolString const string(text.c_str());
        CPPoolString const again(CStringPool::GetStringRefn(text.c_str(), text.size()));
        check(string == again && string.len() == text.size(), "a text has one record");
        check(string == text.c_str(), "a pooled text is the text");
        unsigned char const* const form = string;
        check(std::strlen(reinterpret_cast<char const*>(form)) == string.UTF8Size(), "a text has its UTF-8 form");
        check(CPPoolString(form) == string, "the UTF-8 form leads to the record");
        check(string.Verify() == 1, "a record is good");
        keep(worker, string);
    }
    CPPoolString const number(static_cast<int>(below(1000)));
    check(number.inc().cmpp(number) == 0, "a numbered variant begins with the text");
}

void query_texts(Worker& worker)
{
    for (CPPoolString const& string : worker.held)
        check(string == CPPoolString(CStringPool::QueryStringRef(*string)), "a text that is held is found");
    for (int round = 0; round < 8; ++round)
    {
        std::wstring const text = shared_text();
        CPPoolString const found(CStringPool::QueryStringRef(bytes_of(text).c_str()));
        check(found.isnull() || found == text.c_str(), "a query finds its text or nothing");
        CPPoolString const folded(CStringPool::QueryStringRefi(text.c_str()));
        check(folded.isnull() || folded.cmpi(text.c_str()) == 0, "a query without case finds a spelling");
        check(CStringPool::QueryStringRef((text + L" never made").c_str()) == CPPoolString::pnull,
              "what was never made is not found");
    }
    CPPoolString const spelling(L"SOAK SPELLING");
    CPPoolString const other(L"soak spelling");
    check(spelling != other && spelling.iequals(other), "spellings are two strings");
}

void hand_over_strings(Worker& worker)
{
    Shared& shared = *worker.shared;
    for (int round = 0; round < 10; ++round)
    {
        CPPoolString string(shared_text().c_str());
        shared.mailbox_lock.Enter();
        std::swap(string, shared.mailbox[below(Shared::places)]);
        shared.mailbox_lock.Leave();
        check(string.isnull() || string.cmpp(L"soak shared ") == 0, "a string arrives as it was sent");
    }
}

void collect(Worker&)
{
    check(CStringPool::Collect(no_limit) == 1, "a collection goes through");
    check(CStringPool::Verify() == 1, "the pool is good");
    check(CStringPool::GetSize() != 0, "the pool has a size");
}

void build_arrays(Worker&)
{
    CPPoolStringArray sorted(true);
    CPPoolStringArray plain(false);
    for (int round = 0; round < 20; ++round)
    {
        CPPoolString const string(shared_text().c_str());
        check(sorted.Add(string) == 1 && plain.Add(string) == 1, "an array grows");
        check(sorted[static_cast<unsigned long>(sorted.LocateEntry(string))] == string, "a sorted array finds");
    }
    plain.Sort();
    for (unsigned long index = 1; index < plain.GetCount(); ++index)
        check(plain[index - 1].cmp(plain[index]) <= 0, "an array is sorted");
    CPPoolString const joined = sorted.Flatten(L'\n');
    unsigned long length = sorted.GetCount() - 1;
    for (CPPoolString const& string : sorted)
        length += string.len();
    check(joined.len() == length, "an array is joined");
    CPPoolStringArray letters(false);
    check(letters.Inflate(CPPoolString(L"a,b,c"), L',') == 1 && letters.GetCount() == 3, "a text is split");

    // A length that is no multiple of 7 comes back.
    unsigned long const odd = length % 7 == 0 ? length - 1 : length;
    CPPoolString const encoded = ORVA::String::C3FFFEncoder(*joined, odd);
    ORVA::Buffers::CPPlainMemory const decoded = ORVA::String::C3FFFDecoder(encoded);
    check(decoded.GetSize() == odd && std::memcmp(decoded.get_cptr(), *joined, odd) == 0, "bytes become text and back");
}

} // namespace soak
