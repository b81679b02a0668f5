// Measuring and converting text beside ICU, GLib, the C library (in C.UTF-8) and iconv. Names are
// operation/who/script/characters.
//
// All are given terminated text, and only iconv is told its length, which it cannot do without. Buffers are large enough
// for any text of the length, and whoever can check the room does so. Converters that allocate are set against holders,
// which do so too.
//
// Each benchmark goes round a few texts of its script that begin at different places of a sample, so that neither
// alignment nor the order of the characters is always the same. Pairs of UTF-16 are not decoded by the library as by
// its peers, so conversions from UTF-16 have no texts with characters beyond 0xFFFF.
//
// With ORVA_BENCH_ALL in the environment there are more lengths, mixed scripts and conversions to and from UTF-16 as well:
// some 50 minutes, to be asked for by filter. The goals are for what is measured without it.

#include "ORVA/String/Codecs.h"
#include "ORVA/String/Holders.h"

#include <benchmark/benchmark.h>

#include <glib.h>
#include <iconv.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

namespace
{

using namespace ORVA::String;

constexpr unsigned long no_limit = ~0UL;

struct Script
{
    char const* name;
    bool has_pairs;
    bool is_extra;
    std::u32string sample;
};

Script const scripts[] = {
    {"english", false, false,
     U"The quick brown fox, 42 years old, jumps over the lazy dog; then it sleeps until noon. "},
    {"latin", false, false, U"Où êtes-vous né? Größe zählt für die Äpfel, über allem: žlutý kůň, São João, façade. "},
    {"cjk", false, false, U"天地玄黄宇宙洪荒日月盈昃辰宿列張寒来暑往秋収冬蔵、閏餘成歳律呂調陽。雲騰致雨露結為霜"},
    {"emoji", true, false, U"😀😃😄😁🚀🚁🚂🌍🌎🌏🍎🍏🍐🎉🎊🎈🐱🐶🦊🐻🐼🐨"},
    {"mixed", true, true, U"Total: 25 € für 東京タワー, naïve 🚀 plan — Привет, мир! 価格は¥300です😀 ok. "},
};

struct Text
{
    std::vector<unsigned char> storage;
    unsigned long shift;
    std::u16string utf16;
    std::wstring wide;

    unsigned char const* utf8() const { return storage.data() + shift; }
    unsigned long utf8_size() const { return storage.size() - 1 - shift; }
    char const* chars() const { return reinterpret_cast<char const*>(utf8()); }
    unsigned short const* units() const { return reinterpret_cast<unsigned short const*>(utf16.c_str()); }
};

Text make_text(std::u32string const& sample, unsigned long start, unsigned long length)
{
    Text text;
    text.shift = start % 16;
    text.storage.resize(text.shift);
    for (unsigned long index = 0; index < length; ++index)
    {
        char32_t const character = sample[(start + index) % sample.size()];
        text.wide.push_back(static_cast<wchar_t>(character));
        unsigned char bytes[4];
        unsigned char* end = bytes;
        nqfW32_utf8(end, character);
        text.storage.insert(text.storage.end(), bytes, end);
        if (character > 0xFFFF)
            text.utf16.push_back(static_cast<char16_t>(U16_LEAD(character)));
        text.utf16.push_back(static_cast<char16_t>(character > 0xFFFF ? U16_TRAIL(character) : character));
    }
    text.storage.push_back(0);
    return text;
}

// Texts, and room for the result of any conversion of one of them.
class Work
{
public:
    Work(Script const& script, unsigned long length)
        : wide(4 * length + 1), utf16(2 * length + 1), utf8(4 * length + 1),
          m_texts(std::clamp(4096 / length, 2UL, 16UL))
    {
        for (unsigned long index = 0; index < m_texts.size(); ++index)
            m_texts[index] = make_text(script.sample, 11 * index, length);
    }

    Text const& next()
    {
        m_next = m_next + 1 == m_texts.size() ? 0 : m_next + 1;
        return m_texts[m_next];
    }

