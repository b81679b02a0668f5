// The string pool: any sequence of requests, releases and collections, in all encodings and with and without case, gives
// the records, the counts of handles, the ages, the chains of spellings and the UTF-8 forms of a model.
#include "fuzz/pool_texts.h"

#include "cstringpool/globals.h"

#include <map>

using namespace ORVA::String;

namespace
{

using namespace fuzz::pool;

constexpr unsigned int all_of_it = 0xFFFFFFFF;

struct Known
{
    std::wstring text;
    unsigned long utf8_size;
    tagSTRINGPOOLRECORD const* record;
    std::vector<CPPoolString> holders;
    unsigned int idle_visits; // since the last find or outside handle
    bool has_form;
};

class Twins
{
public:
    explicit Twins(fuzz::Reports& reports) : m_reports(reports) {}

    void step(fuzz::Input& input)
    {
        unsigned long const action = input.below(25);
        if (action < 5)
            return get(input, draw_text(input), action);
        if (action < 7)
            return query(draw_text(input), form_of(action - 5));
        if (action < 9)
            return get_folded(draw_text(input), form_of(action - 7));
        if (action < 11)
            return query_folded(draw_text(input), form_of(action - 9));
        if (action == 11)
            return get_bytes(input.line());
        if (action == 12)
            return get_nothing(draw_text(input));
        if (action < 16)
            return release(input.byte());
        if (action < 18)
            return take_form(input.byte());
        if (action == 18)
            return collect();
        if (action == 19)
            return get_many(input.byte());
        if (action > 20)
        {
            Form const form = form_of(2 + action % 2);
            std::wstring const text = draw_text(input);
            return action < 23             ? get_folded(text, form)
                   : input.byte() % 2 != 0 ? query(text, form)
                                           : query_folded(text, form);
        }
        check();
    }

    void check()
    {
        if (m_was_used)
            REQUIRE(CStringPool::Verify() == 1);
        unsigned long size = 0;
        for (auto const& [identity, known] : m_known)
            size += sizeof(tagSTRINGPOOLRECORD) + (known.text.size() + 1) * sizeof(wchar_t);
        REQUIRE(CStringPool::GetSize() == size);
        for (auto const& [identity, known] : m_known)
        {
            staticStringRecord const key(known.text.c_str());
            tagSTRINGPOOLRECORD* const record = g_sensitive_table.find_record(key.record);
            REQUIRE(record == known.record && known.text == record->pData);
            REQUIRE(record->info.len == known.text.size() && record->info.utf8Size == known.utf8_size);
            REQUIRE(record->age == known.idle_visits && (record->pOwned != nullptr) == known.has_form);
            REQUIRE(_cppoolstring::_share(*record).lockcnt() == 3 + known.holders.size());
        }
        for (std::wstring const& text : m_texts)
        {
            staticStringRecord const key(text.c_str());
            REQUIRE((g_sensitive_table.find_record(key.record) != nullptr) == (m_known.count(identity_of(text)) != 0));
        }
        for (auto const& [word, chain] : m_chains)
            check_chain(chain);
        REQUIRE(m_reports.take().empty());
    }

    // Leaves the pool as it was.
    void finish()
    {
        for (auto& [identity, known] : m_known)
            known.holders.clear();
        collect();
        collect();
        REQUIRE(m_known.empty() && m_chains.empty());
        check();
    }

private:
    std::wstring draw_text(fuzz::Input& input)
    {
        unsigned long const choice = input.byte();
        if (choice < 160 && !m_texts.empty())
            return m_texts[choice % m_texts.size()];
        std::wstring text = choice % 2 == 0 ? L"0123456789" : L"";
        text += input.text(14);
        for (unsigned long index = 0; index < std::min(text.size(), compared); ++index)
        {
            unsigned int const value = value_of(text[index]);
            if (value > 0xFFFF)
                text[index] = static_cast<wchar_t>(0x1F000 | (value & 0xFFF));
            else if (value >= 0xF000)
                text[index] = static_cast<wchar_t>(value & 0xEFFF);
        }
        m_texts.push_back(text);
        return text;
    }

    void found(Known& known, _cppoolstring const& string)
    {
        REQUIRE(&*string == known.record && known.text == string->pData);
        known.idle_visits = 0;
        if (++m_finds % 2 == 0)
            known.holders.emplace_back(string);
    }

    void made(Source const& source, _cppoolstring const& string)
    {
        m_was_used = true;
        Identity const identity = identity_of(source.text);
        Known& known = m_known[identity];
        known = {source.text, source.utf8_size, &*string, {}, 0, false};
        std::vector<Identity>& chain = m_chains[word_of(source.text)];
        chain.insert(chain.empty() ? chain.begin() : chain.begin() + 1, identity);
        found(known, string);
    }

