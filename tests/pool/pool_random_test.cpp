#include "ORVA/String/PoolString.h"

#include "cstringpool/globals.h"
#include "support/LogRecorder.h"
#include "support/PoolSubmitters.h"
#include "support/PoolTexts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace
{

using namespace ORVA::String;
using support::is_null;
using support::text_of;

constexpr unsigned int no_limit = 0xFFFFFFFFU;

// What the pool has to know of a text.
struct Known
{
    tagSTRINGPOOLRECORD const* record;
    std::vector<CPPoolString> holders;
    unsigned int idle_visits; // since the last find or outside handle
    bool has_form;
};

std::wstring lower(std::wstring text)
{
    for (wchar_t& character : text)
        character = character >= L'A' && character <= L'Z' ? character - L'A' + L'a' : character;
    return text;
}

// The pool beside a model of it. Names begin with a mark of the test; other strings of the pool are left alone.
class Model
{
public:
    explicit Model(unsigned int seed) : m_random(seed), m_mark(L"~" + std::to_wstring(seed)) {}

    void step()
    {
        switch (below(12))
        {
        case 0:
        case 1:
        case 2:
            return get(name());
        case 3:
            return query(name());
        case 4:
            return get_folded(name());
        case 5:
            return query_folded(name());
        case 6:
            return submit(name());
        case 7:
        case 8:
            return release();
        case 9:
            return take_form();
        case 10:
            return below(8) == 0 ? collect() : release();
        default:
            return below(8) == 0 ? check() : get(name());
        }
    }

    void check()
    {
        EXPECT_EQ(CStringPool::Verify(), 1U);
        for (auto const& [text, known] : m_known)
        {
            staticStringRecord key(text.c_str());
            _cppoolstring handle(key);
            _cppoolstring const found = g_sensitive_table.Find(handle);
            ASSERT_EQ(&*found, known.record);
            EXPECT_EQ(text_of(found), text);
            EXPECT_EQ(found.lockcnt(), 3 + known.holders.size());
            EXPECT_EQ(found->age, known.idle_visits);
            EXPECT_EQ(found->pOwned != nullptr, known.has_form);
            check_chain(text);
        }
        for (std::wstring const& text : m_gone)
        {
            staticStringRecord key(text.c_str());
            _cppoolstring handle(key);
            EXPECT_EQ(is_null(g_sensitive_table.Find(handle)), m_known.count(text) == 0);
        }
    }

    void release_all()
    {
        while (count_holders() != 0)
            release();
        collect();
        collect();
        EXPECT_TRUE(m_known.empty());
        check();
    }

private:
    unsigned long below(unsigned long limit) { return m_random() % limit; }

    // A short word, some of them of more than ten characters with all differences at the end, in a random spelling.
    std::wstring name()
    {
        std::wstring text = m_mark;
        if (below(2) == 0)
            text += L"common beginning ";
        for (unsigned long length = below(3); length > 0; --length)
            text += L"abAB"[below(4)];
        return text;
    }

    void found(std::wstring const& text, _cppoolstring const& string)
    {
        Known& known = m_known.at(text);
        EXPECT_EQ(&*string, known.record);
        known.idle_visits = 0;
        if (below(2) == 0)
            known.holders.emplace_back(string);
    }

    void made(std::wstring const& text, _cppoolstring const& string)
    {
        EXPECT_EQ(text_of(string), text);
        EXPECT_EQ(string.lockcnt(), 3U);
        m_known[text] = {&*string, {}, 0, false};
        found(text, string);
    }

    void found_or_made(std::wstring const& text, _cppoolstring const& string)
    {
        if (m_known.count(text) != 0)
            found(text, string);
        else
            made(text, string);
    }

    void get(std::wstring const& text)
    {
        if (below(2) == 0)
            return found_or_made(text, CStringPool::GetStringRef(text.c_str()));
        std::basic_string<unsigned char> const narrow(text.begin(), text.end());
        found_or_made(text, CStringPool::GetStringRefn((narrow + narrow).c_str(), narrow.size()));
    }

    void submit(std::wstring const& text)
    {
        support::SubmitterProbe submitter(text);
        found_or_made(text, CStringPool::GetStringRef(&submitter));
    }

    void query(std::wstring const& text)
    {
        _cppoolstring const string = CStringPool::QueryStringRef(text.c_str());
        EXPECT_EQ(is_null(string), m_known.count(text) == 0);
        if (!is_null(string))
            found(text, string);
    }

    bool is_known_in_any_spelling(std::wstring const& text) const
    {
        for (auto const& [known, _] : m_known)
        {
            if (lower(known) == lower(text))
                return true;
        }
        return false;
    }

    void get_folded(std::wstring const& text)
    {
        bool const was_known = is_known_in_any_spelling(text);
        _cppoolstring const string = CStringPool::GetStringRefi(text.c_str());
        EXPECT_EQ(lower(text_of(string)), lower(text));
        if (was_known)
            found(text_of(string), string);
        else
            made(text, string);
    }

    void query_folded(std::wstring const& text)
    {
        _cppoolstring const string = CStringPool::QueryStringRefi(text.c_str());
        EXPECT_EQ(!is_null(string), is_known_in_any_spelling(text));
        if (!is_null(string))
        {
            EXPECT_EQ(lower(text_of(string)), lower(text));
            found(text_of(string), string);
        }
    }

    unsigned long count_holders() const
    {
        unsigned long count = 0;
        for (auto const& [_, known] : m_known)
            count += known.holders.size();
        return count;
    }

    Known* some_held()
    {
        unsigned long const holders = count_holders();
        if (holders == 0)
            return nullptr;
        unsigned long chosen = below(holders);
        for (auto& [_, known] : m_known)
        {
            if (chosen < known.holders.size())
                return &known;
            chosen -= known.holders.size();
        }
        return nullptr;
    }

    void release()
    {
        if (Known* const known = some_held())
            known->holders.pop_back();
    }

    void take_form()
    {
        Known* const known = some_held();
        if (known == nullptr)
            return;
        unsigned char const* const form = known->holders.back();
        EXPECT_EQ(static_cast<void const*>(form), known->record->pOwned);
        std::wstring const text(known->record->pData);
        EXPECT_EQ(std::string(reinterpret_cast<char const*>(form)), std::string(text.begin(), text.end()));
        known->has_form = true;
    }

    void collect()
    {
        ASSERT_EQ(CStringPool::Collect(no_limit), 1U);
        for (auto entry = m_known.begin(); entry != m_known.end();)
        {
            Known& known = entry->second;
            if (!known.holders.empty())
            {
                known.idle_visits = 0;
            }
            else if (++known.idle_visits == 2)
            {
                m_gone.push_back(entry->first);
                entry = m_known.erase(entry);
                continue;
            }
            else
            {
                known.has_form = false;
            }
            ++entry;
        }
    }

    // All known spellings of a word stand in its one chain, and nothing else.
    void check_chain(std::wstring const& text)
    {
        std::vector<std::wstring> chain = support::chain_of(g_insensitive_table, text.c_str());
        std::sort(chain.begin(), chain.end());
        std::vector<std::wstring> expected;
        for (auto const& [known, _] : m_known)
        {
            if (lower(known) == lower(text))
                expected.push_back(known);
        }
        EXPECT_EQ(chain, expected);
    }

    std::mt19937 m_random;
    std::wstring m_mark;
    std::map<std::wstring, Known> m_known;
    std::vector<std::wstring> m_gone;
};

// Disposes of what other tests left behind, and of the reports that this may cost: strings that only one table could take.
void flush()
{
    ASSERT_EQ(CStringPool::Collect(no_limit), 1U);
    ASSERT_EQ(CStringPool::Collect(no_limit), 1U);
}

} // namespace

