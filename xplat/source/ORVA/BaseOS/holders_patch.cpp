#include "BaseOS/holder_conversion.h"
#include "ORVA/String/Holders.h"

namespace ORVA::String
{

namespace
{

bool is_place(wchar_t const* text)
{
    return text[0] == L'%' && text[1] == L's';
}

unsigned long count_places(wchar_t const* text)
{
    unsigned long count = 0;
    while (*text != 0)
    {
        bool const found = is_place(text);
        count += found ? 1 : 0;
        text += found ? 2 : 1;
    }
    return count;
}

} // namespace

void CNQFWChar::patch_percent_s_with(wchar_t const* text)
{
    wchar_t const* source = **this;
    if (!source || !text)
        return;
    unsigned long const text_length = terminated_length(text);
    unsigned long const places = count_places(source);
    if (places == 0)
        return;
    // The sum counts each place's own two characters too, so it is never less than what is written.
    if (text_length > (no_limit - 1 - len()) / places)
        return; // Not reached: memory holds no two texts of which one has as many places as the sum needs.
    unsigned long const patched_length = len() + places * text_length;
    wchar_t* const patched = allocate_elements<wchar_t>(patched_length + 1);
    if (!patched)
        return;
    wchar_t* end = patched;
    while (*source != 0)
    {
        if (is_place(source))
        {
            std::wmemcpy(end, text, text_length);
            end += text_length;
            source += 2;
        }
        else
            *end++ = *source++;
    }
    *end = 0;
    _adopt(patched, patched_length);
}

} // namespace ORVA::String