    // What a request gives for text.
    void found_or_made(Source const& source, _cppoolstring const& string)
    {
        auto const known = m_known.find(identity_of(source.text));
        if (source.text.empty())
            REQUIRE(&*string == &Constants::empty_record.record);
        else if (known != m_known.end())
            found(known->second, string);
        else
            made(source, string);
        REQUIRE(m_reports.take().empty());
    }

    void get(fuzz::Input& input, std::wstring const& text, unsigned long form)
    {
        if (form == 1)
        {
            // With something behind that does not belong to it.
            std::wstring const longer = text + input.text(3);
            if (!text.empty())
                return found_or_made(wide_source(text), CStringPool::GetStringRefn(longer.c_str(), text.size()));
        }
        if (form == 2 && !text.empty())
        {
            WholeText submitter(text);
            return found_or_made(wide_source(text), CStringPool::GetStringRef(&submitter));
        }
        fuzz::Bytes utf8;
        bool const has_utf8 = encode(text, utf8);
        std::vector<unsigned short> utf16;
        bool has_utf16 = !text.empty();
        for (wchar_t const character : text)
        {
            utf16.push_back(static_cast<unsigned short>(character));
            has_utf16 = has_utf16 && value_of(character) < 0x10000 && value_of(character) >> 11 != 0x1B;
        }
        if (form == 3 && has_utf8)
            return found_or_made(wide_source(text),
                                 CStringPool::GetStringRef(fuzz::terminated<unsigned char>(utf8).get()));
        if (form == 4 && has_utf16)
            return found_or_made(wide_source(text),
                                 CStringPool::GetStringRefn(fuzz::Exact<unsigned short>(utf16).get(), utf16.size()));
        found_or_made(wide_source(text), CStringPool::GetStringRef(fuzz::terminated<wchar_t>(text).get()));
    }

    // Enough strings at once that the tables of the pool have to make room.
    void get_many(unsigned long count)
    {
        count = std::min(count, m_many_left);
        m_many_left -= count;
        for (unsigned long number = 0; number < count; ++number)
        {
            std::wstring const text = L"~" + std::to_wstring(number * number);
            if (m_known.count(identity_of(text)) == 0)
                m_texts.push_back(text);
            found_or_made(wide_source(text), CStringPool::GetStringRef(text.c_str()));
        }
    }

    void query(std::wstring const& text, Form form)
    {
        if (text.empty())
            return;
        _cppoolstring const string = ask(
            text, form, [](wchar_t const* source) { return CStringPool::QueryStringRef(source); },
            [](wchar_t const* source, unsigned long length) { return CStringPool::QueryStringRefn(source, length); },
            [](unsigned char const* source) { return CStringPool::QueryStringRef(source); },
            [](unsigned char const* source, unsigned long length)
            { return CStringPool::QueryStringRefn(source, length); });
        auto const known = m_known.find(identity_of(text));
        if (known == m_known.end())
            REQUIRE(&*string == &Constants::null_record.record);
        else
            found(known->second, string);
        REQUIRE(m_reports.take().empty());
    }

    // The spelling that a request without case gives; null if there is none.
    Known* head_of(std::wstring const& text)
    {
        auto const chain = m_chains.find(word_of(text));
        return chain == m_chains.end() ? nullptr : &m_known.at(chain->second.front());
    }

    void get_folded(std::wstring const& text, Form form)
    {
        if (text.empty())
            return;
        _cppoolstring const string = ask(
            text, form, [](wchar_t const* source) { return CStringPool::GetStringRefi(source); },
            [](wchar_t const* source, unsigned long length) { return CStringPool::GetStringRefni(source, length); },
            [](unsigned char const* source) { return CStringPool::GetStringRefi(source); },
            [](unsigned char const* source, unsigned long length)
            { return CStringPool::GetStringRefni(source, length); });
        if (Known* const head = head_of(text))
            found(*head, string);
        else
            made(wide_source(text), string);
        REQUIRE(m_reports.take().empty());
    }

    void query_folded(std::wstring const& text, Form form)
    {
        if (text.empty())
            return;
        _cppoolstring const string = ask(
            text, form, [](wchar_t const* source) { return CStringPool::QueryStringRefi(source); },
            [](wchar_t const* source, unsigned long length) { return CStringPool::QueryStringRefni(source, length); },
            [](unsigned char const* source) { return CStringPool::QueryStringRefi(source); },
            [](unsigned char const* source, unsigned long length)
            { return CStringPool::QueryStringRefni(source, length); });
        if (Known* const head = head_of(text))
            found(*head, string);
        else
            REQUIRE(&*string == &Constants::null_record.record);
        REQUIRE(m_reports.take().empty());
    }

