// How operations are read from the headers and named.
#include "faults/HeaderOperations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <map>
#include <sstream>
#include <utility>
#include <vector>

namespace faults
{

namespace
{

using Texts = std::vector<std::string>;

bool is_word(char character)
{
    return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '_';
}

std::string trimmed(std::string const& text)
{
    auto const first = text.find_first_not_of(' ');
    return first == std::string::npos ? std::string() : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

Texts split(std::string const& text, char separator)
{
    Texts parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);)
        parts.push_back(part);
    return parts;
}

/// The parameters of a list without its parentheses; commas inside of inner parentheses and angles do not count.
Texts parameters_of(std::string const& list)
{
    Texts parameters;
    std::string parameter;
    int depth = 0;
    for (char const character : list)
    {
        depth += character == '(' || character == '<' ? 1 : character == ')' || character == '>' ? -1 : 0;
        if (character == ',' && depth == 0)
            parameters.push_back(std::exchange(parameter, std::string()));
        else
            parameter += character;
    }
    if (!trimmed(parameter).empty())
        parameters.push_back(parameter);
    return parameters;
}

/// Whether the last word of a parameter is part of its type, so that the parameter has no name.
bool is_of_type(std::string const& word)
{
    static std::set<std::string> const words = {"int",   "long", "char",    "short", "bool",     "double",
                                                "float", "void", "wchar_t", "const", "unsigned", "signed"};
    return words.count(word) != 0;
}

/// Takes the name off a function pointer: "int (* compare)(int)" becomes "int (*)(int)".
void drop_name_of_pointer(std::string& parameter)
{
    auto const star = parameter.find("(*");
    if (star != std::string::npos)
        parameter.erase(star + 2, parameter.find(')', star) - star - 2);
}

/// Takes the last word off if it is a name: there is something before it, and that does not go on in it.
void drop_name(std::string& parameter)
{
    auto begin = parameter.end();
    while (begin != parameter.begin() && is_word(*(begin - 1)))
        --begin;
    std::string const before = trimmed(std::string(parameter.begin(), begin));
    if (begin != parameter.end() && !before.empty() && before.back() != ':' &&
        !is_of_type(std::string(begin, parameter.end())))
        parameter = before;
}

/// Takes off the blanks beside '*' and '&'.
void close_up(std::string& type)
{
    for (std::size_t at = 0; at < type.size(); ++at)
    {
        if (type[at] != '*' && type[at] != '&')
            continue;
        while (at > 0 && type[at - 1] == ' ')
            type.erase(--at, 1);
        while (at + 1 < type.size() && type[at + 1] == ' ')
            type.erase(at + 1, 1);
    }
}

std::string type_of(std::string const& parameter)
{
    std::string type = trimmed(parameter.substr(0, parameter.find('=')));
    drop_name_of_pointer(type);
    drop_name(type);
    close_up(type);
    return type;
}

std::string types_of(std::string const& signature)
{
    auto const end = signature.rfind(')');
    std::string types;
    for (std::string const& parameter : parameters_of(signature.substr(1, end - 1)))
        types += (types.empty() ? "" : ", ") + type_of(parameter);
    return '(' + types + ')' + signature.substr(end + 1);
}

bool has_property(HeaderTag const& tag, std::string const& property)
{
    Texts const properties = split(tag.properties, ',');
    return std::find(properties.begin(), properties.end(), property) != properties.end();
}

bool is_class(HeaderTag const& tag)
{
    return tag.kind == "class" || tag.kind == "struct";
}

std::string qualified(HeaderTag const& tag)
{
    return tag.scope.empty() ? tag.name : tag.scope + "::" + tag.name;
}

std::vector<HeaderTag> read_tags(std::string const& ctags, std::string const& folder)
{
    std::string const command =
        "find '" + folder + "' -name '*.h' | '" + ctags +
        "' --quiet=yes --options=NONE --language-force=C++ -I ORVA_API+ -I ORVA_TEMPLATE_API+ -I offsetof+ -I override"
        " --kinds-C++=pfcs --fields=+aKSs '--fields-C++=+{properties}' -x"
        " '--_xformat=%K|%a|%s|%S|%{C++.properties}|%N' -L -";
    std::vector<HeaderTag> tags;
    std::FILE* const output = ::popen(command.c_str(), "r");
    std::array<char, 4096> line;
    while (output != nullptr && std::fgets(line.data(), line.size(), output) != nullptr)
    {
        Texts parts = split(std::string(line.data()), '|');
        if (parts.size() < 6)
            continue;
        // The name comes last, since operators have bars.
        std::string name = parts[5];
        for (std::size_t part = 6; part < parts.size(); ++part)
            name += '|' + parts[part];
        name.erase(name.find('\n'));
        tags.push_back({parts[0], parts[1], parts[2], name, parts[3], parts[4]});
    }
    if (output != nullptr)
        ::pclose(output);
    return tags;
}

} // namespace

