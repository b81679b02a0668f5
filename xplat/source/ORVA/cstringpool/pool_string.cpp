#include "ORVA/String/PoolString.h"

#include "cstringpool/globals.h"
#include "cstringpool/stack_buffer.h"

#include "ORVA/Develop/Log.h"
#include "ORVA/String/Codecs.h"
#include "ORVA/String/WideHolder.h"

#include <cstring>
#include <cwchar>

template class ORVA::Buffers::CPObjectVector<ORVA::String::CPPoolString>;

namespace ORVA::String
{

namespace
{

template <class Number>
_cppoolstring pooled_number(wchar_t const* format, Number value)
{
    wchar_t text[32];
    std::swprintf(text, sizeof text / sizeof *text, format, value);
    return CStringPool::GetStringRef(text);
}

bool is_digit(wchar_t character)
{
    return character >= L'0' && character <= L'9';
}

// Where the number in parentheses at the end of a text begins, with its opening parenthesis; null if there is none.
wchar_t const* numbered_suffix(wchar_t const* text, unsigned long length)
{
    if (length == 0 || text[length - 1] != L')')
        return nullptr;
    unsigned long position = length - 1;
    while (position > 0 && is_digit(text[position - 1]))
        --position;
    return position > 0 && text[position - 1] == L'(' ? text + position - 1 : nullptr;
}

} // namespace

CPPoolString::CPPoolString(wchar_t const* text) : _cppoolstring(CStringPool::GetStringRef(text)) {}

CPPoolString::CPPoolString(unsigned char const* text) : _cppoolstring(CStringPool::GetStringRef(text)) {}

CPPoolString::CPPoolString(char const* text) : _cppoolstring(CStringPool::GetStringRef(*CNQFWChar(text))) {}

CPPoolString::CPPoolString(unsigned int value) : _cppoolstring(pooled_number(L"%u", value)) {}

CPPoolString::CPPoolString(int value) : _cppoolstring(pooled_number(L"%d", value)) {}

CPPoolString::CPPoolString(unsigned long long value)
    : _cppoolstring(pooled_number(L"%lu", static_cast<unsigned long>(value)))
{
}

CPPoolString::CPPoolString(long long value) : _cppoolstring(pooled_number(L"%ld", static_cast<long>(value))) {}

CPPoolString& CPPoolString::operator=(_cppoolstring const& source)
{
    _cppoolstring::operator=(source);
    return *this;
}

CPPoolString& CPPoolString::operator=(_cppoolstring&& source)
{
    _cppoolstring::operator=(std::move(source));
    return *this;
}

CPPoolString& CPPoolString::operator=(Buffers::CPObjectMemory const& source)
{
    _cppoolstring::operator=(source);
    return *this;
}

CPPoolString& CPPoolString::operator=(bool value)
{
    return *this = CPPoolString(value);
}

CPPoolString& CPPoolString::operator=(wchar_t const* text)
{
    return *this = CPPoolString(text);
}

CPPoolString& CPPoolString::operator=(unsigned char const* text)
{
    return *this = CPPoolString(text);
}

CPPoolString& CPPoolString::operator=(unsigned int value)
{
    return *this = CPPoolString(value);
}

CPPoolString& CPPoolString::operator=(int value)
{
    return *this = CPPoolString(value);
}

CPPoolString& CPPoolString::operator=(unsigned long long value)
{
    return *this = CPPoolString(value);
}

CPPoolString& CPPoolString::operator=(long long value)
{
    return *this = CPPoolString(value);
}

// Several threads may make the form at once; the first to publish it wins, and the others give theirs back. The form is
// complete before it is published, and whoever reads the pointer sees it whole.
CPPoolString::operator unsigned char const*() const
{
    static constexpr unsigned char const nothing[] = "";
    tagSTRINGPOOLRECORD* const record = _record();
    if (void* const cached = Core::load_acquire(record->pOwned))
        return static_cast<unsigned char const*>(cached);
    unsigned long const size = record->info.utf8Size + 1;
    auto* const form = static_cast<unsigned char*>(Core::OS::_falloc(size));
    if (form == nullptr)
        return nothing;
    if (nqfWChar_To_UTF8(record->pData, record->info.len + 1, form, size) != size)
    {
        Core::OS::_ffree(form);
        return nothing;
    }
    if (void* const other = Core::OS::InterlockedCompareSwapPtr(&record->pOwned, nullptr, form))
    {
        Core::OS::_ffree(form);
        return static_cast<unsigned char const*>(other);
    }
    return form;
}

void CPPoolString::free()
{
    if (!isnull())
        _cppoolstring::operator=(_cppoolstring());
}

void CPPoolString::TransferFrom(CPPoolString& source)
{
    *this = std::move(source);
}

CPPoolString CPPoolString::inc() const
{
    if (isnull())
        return CPPoolString();
    wchar_t const* const text = _record()->pData;
    unsigned long const length = _record()->info.len;

    wchar_t const* const suffix = numbered_suffix(text, length);
    unsigned int number = 0;
    bool const is_numbered = suffix != nullptr && std::swscanf(suffix, L"(%u)", &number) == 1;

    // One digit more at the most for a number that is counted up, four characters for a new suffix, and the terminator.
    static constexpr wchar_t const first_suffix[] = L" (2)";
    StackBuffer<wchar_t, 256> buffer(length + (is_numbered ? 2 : sizeof first_suffix / sizeof *first_suffix));
    if (!buffer)
        return CPPoolString();
    wchar_t* const variant = buffer.get();
    std::wmemcpy(variant, text, length);
    if (is_numbered)
    {
        unsigned long const kept = static_cast<unsigned long>(suffix - text);
        std::swprintf(variant + kept, length + 2 - kept, L"(%u)", number + 1);
    }
    else
    {
        std::wmemcpy(variant + length, first_suffix, sizeof first_suffix / sizeof *first_suffix);
    }
    return CPPoolString(variant);
}

unsigned int CPPoolString::Verify() const
{
    if (isnull())
        return 1;
    tagSTRINGBASICINFO const& info = _record()->info;
    tagSTRINGBASICINFO found;
    if (g_evaluator.Eval(found, _record()->pData) && found.len == info.len && found.sHash == info.sHash &&
        found.sHashi == info.sHashi)
        return 1;
    Develop::OS::RTABox("Illegal code point reached", "String pool integrity violation");
    return 0;
}

} // namespace ORVA::String