    unsigned short* units() { return utf16.data(); }
    char16_t* utf16_chars() { return reinterpret_cast<char16_t*>(utf16.data()); }
    char* chars() { return reinterpret_cast<char*>(utf8.data()); }

    std::vector<wchar_t> wide;
    std::vector<unsigned short> utf16;
    std::vector<unsigned char> utf8;

private:
    std::vector<Text> m_texts;
    unsigned long m_next = 0;
};

// Converts with an open descriptor.
class Converter
{
public:
    Converter(char const* to, char const* from) : m_descriptor(iconv_open(to, from)) {}

    unsigned long operator()(void const* source, unsigned long bytes, void* target, unsigned long room) const
    {
        char* from = static_cast<char*>(const_cast<void*>(source));
        char* to = static_cast<char*>(target);
        if (iconv(m_descriptor, &from, &bytes, &to, &room) == static_cast<std::size_t>(-1))
            std::abort();
        return room;
    }

private:
    iconv_t m_descriptor;
};

bool const all = std::getenv("ORVA_BENCH_ALL") != nullptr;

template <class Operation>
void add(char const* name, bool may_have_pairs, Operation operation)
{
    std::vector<unsigned long> const lengths = all ? std::vector<unsigned long>{4, 8, 12, 16, 32, 64, 256, 1024, 8192}
                                                   : std::vector<unsigned long>{4, 16, 64, 1024, 8192};
    for (Script const& script : scripts)
    {
        if ((script.has_pairs && !may_have_pairs) || (script.is_extra && !all))
            continue;
        for (unsigned long const length : lengths)
        {
            char number[8];
            std::snprintf(number, sizeof number, "%04lu", length);
            std::string const title = std::string(name) + "/" + script.name + "/" + number;
            benchmark::RegisterBenchmark(title.c_str(),
                                         [&script, length, operation](benchmark::State& state)
                                         {
                                             Work work(script, length);
                                             for (auto _ : state)
                                             {
                                                 benchmark::DoNotOptimize(operation(work.next(), work));
                                                 benchmark::ClobberMemory();
                                             }
                                             state.SetItemsProcessed(state.iterations() * static_cast<long>(length));
                                         });
        }
    }
}

int as_int(unsigned long value)
{
    return static_cast<int>(value);
}

void add_utf8_to_wide()
{
    add("utf8_to_wide/ORVA", true,
        [](Text const& text, Work& work)
        { return UTF8_To_nqfWChar(text.utf8(), no_limit, work.wide.data(), work.wide.size()); });
    add("utf8_to_wide/U8_NEXT", true,
        [](Text const& text, Work& work)
        {
            unsigned char const* const source = text.utf8();
            wchar_t* end = work.wide.data();
            wchar_t* const last = end + work.wide.size() - 1;
            for (int index = 0; end != last;)
            {
                UChar32 character;
                U8_NEXT(source, index, -1, character);
                if (character <= 0)
                    break;
                *end++ = static_cast<wchar_t>(character);
            }
            *end = 0;
            return end;
        });
    add("utf8_to_wide/mbstowcs", true,
        [](Text const& text, Work& work) { return std::mbstowcs(work.wide.data(), text.chars(), work.wide.size()); });
    add("utf8_to_wide/iconv", true,
        [](Text const& text, Work& work)
        {
            static Converter const convert("WCHAR_T", "UTF-8");
            return convert(text.utf8(), text.utf8_size(), work.wide.data(), work.wide.size() * sizeof(wchar_t));
        });
    add("utf8_to_new_wide/ORVA", true, [](Text const& text, Work&) { return CNQFWChar(text.utf8()).len(); });
    add("utf8_to_new_wide/g_utf8_to_ucs4", true,
        [](Text const& text, Work&)
        {
            gunichar* const result = g_utf8_to_ucs4(text.chars(), -1, nullptr, nullptr, nullptr);
            benchmark::DoNotOptimize(result);
            g_free(result);
            return result;
        });
}

void add_wide_to_utf8()
{
    add("wide_to_utf8/ORVA", true,
        [](Text const& text, Work& work)
        { return nqfWChar_To_UTF8(text.wide.c_str(), no_limit, work.utf8.data(), work.utf8.size()); });
    add("wide_to_utf8/U8_APPEND", true,
        [](Text const& text, Work& work)
        {
            int const room = as_int(work.utf8.size());
            int stored = 0;
            for (wchar_t const* source = text.wide.c_str(); *source != 0; ++source)
            {
                UBool failed = false;
                U8_APPEND(work.utf8.data(), stored, room, static_cast<unsigned int>(*source), failed);
                if (failed)
                    break;
            }
            work.utf8[static_cast<unsigned long>(stored)] = 0;
            return stored;
        });
    add("wide_to_utf8/wcstombs", true,
        [](Text const& text, Work& work) { return std::wcstombs(work.chars(), text.wide.c_str(), work.utf8.size()); });
    add("wide_to_utf8/iconv", true,
        [](Text const& text, Work& work)
        {
            static Converter const convert("UTF-8", "WCHAR_T");
            return convert(text.wide.c_str(), text.wide.size() * sizeof(wchar_t), work.utf8.data(), work.utf8.size());
        });
    add("wide_to_new_utf8/ORVA", true, [](Text const& text, Work&) { return CUTF8Char(text.wide.c_str()).len(); });
    add("wide_to_new_utf8/g_ucs4_to_utf8", true,
        [](Text const& text, Work&)
        {
            auto const* const source = reinterpret_cast<gunichar const*>(text.wide.c_str());
            gchar* const result = g_ucs4_to_utf8(source, -1, nullptr, nullptr, nullptr);
            benchmark::DoNotOptimize(result);
            g_free(result);
            return result;
        });
}

void add_utf16()
{
    add("utf8_to_utf16/ORVA", true,
        [](Text const& text, Work& work)
        {
            unsigned short* end = work.units();
            unsigned char const* source = text.utf8();
            while (*source != 0 && utf8_utf16(end, source) != 0)
            {
            }
            *end = 0;
            return end;
        });
    add("utf8_to_utf16/U8_NEXT", true,
        [](Text const& text, Work& work)
        {
            unsigned char const* const source = text.utf8();
            char16_t* const target = work.utf16_chars();
            int stored = 0;
            for (int index = 0;;)
            {
                UChar32 character;
                U8_NEXT(source, index, -1, character);
                if (character <= 0)
                    break;
                U16_APPEND_UNSAFE(target, stored, character);
            }
            target[stored] = 0;
            return stored;
        });
    add("utf8_to_new_utf16/ORVA", true, [](Text const& text, Work&) { return CUTF16Char(text.utf8()).len(); });
    add("utf8_to_new_utf16/g_utf8_to_utf16", true,
        [](Text const& text, Work&)
        {
            gunichar2* const result = g_utf8_to_utf16(text.chars(), -1, nullptr, nullptr, nullptr);
            benchmark::DoNotOptimize(result);
            g_free(result);
            return result;
        });
    add("utf8_to_new_utf16/u_strFromUTF8", true,
        [](Text const& text, Work&)
        {
            UErrorCode error = U_ZERO_ERROR;
            int length = 0;
            u_strFromUTF8(nullptr, 0, &length, text.chars(), -1, &error);
            error = U_ZERO_ERROR;
            auto* const result = static_cast<char16_t*>(std::malloc(static_cast<unsigned long>(length + 1) * 2));
            u_strFromUTF8(result, length + 1, nullptr, text.chars(), -1, &error);
            benchmark::DoNotOptimize(result);
            std::free(result);
            return length;
        });
    add("utf16_to_new_utf8/ORVA", false, [](Text const& text, Work&) { return CUTF8Char(text.units()).len(); });
    add("utf16_to_new_utf8/g_utf16_to_utf8", false,
        [](Text const& text, Work&)
        {
            gchar* const result = g_utf16_to_utf8(text.units(), -1, nullptr, nullptr, nullptr);
            benchmark::DoNotOptimize(result);
            g_free(result);
            return result;
        });
    add("utf16_to_new_utf8/u_strToUTF8", false,
        [](Text const& text, Work&)
        {
            UErrorCode error = U_ZERO_ERROR;
            int length = 0;
            u_strToUTF8(nullptr, 0, &length, text.utf16.c_str(), -1, &error);
            error = U_ZERO_ERROR;
            char* const result = static_cast<char*>(std::malloc(static_cast<unsigned long>(length + 1)));
            u_strToUTF8(result, length + 1, nullptr, text.utf16.c_str(), -1, &error);
            benchmark::DoNotOptimize(result);
            std::free(result);
            return length;
        });
}

void add_measures()
{
    add("measure_utf8/ORVA", true, [](Text const& text, Work&) { return UTF8wstrlen(text.utf8(), no_limit); });
    add("measure_utf8/g_utf8_strlen", true, [](Text const& text, Work&) { return g_utf8_strlen(text.chars(), -1); });
    add("measure_utf8/mbstowcs", true, [](Text const& text, Work&) { return std::mbstowcs(nullptr, text.chars(), 0); });
    add("measure_utf8/U8_NEXT", true,
        [](Text const& text, Work&)
        {
            unsigned char const* const source = text.utf8();
            unsigned long count = 0;
            for (int index = 0;; ++count)
            {
                UChar32 character;
                U8_NEXT(source, index, -1, character);
                if (character <= 0)
                    break;
            }
            return count;
        });
    add("measure_wide_for_utf8/ORVA", true,
        [](Text const& text, Work&) { return nqfWu8strlen(text.wide.c_str(), no_limit); });
    add("measure_wide_for_utf8/wcstombs", true,
        [](Text const& text, Work&) { return std::wcstombs(nullptr, text.wide.c_str(), 0); });
    add("measure_wide_for_utf8/U8_LENGTH", true,
        [](Text const& text, Work&)
        {
            unsigned long size = 0;
            for (wchar_t const* source = text.wide.c_str(); *source != 0; ++source)
            {
                auto const character = static_cast<unsigned int>(*source);
                unsigned int const length = U8_LENGTH(character);
                if (length == 0)
                    break;
                size += length;
            }
            return size;
        });
    add("measure_utf16/ORVA", true, [](Text const& text, Work&) { return UTF16wstrlen(text.units(), no_limit); });
    add("measure_utf16/u_countChar32", true,
        [](Text const& text, Work&) { return u_countChar32(text.utf16.c_str(), -1); });
}

void add_more_measures()
{
    add("measure_utf8_for_utf16/ORVA", true,
        [](Text const& text, Work&) { return UTF8u16strlen(text.utf8(), no_limit); });
    add("measure_utf8_for_utf16/u_strFromUTF8", true,
        [](Text const& text, Work&)
        {
            UErrorCode error = U_ZERO_ERROR;
            int length = 0;
            u_strFromUTF8(nullptr, 0, &length, text.chars(), -1, &error);
            return length;
        });
    add("measure_wide/ORVA", true, [](Text const& text, Work&) { return nqfWw32strlen(text.wide.c_str(), no_limit); });
    add("measure_wide/wcslen", true, [](Text const& text, Work&) { return std::wcslen(text.wide.c_str()); });
    add("measure_utf16_for_utf8/ORVA", false,
        [](Text const& text, Work&) { return UTF16u8strlen(text.units(), no_limit); });
    add("measure_utf16_for_utf8/u_strToUTF8", false,
        [](Text const& text, Work&)
        {
            UErrorCode error = U_ZERO_ERROR;
            int length = 0;
            u_strToUTF8(nullptr, 0, &length, text.utf16.c_str(), -1, &error);
            return length;
        });
}

} // namespace

int main(int argc, char** argv)
{
    if (std::setlocale(LC_ALL, "C.UTF-8") == nullptr)
        return 1;
    add_utf8_to_wide();
    add_wide_to_utf8();
    add_measures();
    if (all)
    {
        add_utf16();
        add_more_measures();
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
