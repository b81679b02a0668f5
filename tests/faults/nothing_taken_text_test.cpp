// Operations of which the list says that they take no memory: text, the pool of strings, identifiers.
#include "ORVA/NQF.h"
#include "ORVA/String.h"
#include "faults/OperationList.h"
#include "support/PoolTexts.h"

namespace
{

using namespace ORVA::String;
using faults::takes_nothing;
using support::utf8;

/// Uses a result that is of no interest.
template <class T>
void unused(T const&)
{
}

wchar_t const* const wide = L"A text of more than a few characters, \u00E9\u20AC\U0001F600";
unsigned char const* const bytes = utf8("A text of more than a few characters, \xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
unsigned short const units[] = {'A', 0x20AC, 'b', 0};
unsigned long const all = ~0UL;

} // namespace

TEST(NothingTakenByText, ByCodecs)
{
    wchar_t wide_buffer[200];
    unsigned char byte_buffer[200];
    char ansi[200];
    unsigned int const characters[] = {'A', 0x20AC, 0};
    takes_nothing("String::UTF8wstrlen(unsigned char const*, unsigned long)", [] { UTF8wstrlen(bytes, all); });
    takes_nothing("String::UTF8u16strlen(unsigned char const*, unsigned long)", [] { UTF8u16strlen(bytes, all); });
    takes_nothing("String::UTF8w32strlen(unsigned char const*, unsigned long)", [] { UTF8w32strlen(bytes, all); });
    takes_nothing("String::UTF16wstrlen(unsigned short const*, unsigned long)", [] { UTF16wstrlen(units, all); });
    takes_nothing("String::UTF16u8strlen(unsigned short const*, unsigned long)", [] { UTF16u8strlen(units, all); });
    takes_nothing("String::UTF32u8strlen(unsigned int const*, unsigned long)", [&] { UTF32u8strlen(characters, all); });
    takes_nothing("String::UTF32u16strlen(unsigned int const*, unsigned long)",
                  [&] { UTF32u16strlen(characters, all); });
    takes_nothing("String::nqfWu8strlen(wchar_t const*, unsigned long)", [] { nqfWu8strlen(wide, all); });
    takes_nothing("String::nqfWw32strlen(wchar_t const*, unsigned long)", [] { nqfWw32strlen(wide, all); });
    takes_nothing("String::nqfWChar_To_UTF8(wchar_t const*, unsigned long, unsigned char*, unsigned long)",
                  [&] { nqfWChar_To_UTF8(wide, all, byte_buffer, sizeof byte_buffer); });
    takes_nothing("String::UTF8_To_nqfWChar(unsigned char const*, unsigned long, wchar_t*, unsigned long)",
                  [&] { UTF8_To_nqfWChar(bytes, all, wide_buffer, 200); });
    takes_nothing("String::OS::nqfWChar_To_ANSI(wchar_t const*, unsigned long, char*, unsigned long)",
                  [&] { OS::nqfWChar_To_ANSI(L"\u20ACuro", all, ansi, sizeof ansi); });
    takes_nothing("String::OS::ANSI_To_nqfWChar(char const*, unsigned long, wchar_t*, unsigned long)",
                  [&] { OS::ANSI_To_nqfWChar("\x80uro", all, wide_buffer, 200); });
}

TEST(NothingTakenByText, ByWideText)
{
    wchar_t text[100] = L"A Text";
    takes_nothing("String::_isSlash(wchar_t)", [] { _isSlash(L'/'); });
    takes_nothing("String::_isUNCW(wchar_t const*)", [] { _isUNCW(wide); });
    takes_nothing("String::wctolower(wchar_t const&)", [] { wctolower(L'A'); });
    takes_nothing("String::wctoupper(wchar_t const&)", [] { wctoupper(L'\u00E9'); });
    takes_nothing("String::wcslower(wchar_t*)", [&] { wcslower(text); });
    takes_nothing("String::wcsupper(wchar_t*)", [&] { wcsupper(text); });
    takes_nothing("String::wccmpi(wchar_t, wchar_t)", [] { wccmpi(L'a', L'B'); });
    takes_nothing("String::wcscmpi(wchar_t const*, wchar_t const*)", [&] { wcscmpi(wide, text); });
    takes_nothing("String::wcsncmpi(wchar_t const*, wchar_t const*, unsigned long)", [&] { wcsncmpi(wide, text, 5); });
    takes_nothing("String::wcscount(wchar_t const*, wchar_t)", [] { wcscount(wide, L'a'); });
    takes_nothing("String::wcscnt(wchar_t const*, wchar_t const*)", [] { wcscnt(wide, L"few"); });
    takes_nothing("String::wcscnti(wchar_t const*, wchar_t const*)", [] { wcscnti(wide, L"FEW"); });
    takes_nothing("String::wcsncnt(wchar_t const*, wchar_t const*, unsigned long)", [] { wcsncnt(wide, L"few", 99); });
    takes_nothing("String::wcsncnti(wchar_t const*, wchar_t const*, unsigned long)",
                  [] { wcsncnti(wide, L"FEW", 99); });
}

TEST(NothingTakenByText, ByHoldersThatMove)
{
    CNQFWChar holder(wide);
    CUTF8Char encoded(wide);
    takes_nothing("String::HeldText::len() const", [&] { holder.len(); });
    takes_nothing("String::HeldText::operator*() const", [&] { unused(*holder); });
    takes_nothing("String::HeldText::operator bool() const", [&] { unused(static_cast<bool>(holder)); });
    takes_nothing("String::CNQFWChar::CNQFWChar()", [] { CNQFWChar const made; });
    takes_nothing("String::CNQFWChar::CNQFWChar(CNQFWChar&&)", [&] { CNQFWChar const moved(std::move(holder)); });
    takes_nothing("String::CUTF8Char::operator=(CUTF8Char&&)", [&] { encoded = CUTF8Char(); });
}

TEST(NothingTakenByText, ByRecords)
{
    CStringInfo const info;
    tagSTRINGBASICINFO result = {};
    CPPoolString const pooled(wide);
    takes_nothing("String::CStringInfo::CStringInfo()", [] { CStringInfo const made; });
    takes_nothing("String::CStringInfo::Eval(tagSTRINGBASICINFO&, wchar_t const*) const",
                  [&] { info.Eval(result, wide); });
    takes_nothing("String::CStringInfo::Eval(tagSTRINGBASICINFO&, unsigned char const*) const",
                  [&] { info.Eval(result, bytes); });
    takes_nothing("String::CStringInfo::Eval(tagSTRINGBASICINFO&, unsigned short const*) const",
                  [&] { info.Eval(result, units); });
    takes_nothing("String::staticStringRecord::staticStringRecord(wchar_t const*)",
                  [] { staticStringRecord const record(wide); });
    takes_nothing("String::_cppoolstring::_cppoolstring(_cppoolstring const&)",
                  [&] { _cppoolstring const copy(pooled); });
    takes_nothing("String::_cppoolstring::_cppoolstring()", [] { _cppoolstring const null; });
}

TEST(NothingTakenByText, ByThePool)
{
    CPPoolString const pooled(wide);
    CPPoolString const known(L"another text");
    takes_nothing("String::CStringPool::QueryStringRef(wchar_t const*)", [] { CStringPool::QueryStringRef(wide); });
    takes_nothing("String::CStringPool::QueryStringRef(wchar_t const*)", [] { CStringPool::QueryStringRef(L"new"); });
    takes_nothing("String::CStringPool::QueryStringRefi(wchar_t const*)",
                  [] { CStringPool::QueryStringRefi(L"ANOTHER TEXT"); });
    takes_nothing("String::CStringPool::QueryStringRefn(wchar_t const*, unsigned long)",
                  [] { CStringPool::QueryStringRefn(wide, 3); });
    takes_nothing("String::CStringPool::QueryStringRefni(wchar_t const*, unsigned long)",
                  [] { CStringPool::QueryStringRefni(wide, 3); });
    takes_nothing("String::CStringPool::Verify()", [] { CStringPool::Verify(); });
    takes_nothing("String::CStringPool::GetSize()", [] { CStringPool::GetSize(); });
    takes_nothing("String::CStringPool::Collect(unsigned int)", [] { CStringPool::Collect(0xFFFFFFFF); });
    support::AllocationFailure const counting(0);
    EXPECT_TRUE(CPPoolString(wide) == pooled);
    EXPECT_EQ(counting.attempts(), 0UL) << "what is in the pool already is found without memory";
}

TEST(NothingTakenByText, ByPooledStrings)
{
    std::string const of = "String::CPPoolString::";
    CPPoolString string(wide);
    CPPoolString const other(L"another text");
    takes_nothing(of + "CPPoolString()", [] { CPPoolString const made; });
    takes_nothing(of + "CPPoolString(CPPoolString const&)", [&] { CPPoolString const copy(string); });
    takes_nothing(of + "CPPoolString(bool)", [] { CPPoolString const made(true); });
    takes_nothing(of + "operator=(bool)", [&] { CPPoolString() = false; });
    takes_nothing(of + "operator==(CPPoolString const&) const", [&] { unused(string == other); });
    takes_nothing(of + "operator==(wchar_t const*) const", [&] { unused(string == wide); });
    takes_nothing(of + "operator wchar_t const*() const", [&] { unused(static_cast<wchar_t const*>(string)); });
    takes_nothing(of + "isnull() const", [&] { string.isnull(); });
    takes_nothing(of + "isempty() const", [&] { string.isempty(); });
    takes_nothing(of + "isdef() const", [&] { string.isdef(); });
    takes_nothing(of + "len() const", [&] { string.len(); });
    takes_nothing(of + "UTF8Size() const", [&] { string.UTF8Size(); });
    takes_nothing(of + "cmp(CPPoolString const&) const", [&] { string.cmp(other); });
    takes_nothing(of + "cmpi(wchar_t const*) const", [&] { string.cmpi(wide); });
    takes_nothing(of + "cmpp(CPPoolString const&) const", [&] { string.cmpp(other); });
    takes_nothing(of + "cmp_p(CPPoolString const&) const", [&] { string.cmp_p(other); });
    takes_nothing(of + "cnt(wchar_t const*) const", [&] { string.cnt(L"few"); });
    takes_nothing(of + "cnti(wchar_t const*) const", [&] { string.cnti(L"FEW"); });
    takes_nothing(of + "iequals(CPPoolString const&) const", [&] { string.iequals(other); });
    takes_nothing(of + "pcmp(CPPoolString const&) const", [&] { string.pcmp(other); });
    takes_nothing(of + "Verify() const", [&] { string.Verify(); });
    takes_nothing(of + "free()", [&] { string.free(); });
    takes_nothing(of + "TransferFrom(CPPoolString&)", [&] { CPPoolString().TransferFrom(string); });
}

TEST(NothingTakenByText, ByArraysAndSubmitters)
{
    CPPoolStringArray array(true);
    CPPoolString const items[] = {L"b", L"a", L"c"};
    for (CPPoolString const& item : items)
        ASSERT_EQ(array.Add(item), 1U);
    wchar_t buffer[100];
    CStringArraySubmitter submitter(items, 3, L',');
    takes_nothing("String::CPPoolStringArray::CPPoolStringArray(CPPoolStringArray const&)",
                  [&] { CPPoolStringArray const copy(array); });
    takes_nothing("String::CPPoolStringArray::Sort()", [&] { array.Sort(); });
    takes_nothing("String::CPPoolStringArray::LocateEntry(CPPoolString const&) const",
                  [&] { array.LocateEntry(items[0]); });
    takes_nothing("String::CPPoolStringArray::Delete(CPPoolString const&)", [&] { array.Delete(items[0]); });
    takes_nothing("String::CStringArraySubmitter::GetStringLen()", [&] { submitter.GetStringLen(); });
    takes_nothing("String::CStringArraySubmitter::GetString(wchar_t*)", [&] { submitter.GetString(buffer); });
    takes_nothing("String::CSubStringSubmitter::CSubStringSubmitter(wchar_t const*, unsigned long)",
                  [] { CSubStringSubmitter const made(wide, 3); });
}

TEST(NothingTakenByText, ByIdentifiers)
{
    ORVA::NQF::cnqfuid uid;
    takes_nothing("NQF::cnqfuid::Set(char const*)", [&] { uid.Set("3C43A101-84D4-4215-9A4C-FBF54E8E7541"); });
    takes_nothing("NQF::cnqfuid::Set(wchar_t const*)", [&] { uid.Set(L"3C43A101-84D4-4215-9A4C-FBF54E8E7541"); });
    takes_nothing("NQF::cnqfuid::operator==(cnqfuid const&) const", [&] { unused(uid == ORVA::NQF::cnqfuid()); });
    takes_nothing("NQF::cnqfuid::reset()", [&] { uid.reset(); });
}
