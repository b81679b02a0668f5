// File URLs.
#include "ORVA/Files/Url.h"
#include "faults/FaultTest.h"
#include "text/holders_text.h"

namespace
{

using namespace ORVA::Internetional;
using namespace ORVA::String;
using faults::fail_each_allocation;
using faults::fails;
using faults::Undisturbed;

class UrlFaults : public faults::Silent
{
};

/// Makes a result by `make()`, which takes so many allocations. It is whole, or empty with a length of 0.
template <class Make>
void expect_whole_or_empty(unsigned long allocations, Make make)
{
    auto const whole = make();
    ASSERT_TRUE(whole);
    EXPECT_EQ(fail_each_allocation(
                  [&](unsigned long nth)
                  {
                      auto const result = make();
                      Undisturbed const pause;
                      EXPECT_EQ(static_cast<bool>(result), !fails(nth, allocations));
                      EXPECT_EQ(result.len(), fails(nth, allocations) ? 0UL : whole.len());
                      EXPECT_TRUE(!result || units(*result) == units(*whole));
                      EXPECT_EQ(units(*make()), units(*whole));
                  }),
              allocations);
}

} // namespace

FAULT_TEST_F(UrlFaults, AUrlThatCannotBeMadeIsEmpty, "Internetional::file_EncodeURL(wchar_t const*)")
{
    for (wchar_t const* const path : {L"/a b/c", L"C:\\x", L"//srv/\u20AC"})
        expect_whole_or_empty(3, [path] { return file_EncodeURL(path); });
}

FAULT_TEST_F(UrlFaults, APathThatCannotBeMadeIsEmpty, "Internetional::file_DecodeURL(unsigned char const*)",
             "Internetional::file_DecodeURL(wchar_t const*)")
{
    for (char const* const url : {"file:///C%3A/x", "file://srv/%E2%82%AC"})
        expect_whole_or_empty(2, [url] { return file_DecodeURL(utf8(url)); });
    for (wchar_t const* const url : {L"file:///C%3A/x", L"file://srv/\u20AC"})
        expect_whole_or_empty(3, [url] { return file_DecodeURL(url); });
}
