// Patching: each "%s" of a format is replaced as a plain search does it, and the length that is told follows its rule.
#include "fuzz/harness.h"

#include "ORVA/String/Holders.h"

using ORVA::String::CNQFWChar;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Input input(data, size);
    bool const own_text = input.byte() % 4 == 1;
    std::wstring const format = input.text();
    std::wstring const text = own_text ? format : input.text();

    std::wstring expected;
    unsigned long places = 0;
    for (std::wstring::size_type at = 0;;)
    {
        auto const found = format.find(L"%s", at);
        expected += format.substr(at, found - at);
        if (found == std::wstring::npos)
            break;
        expected += text;
        ++places;
        at = found + 2;
    }

    fuzz::Exact<wchar_t> const source = fuzz::terminated<wchar_t>(text);
    CNQFWChar holder(format.c_str());
    wchar_t const* const before = *holder;
    holder.patch_percent_s_with(own_text ? *holder : source.get());
    REQUIRE(expected == *holder);
    REQUIRE(holder.len() == format.size() + 1 + places * text.size());
    REQUIRE((places == 0) == (*holder == before) || places != 0);
    return 0;
}
