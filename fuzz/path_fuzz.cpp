// Paths: parsing, the end rule and straightness agree with the plain ones on any text, and the parts stand in order.
#include "fuzz/harness.h"

#include "ORVA/Files/Path.h"

#include "reference/plain_path.h"

#include <array>
#include <string>

using namespace ORVA::Files;

namespace
{

template <class Info>
std::array<long, 11> places(Info const& info, wchar_t const* text)
{
    auto const place = [text](wchar_t const* field) { return field ? field - text : plain::none; };
    return {place(info.pPrefix), place(info.pPrefixEnd), place(info.pDrive),     place(info.pDriveEnd),
            place(info.pServer), place(info.pServerEnd), place(info.pDirectory), place(info.pDirectoryEnd),
            place(info.pName),   place(info.pNameEnd),   place(info.pExtension)};
}

// The parts that are there cover the text from one to the next, up to its end.
void check_order(std::wstring const& text, bool has_name, plain::PathParts const& parts)
{
    long const end = static_cast<long>(text.size());
    long at = static_cast<long>(text.find_first_not_of(L' '));
    auto const covers = [&at](long from, long to)
    {
        if (from == plain::none)
            return;
        REQUIRE(from == at && to >= from);
        at = to;
    };
    covers(parts.prefix, parts.prefix_end);
    covers(parts.drive, parts.drive_end);
    covers(parts.server, parts.server_end);
    covers(parts.directory, parts.directory_end);
    covers(parts.name, parts.name_end);
    covers(parts.extension, end);
    REQUIRE(at == end);
    REQUIRE(has_name == (parts.name != plain::none));
}

void check_parsing(std::wstring const& text)
{
    fuzz::Exact<wchar_t> const exact = fuzz::terminated<wchar_t>(text);
    for (bool const has_name : {false, true})
    {
        plain::PathParts parts;
        bool const is_path = plain::parse_path(text, has_name, parts);
        tagCPATHPARSEINFO info;
        REQUIRE(FU_ParsePath(static_cast<wchar_t const*>(exact.get()), info, has_name) == is_path);
        REQUIRE(places(info, exact.get()) == parts.all());
        tagPATHPARSEINFO writable;
        REQUIRE(FU_ParsePath(exact.get(), writable, has_name) == is_path);
        REQUIRE(places(writable, exact.get()) == parts.all());
        if (is_path)
            check_order(text, has_name, parts);
    }
    REQUIRE(FU_IsStraightPath(exact.get()) == plain::is_straight(text));
}

void check_form(std::wstring const& text, wchar_t separator)
{
    fuzz::Guarded<wchar_t> buffer(text.size() + 3);
    std::copy_n(text.c_str(), text.size() + 1, buffer.get());
    REQUIRE(FU_FormatPath(buffer.get(), separator) == buffer.get());
    REQUIRE(buffer.is_intact());
    REQUIRE(buffer.get() == plain::format_path(text, separator));

    // Again, on what has the form.
    std::wstring const formed = buffer.get();
    REQUIRE(FU_FormatPath(buffer.get(), separator) == buffer.get() && buffer.is_intact());
    REQUIRE(buffer.get() == plain::format_path(formed, separator));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Input input(data, size);
    std::wstring const text = input.text();
    check_parsing(text);
    for (wchar_t const separator : {L'/', L'\\', L'\0', L'x'})
        check_form(text, separator);
    return 0;
}
