// URLs: what is encoded is measured exactly and decodes to what it was; decoding agrees with a plain one, in place too;
// and a path that goes through a "file:" URL comes back as the rules of both say.
#include "fuzz/harness.h"

#include "ORVA/Files/Url.h"

#include "reference/plain_codecs.h"

#include <cctype>
#include <cstring>
#include <optional>
#include <string>

using namespace ORVA::Internetional;

namespace
{

using Text = std::basic_string<unsigned char>;

bool is_unreserved(unsigned char character)
{
    return std::strchr("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~", character) != nullptr;
}

bool is_escape(Text const& text, unsigned long place)
{
    return text[place] == '%' && place + 2 < text.size() && std::isxdigit(text[place + 1]) != 0 &&
           std::isxdigit(text[place + 2]) != 0;
}

// Every escape as its byte, a byte of 0 included.
Text plain_decoded(Text const& text)
{
    Text result;
    for (unsigned long place = 0; place < text.size(); ++place)
    {
        if (is_escape(text, place))
        {
            std::string const digits(text.begin() + static_cast<long>(place) + 1,
                                     text.begin() + static_cast<long>(place) + 3);
            result += static_cast<unsigned char>(std::stoi(digits, nullptr, 16));
            place += 2;
        }
        else
            result += text[place];
    }
    return result;
}

Text plain_encoded(Text const& text, Text const& allowed)
{
    Text result;
    for (unsigned char const character : text)
    {
        if (is_unreserved(character) || allowed.find(character) != Text::npos)
        {
            result += character;
            continue;
        }
        char escape[4];
        std::snprintf(escape, sizeof(escape), "%%%02X", static_cast<unsigned int>(character));
        result.append(escape, escape + 3);
    }
    return result;
}

bool plain_check(Text const& text, Text const& allowed)
{
    for (unsigned long place = 0; place < text.size(); ++place)
    {
        if (is_unreserved(text[place]) || allowed.find(text[place]) != Text::npos)
            continue;
        if (!is_escape(text, place))
            return false;
        place += 2;
    }
    return true;
}

void check_decoding(Text const& text)
{
    fuzz::Exact<unsigned char> const source = fuzz::terminated<unsigned char>(text);
    Text const expected = plain_decoded(text);
    fuzz::Guarded<unsigned char> out(text.size() + 1);
    REQUIRE(URL_decodebuffer(out.get(), source) == 1 && out.is_intact_behind(expected.size() + 1));
    REQUIRE(std::equal(expected.c_str(), expected.c_str() + expected.size() + 1, out.get()));
    fuzz::Guarded<unsigned char> in_place(text.size() + 1);
    std::copy_n(text.c_str(), text.size() + 1, in_place.get());
    REQUIRE(URL_decodebuffer(in_place.get(), in_place.get()) == 1 && in_place.is_intact());
    REQUIRE(std::equal(expected.c_str(), expected.c_str() + expected.size() + 1, in_place.get()));
}

void check_encoding(Text const& text, Text const& allowed)
{
    fuzz::Exact<unsigned char> const source = fuzz::terminated<unsigned char>(text);
    fuzz::Exact<unsigned char> const set = fuzz::terminated<unsigned char>(allowed);
    REQUIRE(URL_checkescape(source, set) == plain_check(text, allowed));

    Text const expected = plain_encoded(text, allowed);
    REQUIRE(URL_encoderequired(source, set) == expected.size());
    fuzz::Guarded<unsigned char> encoded(expected.size() + 1);
    REQUIRE(URL_encodebuffer(encoded.get(), source, set) == 1 && encoded.is_intact());
    REQUIRE(encoded.get() == expected);
    REQUIRE(URL_encodebuffer(encoded.get(), encoded.get(), set) == 0 && encoded.get() == expected);
    if (allowed.empty())
        REQUIRE(URL_encoderequired(source, nullptr) == expected.size() && URL_checkescape(encoded.get(), nullptr) == 1);
    REQUIRE(URL_checkescape(encoded.get(), set) == 1);
    check_decoding(expected);
    if (allowed.find('%') == Text::npos)
        REQUIRE(plain_decoded(expected) == text);
}

// The path that a decoded URL stands for, from what stands behind "file:"; by the table of forms, and not by a scan.
std::optional<Text> plain_path(Text text)
{
    text.resize(std::strlen(reinterpret_cast<char const*>(text.c_str())));
    Text const rest = text.substr(2);
    unsigned char const localhost[] = "localhost/";
    Text step;
    if (rest.empty() || rest == Text(localhost, 9))
        return std::nullopt;
    if (rest[0] == '/')
        step = rest.substr(1);
    else if (rest.substr(0, 10) == localhost)
        step = rest.substr(10);
    else
        return text;
    if (rest[0] == '/' && !step.empty() && (step[0] == '/' || step[0] == '\\'))
        return std::nullopt;
    unsigned char const marks[] = ":/";
    auto const mark = step.find_first_of(marks);
    if (mark == Text::npos)
        return std::nullopt;
    return step[mark] == ':' ? step : Text(1, '/') + step;
}

std::wstring widened(Text const& text)
{
    std::wstring result;
    for (unsigned char const* at = text.c_str(); *at != 0;)
    {
        plain::step const step = plain::decode_utf8(at);
        if (step.result == 0)
            break;
        result += static_cast<wchar_t>(step.value);
        at += step.units;
    }
    return result;
}

void check_result(ORVA::String::CNQFWChar const& found, std::optional<Text> const& expected)
{
    REQUIRE(static_cast<bool>(found) == expected.has_value());
    // An overlong form of 0 is decoded as that, and seems to end the text.
    if (expected)
        REQUIRE(std::wstring(*found) == widened(*expected).c_str());
}

void check_file_url(Text const& url)
{
    unsigned char const start[] = "file://";
    bool const is_file = url.compare(0, 7, start) == 0;
    check_result(file_DecodeURL(url.c_str()), is_file ? plain_path(plain_decoded(url.substr(5))) : std::nullopt);
}

// The UTF-8 form of wide text, up to a character that has none.
Text narrowed(std::wstring const& text)
{
    Text result;
    for (wchar_t const character : text)
    {
        unsigned char form[4];
        unsigned int const size = plain::encode_utf8(form, static_cast<unsigned int>(character));
        if (size == 0)
            break;
        result.append(form, size);
    }
    return result;
}

// A wide URL is one in UTF-8.
void check_wide_url(std::wstring const& url)
{
    fuzz::Exact<wchar_t> const exact = fuzz::terminated<wchar_t>(url);
    ORVA::String::CNQFWChar const expected = file_DecodeURL(narrowed(url).c_str());
    ORVA::String::CNQFWChar const found = file_DecodeURL(exact);
    REQUIRE(static_cast<bool>(found) == static_cast<bool>(expected) && found.len() == expected.len());
    REQUIRE(!found || std::wstring(*found) == *expected);
}

void check_file_path(std::wstring const& path)
{
    Text utf8 = narrowed(path);
    std::replace(utf8.begin(), utf8.end(), static_cast<unsigned char>('\\'), static_cast<unsigned char>('/'));
    ORVA::String::CUTF8Char const url = file_EncodeURL(path.c_str());
    REQUIRE(static_cast<bool>(url) == !path.empty());
    if (path.empty())
        return;
    Text const rooted = utf8[0] == '/' ? utf8 : Text(1, '/') + utf8;
    unsigned char const slashes[] = "//";
    Text const named = rooted.compare(0, 2, slashes) == 0 ? rooted : slashes + rooted;
    unsigned char const scheme[] = "file:";
    unsigned char const slash[] = "/";
    REQUIRE(*url == scheme + plain_encoded(named, slash));
    check_file_url(*url);
    check_result(file_DecodeURL(*url), plain_path(named));
    check_result(file_DecodeURL(std::wstring(*url, *url + url.len()).c_str()), plain_path(named));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Input input(data, size);
    switch (input.below(3))
    {
    case 0:
    {
        fuzz::Bytes const allowed = input.line();
        fuzz::Bytes const text = input.line();
        check_decoding(Text(text.begin(), text.end()));
        check_encoding(Text(text.begin(), text.end()), Text(allowed.begin(), allowed.end()));
        break;
    }
    case 1:
    {
        fuzz::Bytes const url = input.line();
        check_file_url(Text(url.begin(), url.end()));
        // The same bytes as characters, the large ones too.
        check_wide_url(fuzz::Input(data + 1, size - 1).text());
        break;
    }
    default:
        check_file_path(input.text());
    }
    return 0;
}
