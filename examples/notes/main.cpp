/// @file
/// A notebook in the string pool: titles that are never taken twice, tags in one text, and pictures as text.
///
///   names.h         names in arrays: looked up, numbered, split
///   attachment.h    bytes as pooled text
///   log.h           the library's messages, printed
///
/// The exit status is 0 if everything is as the lines say. The library need not be started for this: that is for its
/// background, which gives the memory of unused strings back.

#include "attachment.h"
#include "log.h"
#include "names.h"

#include <cstdio>
#include <string>

namespace
{

using namespace notes;
using namespace ORVA::String;

std::string utf8(CPPoolString const& text)
{
    unsigned char const* const bytes = text;
    return reinterpret_cast<char const*>(bytes);
}

void print(char const* what, CPPoolStringArray const& names)
{
    std::printf("  %-10s", what);
    for (CPPoolString const& name : names)
        std::printf("  %s", name.isnull() ? "(null)" : name.isempty() ? "(empty)" : utf8(name).c_str());
    std::printf("\n");
}

bool are_equal(CPPoolStringArray const& first, CPPoolStringArray const& second)
{
    if (first.GetCount() != second.GetCount())
        return false;
    for (unsigned long index = 0; index < first.GetCount(); ++index)
    {
        if (first[index] != second[index])
            return false;
    }
    return true;
}

bool show_names()
{
    std::printf("Titles that are never taken twice:\n");
    CPPoolStringArray titles(true);
    for (wchar_t const* const wanted : {L"Note", L"Note", L"Ideas", L"Note", L"Ideas (9)", L"Ideas (9)", L"Note",
                                        L"\u00C4pfel", L"Note(1)", L"Note(1)"})
    {
        CPPoolString const asked = wanted;
        std::printf("  %s becomes %s\n", utf8(asked).c_str(), utf8(add_new(titles, asked)).c_str());
    }
    // By the numbers of the characters: digits are no numbers, and other letters come behind those of ASCII.
    print("sorted:", titles);
    return titles.GetCount() == 10 && titles[0] == L"Ideas" && titles[1] == L"Ideas (10)" &&
           titles[9] == L"\u00C4pfel" && contains(titles, L"Note (4)") && !contains(titles, L"Note (5)");
}

bool show_arrays()
{
    std::printf("\nTags in the order of their entry, sorted, and as one text:\n");
    CPPoolStringArray tags(false);
    for (wchar_t const* const tag : {L"travel", L"Rome", L"2024", L"food"})
        tags.Add(tag);
    print("tags:", tags);

    // A copy is a second handle on the same entries: without `clone`, this would sort `tags`, too.
    CPPoolStringArray sorted = tags;
    if (!sorted.clone())
        return false;
    sorted.Sort();
    print("sorted:", sorted);

    CPPoolString const flat = tags.Flatten(L',');
    std::printf("  %-10s  %s\n", "flat:", utf8(flat).c_str());

    // A piece of n characters arrives n bytes long, and a wide character has four.
    CPPoolStringArray inflated(false);
    inflated.Inflate(flat, L',');
    print("Inflate:", inflated);
    CPPoolStringArray const pieces = split(flat, L',');
    print("split:", pieces);
    bool const good = tags.GetCount() == 4 && sorted[0] == L"2024" && tags[0] == L"travel" && are_equal(pieces, tags) &&
                      inflated.GetCount() == 4 && inflated[0] == L"tr" && inflated[1] == L"R";

    CPPoolString const gaps = L"a,,b,";
    inflated.Inflate(gaps, L',');
    std::printf("Empty pieces, of %s\n", utf8(gaps).c_str());
    print("Inflate:", inflated);
    CPPoolStringArray const empty_pieces = split(gaps, L',');
    print("split:", empty_pieces);
    // One text is one string, however it was made.
    return good && inflated.GetCount() == 3 && inflated[1].isnull() && empty_pieces.GetCount() == 4 &&
           empty_pieces[1].isempty() && empty_pieces.Flatten(L',') == gaps && pieces.Flatten(L',') == flat;
}

Bytes bytes_counted_up(unsigned long size)
{
    Bytes bytes;
    while (bytes.size() < size)
        bytes.push_back(static_cast<unsigned char>(bytes.size()));
    return bytes;
}

// Whether bytes come back from the encoder as it is.
bool comes_back_bare(Bytes const& bytes)
{
    CPPoolString const text = C3FFFEncoder(bytes.data(), bytes.size());
    ORVA::Buffers::CPPlainMemory const block = C3FFFDecoder(text);
    auto const* const decoded = static_cast<unsigned char const*>(block.get_cptr());
    return block && Bytes(decoded, decoded + block.GetMemorySize()) == bytes;
}

bool show_attachments()
{
    std::printf("\nBytes as text:\n");
    Bytes const picture = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0, 0, 0};
    CPPoolString const text = keep(picture);
    std::printf("  %lu bytes are %lu characters:", picture.size(), text.len());
    for (unsigned long index = 0; index < text.len(); ++index)
        std::printf(" %04X", static_cast<unsigned int>((*text)[index]));
    std::printf("\n  Equal bytes are the same string: %s\n", keep(picture) == text ? "yes" : "no");
    bool good = bytes_of(text) == picture && keep(picture) == text;

    std::printf("Without a byte more, multiples of seven bytes are lost:\n");
    for (unsigned long const size : {6UL, 7UL, 8UL})
    {
        bool const back = comes_back_bare(bytes_counted_up(size));
        std::printf("  %lu bytes %s\n", size, back ? "come back" : "do not come back");
        good = good && back == (size != 7);
    }

    constexpr unsigned long most = 1000;
    unsigned long lost = 0;
    for (unsigned long size = 0; size <= most; ++size)
        lost += bytes_of(keep(bytes_counted_up(size))) != bytes_counted_up(size);
    std::printf("With it, of the lengths from 0 to %lu bytes %lu are lost.\n", most, lost);
    return good && lost == 0;
}

// Of what the encoder writes, no character is below 0x300. So a whole note can be one text, and that UTF-8 in a file.
bool show_whole_note()
{
    constexpr wchar_t separator = 0x1F;
    Bytes const picture = bytes_counted_up(20);
    CPPoolStringArray note(false);
    note.Add(L"Rome");
    note.Add(L"Pasta, and the \u201Cold\u201D bridges");
    note.Add(keep(picture));
    std::string const stored = utf8(note.Flatten(separator));

    CPPoolString const loaded = reinterpret_cast<unsigned char const*>(stored.c_str());
    CPPoolStringArray const fields = split(loaded, separator);
    bool const good = are_equal(fields, note) && bytes_of(fields[2]) == picture;
    std::printf("\nA note with a picture of %lu bytes, stored in %lu bytes of UTF-8, comes back %s.\n", picture.size(),
                stored.size(), good ? "whole" : "DAMAGED");
    return good;
}

} // namespace

int main()
{
    LibraryMessages const messages;
    bool good = show_names();
    good = show_arrays() && good;
    good = show_attachments() && good;
    good = show_whole_note() && good;
    good = good && LibraryMessages::count() == 1; // that of the seven bytes
    std::printf("\n%s\n", good ? "All is as it should be." : "Something is wrong.");
    return good ? 0 : 1;
}