    // Any bytes: text, if they are UTF-8 in the library's sense.
    void get_bytes(fuzz::Bytes const& bytes)
    {
        fuzz::Exact<unsigned char> const source = fuzz::terminated<unsigned char>(bytes);
        Source text = {std::wstring(), bytes.size()};
        for (unsigned char const* at = source; *at != 0;)
        {
            plain::step const step = plain::decode_utf8(at);
            if (step.result == 0)
            {
                REQUIRE(&*CStringPool::QueryStringRef(source) == &Constants::null_record.record);
                REQUIRE(m_reports.take().empty());
                REQUIRE(&*CStringPool::GetStringRef(source) == &Constants::null_record.record);
                REQUIRE(m_reports.take().size() == 1);
                return;
            }
            text.text += static_cast<wchar_t>(step.value);
            at += step.units;
        }
        // An overlong 0 makes a record that does not verify.
        if (text.text.find(L'\0') != std::wstring::npos || !is_plain_beginning(text.text))
            return;
        m_texts.push_back(text.text);
        if (bytes.size() % 2 == 0 && !bytes.empty())
            return found_or_made(text,
                                 CStringPool::GetStringRefn(fuzz::Exact<unsigned char>(bytes).get(), bytes.size()));
        found_or_made(text, CStringPool::GetStringRef(source));
    }

    // A length that means no text.
    void get_nothing(std::wstring const& text)
    {
        if (text.empty())
            return;
        for (unsigned long const length : {0UL, fuzz::no_limit})
        {
            REQUIRE(&*CStringPool::QueryStringRefn(text.c_str(), length) == &Constants::null_record.record);
            REQUIRE(m_reports.take().empty());
            REQUIRE(&*CStringPool::GetStringRefn(text.c_str(), length) == &Constants::null_record.record);
            REQUIRE(m_reports.take().size() == 1);
        }
    }

    Known* some_held(unsigned long chosen)
    {
        unsigned long count = 0;
        for (auto const& [identity, known] : m_known)
            count += known.holders.size();
        if (count == 0)
            return nullptr;
        chosen %= count;
        auto entry = m_known.begin();
        for (; chosen >= entry->second.holders.size(); ++entry)
            chosen -= entry->second.holders.size();
        return &entry->second;
    }

    void release(unsigned long chosen)
    {
        if (Known* const known = some_held(chosen))
            known->holders.pop_back();
    }

    void take_form(unsigned long chosen)
    {
        Known* const known = some_held(chosen);
        if (known == nullptr)
            return;
        std::basic_string<unsigned char> expected;
        for (wchar_t const character : known->text)
        {
            unsigned char bytes[4];
            unsigned int const count = plain::encode_utf8(bytes, value_of(character));
            if (count == 0)
                break;
            expected.append(bytes, count);
        }
        unsigned char const* const form = known->holders.back();
        bool const has_form = expected.size() == known->utf8_size;
        REQUIRE(has_form ? form == expected : *form == 0);
        REQUIRE(known->record->pOwned == (has_form ? form : nullptr));
        known->has_form = has_form;
    }

    void collect()
    {
        REQUIRE(CStringPool::Collect(all_of_it) == 1);
        for (auto entry = m_known.begin(); entry != m_known.end();)
        {
            Known& known = entry->second;
            if (!known.holders.empty())
                known.idle_visits = 0;
            else if (++known.idle_visits == 2)
            {
                auto const chain = m_chains.find(word_of(known.text));
                chain->second.erase(std::find(chain->second.begin(), chain->second.end(), entry->first));
                if (chain->second.empty())
                    m_chains.erase(chain);
                entry = m_known.erase(entry);
                continue;
            }
            else
                known.has_form = false;
            ++entry;
        }
    }

    void check_chain(std::vector<Identity> const& chain)
    {
        staticStringRecord const key(m_known.at(chain.front()).text.c_str());
        using Entry = ORVA::Buffers::CPObject<ISSTRINGPOOLENTRY>;
        Entry entry = g_insensitive_table.FindItem(key.record.info.sHashi, ORVA::Buffers::CPObjectMemory::pnull);
        for (Identity const& identity : chain)
        {
            REQUIRE(entry && &*entry->string == m_known.at(identity).record);
            Entry const next = entry->next;
            entry = next;
        }
        REQUIRE(!entry);
    }

    fuzz::Reports& m_reports;
    std::map<Identity, Known> m_known;
    std::map<Word, std::vector<Identity>> m_chains; // the spellings of a word, in the order of their chain
    std::vector<std::wstring> m_texts;
    unsigned long m_finds = 0;
    unsigned long m_many_left = 300; // so that no input takes long
    bool m_was_used = false;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::use_rich_locale();
    fuzz::Reports reports;
    fuzz::Input input(data, std::min<std::size_t>(size, 1000));
    Twins twins(reports);
    while (!input.empty())
        twins.step(input);
    twins.check();
    twins.finish();
    return 0;
}
