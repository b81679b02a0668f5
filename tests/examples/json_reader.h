/// @file
/// A reader of JSON for tests, strict: anything that the grammar does not allow throws.
#pragma once

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace examples
{

/// A value. Numbers and the three words are kept as they are written.
struct Json
{
    char kind = 0;    ///< one of { [ " 0 w: object, array, string, number, word
    std::string text; ///< of a string, decoded into UTF-8; of a number or word, as written
    std::vector<std::pair<std::string, Json>> members; ///< of an object; of an array, with empty names

    Json const& operator[](std::string const& name) const
    {
        for (auto const& [key, value] : members)
            if (key == name)
                return value;
        throw std::runtime_error("no member " + name);
    }
    Json const& operator[](std::size_t index) const { return members.at(index).second; }
    std::size_t size() const { return members.size(); }
    unsigned long number() const
    {
        if (kind != '0')
            throw std::runtime_error("no number: " + text);
        return std::strtoul(text.c_str(), nullptr, 10);
    }
};

class JsonReader
{
public:
    explicit JsonReader(std::string const& text) : m_text(text) {}

    Json read()
    {
        Json const value = _value();
        _blanks();
        if (m_next != m_text.size())
            _fail();
        return value;
    }

private:
    [[noreturn]] void _fail() const { throw std::runtime_error("no JSON at byte " + std::to_string(m_next)); }

    char _peek() const { return m_next < m_text.size() ? m_text[m_next] : '\0'; }

    bool _take(char c)
    {
        if (m_next >= m_text.size() || m_text[m_next] != c)
            return false;
        ++m_next;
        return true;
    }

    void _expect(char c)
    {
        if (!_take(c))
            _fail();
    }

    void _blanks()
    {
        while (m_next < m_text.size() && std::string(" \n\r\t").find(m_text[m_next]) != std::string::npos)
            ++m_next;
    }

    Json _value()
    {
        _blanks();
        char const first = _peek();
        if (first == '{' || first == '[')
            return _container(first, first == '{' ? '}' : ']');
        if (first == '"')
            return {'"', _string(), {}};
        for (char const* word : {"true", "false", "null"})
        {
            if (m_text.compare(m_next, std::string(word).size(), word) == 0)
            {
                m_next += std::string(word).size();
                return {'w', word, {}};
            }
        }
        return {'0', _number(), {}};
    }

    Json _container(char open, char close)
    {
        Json value{open, "", {}};
        _expect(open);
        _blanks();
        if (_take(close))
            return value;
        do
        {
            std::string name;
            if (open == '{')
            {
                _blanks();
                name = _string();
                _blanks();
                _expect(':');
            }
            value.members.emplace_back(name, _value());
            _blanks();
        } while (_take(','));
        _expect(close);
        return value;
    }

    void _digits()
    {
        if (_peek() < '0' || _peek() > '9')
            _fail();
        while (_peek() >= '0' && _peek() <= '9')
            ++m_next;
    }

    std::string _number()
    {
        std::size_t const start = m_next;
        _take('-');
        if (!_take('0'))
            _digits();
        if (_take('.'))
            _digits();
        return m_text.substr(start, m_next - start);
    }

    unsigned int _code_unit()
    {
        unsigned int value = 0;
        for (int digit = 0; digit < 4; ++digit, ++m_next)
        {
            std::size_t const place = std::string("0123456789abcdef").find(_peek());
            if (place == std::string::npos)
                _fail();
            value = value * 16 + static_cast<unsigned int>(place);
        }
        return value;
    }

    static void _append(std::string& text, unsigned int character)
    {
        if (character < 0x80)
        {
            text += static_cast<char>(character);
            return;
        }
        if (character < 0x800)
        {
            text += static_cast<char>(0xC0 | character >> 6);
        }
        else
        {
            text += static_cast<char>(0xE0 | character >> 12);
            text += static_cast<char>(0x80 | (character >> 6 & 0x3F));
        }
        text += static_cast<char>(0x80 | (character & 0x3F));
    }

    std::string _string()
    {
        std::string text;
        _expect('"');
        while (!_take('"'))
        {
            if (static_cast<unsigned char>(_peek()) < 0x20)
                _fail();
            if (!_take('\\'))
                text += m_text[m_next++];
            else if (_take('u'))
                _append(text, _code_unit());
            else if (_peek() == '"' || _peek() == '\\')
                text += m_text[m_next++];
            else
                _fail();
        }
        return text;
    }

    std::string const& m_text;
    std::size_t m_next = 0;
};

} // namespace examples