std::string operation_name(HeaderTag const& tag)
{
    static std::string const library = "ORVA::";
    static std::string const op = "operator ";
    std::string name = tag.name;
    if (name.compare(0, op.size(), op) == 0 && !is_word(name[op.size()]))
        name.erase(op.size() - 1, 1);
    HeaderTag renamed = tag;
    renamed.name = name;
    std::string const full = qualified(renamed) + types_of(tag.signature);
    return full.compare(0, library.size(), library) == 0 ? full.substr(library.size()) : full;
}

std::set<std::string> header_operations(std::string const& ctags, std::string const& folder)
{
    std::vector<HeaderTag> const tags = read_tags(ctags, folder);
    std::map<std::string, std::string> access_of_classes;
    for (HeaderTag const& tag : tags)
    {
        if (is_class(tag))
            access_of_classes[qualified(tag)] = tag.access;
    }
    std::set<std::string> operations;
    for (HeaderTag const& tag : tags)
    {
        auto const scope = access_of_classes.find(tag.scope);
        bool const is_member = scope != access_of_classes.end();
        // A member that is defined outside of its class is declared inside of it, and has its access there.
        bool const is_hidden =
            tag.access == "private" || (is_member && (tag.access == "-" || scope->second == "private"));
        if (!is_class(tag) && !is_hidden && !has_property(tag, "delete"))
            operations.insert(operation_name(tag));
    }
    return operations;
}

namespace
{

std::string name_of(std::string const& scope, std::string const& name, std::string const& signature)
{
    return operation_name({"prototype", "public", scope, name, signature, ""});
}

TEST(HeaderOperations, AreNamedByScopeAndTypesOfParameters)
{
    EXPECT_EQ(name_of("", "isDebuggerPresent", "()"), "isDebuggerPresent()");
    EXPECT_EQ(name_of("ORVA", "AppInit", "()"), "AppInit()");
    EXPECT_EQ(name_of("ORVA::A::B", "f", "(unsigned long size,T const & t) const"),
              "A::B::f(unsigned long, T const&) const");
    EXPECT_EQ(name_of("ORVA::A", "f", "(void const *,unsigned long,A &&)"), "A::f(void const*, unsigned long, A&&)");
    EXPECT_EQ(name_of("ORVA::A", "f", "(_nqfDebugLevel,void,B::C)"), "A::f(_nqfDebugLevel, void, B::C)");
    EXPECT_EQ(name_of("ORVA::A", "f", "(wchar_t * & at,wchar_t const * path=nullptr,bool x=false)"),
              "A::f(wchar_t*&, wchar_t const*, bool)");
    EXPECT_EQ(name_of("ORVA::A", "f", "(P (* creator)(_nqfUID const &),char const * format,...)"),
              "A::f(P (*)(_nqfUID const&), char const*, ...)");
    EXPECT_EQ(name_of("ORVA::A", "f", "(std::unique_lock<boost::mutex> & lock)"),
              "A::f(std::unique_lock<boost::mutex>&)");
}

TEST(HeaderOperations, NameOperatorsAsTheHeadersDo)
{
    EXPECT_EQ(name_of("ORVA::A", "operator =", "(A const & source)"), "A::operator=(A const&)");
    EXPECT_EQ(name_of("ORVA::A", "operator ()", "()"), "A::operator()()");
    EXPECT_EQ(name_of("ORVA::A", "operator bool", "() const"), "A::operator bool() const");
    EXPECT_EQ(name_of("ORVA::A", "operator _nqfUID const&", "() const"), "A::operator _nqfUID const&() const");
}

} // namespace
} // namespace faults
