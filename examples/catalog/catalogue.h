/// @file
/// The catalogue: every name that was read, once, with what is known about it.
///
/// A name is a pooled string. The pool keeps one record for each text, so equal names are one pointer, and the
/// catalogue needs no text comparison to count them.
///
/// What makes two texts one is decided by the pool: their length, their hashes, to which each character gives its low
/// 16 bits, and their first 10 characters. Long names that differ in nothing but the plane of a character are one name.
#pragma once

#include "input.h"

#include "ORVA/ORVA.h"

#include <string>
#include <vector>

namespace catalog
{

/// A distinct name. Lives in a block of object memory that the catalogue's tables share.
struct Name
{
    ORVA::String::CPPoolString text;
    unsigned long occurrences = 0;
    Name* next_spelling = nullptr; ///< the next name that differs only by case; not owned
};

/// All names in some order: an array that may be sorted.
using NameList = ORVA::Buffers::CPPlainVector<Name const*>;

/// The names by identity: the table's key is the hash that a pooled string has ready, and two names are equal when they
/// are one record of the pool.
class NameTable : public ORVA::Lookup::CBaseHashTable
{
public:
    NameTable();

    int compare(ORVA::Buffers::CPObjectMemory const& a, ORVA::Buffers::CPObjectMemory const& b) override;

    /// The name with this text, or null.
    Name* find(ORVA::String::CPPoolString const& text);
};

/// The names by text without case: the first spelling that came stands for all of them.
class WordTable : public ORVA::Lookup::CBaseHashTable
{
public:
    WordTable();

    int compare(ORVA::Buffers::CPObjectMemory const& a, ORVA::Buffers::CPObjectMemory const& b) override;
};

/// A line that was no UTF-8.
struct RefusedLine
{
    std::string source;
    unsigned long number;
    unsigned long bytes;   ///< with the line end
    std::string beginning; ///< its first bytes, as they were
    bool cut;              ///< there were more of them
};

/// What has gone into a catalogue. Refused lines are part of `lines`, and their bytes of `bytes`. Names that stood in no
/// line are components too.
struct Totals
{
    unsigned long lines = 0;
    unsigned long bytes = 0;
    unsigned long components = 0;
    unsigned long refused_lines = 0;
    unsigned long refused_bytes = 0;
    std::vector<RefusedLine> first_refused;
};

/// Counts names. Throws `std::bad_alloc` where the heap is exhausted.
class Catalogue
{
public:
    /// Takes in the components of a line, or refuses the line.
    void add(Line const& line);

    /// Counts one name that stands in no line. It must be UTF-8 and not empty.
    Name const& add_name(std::string_view component);

    Totals const& totals() const { return m_totals; }

    /// All distinct names.
    NameList names();

    /// One name for each word, where names that differ only by case are one word. The other spellings hang on it.
    NameList words();

private:
    void _refuse(Line const& line);
    Name* _add(ORVA::String::CPPoolString const& text);

    Totals m_totals;
    NameTable m_names;
    WordTable m_words;
};

} // namespace catalog