TEST(PoolRandom, OperationsAgreeWithAModel)
{
    flush();
    support::LogRecorder recorder;
    for (unsigned int seed = 1; seed <= 8; ++seed)
    {
        Model model(seed);
        for (int step = 0; step < 1500; ++step)
        {
            model.step();
            ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed << ", step " << step;
        }
        model.check();
        model.release_all();
        ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed;
    }
    EXPECT_EQ(recorder.count(), 0U);
}

// Enough strings that every bucket and every index of the pool grows and shrinks again.
TEST(PoolRandom, ManyStringsComeAndGo)
{
    constexpr unsigned int strings = 20000;
    auto const text_at = [](unsigned int number) { return L"~many " + std::to_wstring(number * 2654435761U); };
    std::vector<CPPoolString> held(strings);
    for (unsigned int number = 0; number < strings; ++number)
        held[number] = text_at(number).c_str();
    EXPECT_EQ(CStringPool::Verify(), 1U);
    for (unsigned int number = 0; number < strings; ++number)
    {
        if (number % 3 != 0)
            held[number].free();
    }
    ASSERT_EQ(CStringPool::Collect(no_limit), 1U);
    ASSERT_EQ(CStringPool::Collect(no_limit), 1U);
    for (unsigned int number = 0; number < strings; ++number)
    {
        _cppoolstring const found = CStringPool::QueryStringRef(text_at(number).c_str());
        ASSERT_TRUE(number % 3 == 0 ? found == held[number] : is_null(found)) << number;
    }
    EXPECT_EQ(CStringPool::Verify(), 1U);
    for (unsigned int number = 0; number < strings; ++number)
        held[number] = text_at(number).c_str();
    for (unsigned int number = 0; number < strings; ++number)
        ASSERT_TRUE(CStringPool::QueryStringRef(text_at(number).c_str()) == held[number]) << number;
}
