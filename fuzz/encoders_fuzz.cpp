// Bytes as text: both forms agree with the plain ones, come back where their lengths allow, and make of any text what
// the plain decoder does, or refuse it.
#include "fuzz/harness.h"

#include "ORVA/String/Encoders.h"

#include "reference/plain_encoders.h"

using namespace ORVA::String;
using ORVA::Buffers::CPPlainMemory;

namespace
{

using fuzz::Bytes;
using Lines = std::vector<int>;

struct C3F
{
    using Encoder = C3FEncoder;
    using Decoder = C3FDecoder;
    static plain::TextForm form() { return plain::c3f(); }
    static constexpr int line = 4316;
};

struct C3FFF
{
    using Encoder = C3FFFEncoder;
    using Decoder = C3FFFDecoder;
    static plain::TextForm form() { return plain::c3fff(); }
    static constexpr int line = 4500;
};

Bytes bytes_of(CPPlainMemory const& memory)
{
    auto const* const first = static_cast<unsigned char const*>(memory.get_cptr());
    return first == nullptr ? Bytes() : Bytes(first, first + memory.GetSize());
}

// The reports of a text that is refused.
template <class Form>
Lines refusal(bool is_refused)
{
    return Lines(is_refused ? 1 : 0, Form::line);
}

template <class Form>
void check_bytes(Bytes const& bytes, fuzz::Reports& reports)
{
    plain::TextForm const form = Form::form();
    fuzz::Exact<unsigned char> const exact(bytes);
    typename Form::Encoder encoder(exact.get(), bytes.size());
    CPPoolString const text = encoder;
    std::wstring const expected = plain::encoded(form, bytes);
    REQUIRE(text.len() == expected.size() && expected == *text);
    REQUIRE(encoder.GetStringLen() == 5);

    // From a block of bytes, and from text up to its terminator.
    CPPlainMemory block;
    REQUIRE(block.Alloc(bytes.size()) == 1);
    std::copy(bytes.begin(), bytes.end(), static_cast<unsigned char*>(block.get_ptr()));
    REQUIRE(static_cast<CPPoolString>(typename Form::Encoder(block)) == text);
    REQUIRE(bytes_of(typename Form::Decoder(fuzz::terminated<wchar_t>(expected).get())) ==
            bytes_of(typename Form::Decoder(text)));
    reports.take();

    bool const is_lost = bytes.size() % form.bytes == 0;
    Bytes const returned = is_lost ? Bytes() : plain::returned(form, bytes);
    REQUIRE(bytes_of(typename Form::Decoder(text)) == returned);
    REQUIRE(reports.take() == refusal<Form>(is_lost));
}

template <class Form>
void check_text(std::wstring const& text, fuzz::Reports& reports)
{
    plain::TextForm const form = Form::form();
    fuzz::Exact<wchar_t> const exact(text);
    typename Form::Decoder decoder(L"");
    reports.take();
    decoder._set(exact.get(), text.size());
    Bytes const found = bytes_of(decoder);
    bool is_valid = text.size() % 4 == 1;
    if (is_valid)
    {
        unsigned int const header = static_cast<unsigned int>(text[0]);
        is_valid = (header & 0xFF00) == (form.header & 0xFF00) && (header & 0xFF) < form.bytes;
    }
    Bytes const expected = is_valid ? plain::decoded(form, text) : Bytes();
    REQUIRE(found == expected);
    REQUIRE(reports.take() == refusal<Form>(!is_valid));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Reports reports;
    fuzz::Input input(data, size);
    switch (input.below(2))
    {
    case 0:
    {
        Bytes const bytes = input.bytes();
        check_bytes<C3F>(bytes, reports);
        check_bytes<C3FFF>(bytes, reports);
        break;
    }
    default:
        std::wstring text = input.text();
        check_text<C3F>(text, reports);
        check_text<C3FFF>(text, reports);
        // With a header that suits, so that most texts get further.
        text.resize((text.size() + 3) / 4 * 4 + 1, L'!');
        text[0] = static_cast<wchar_t>((static_cast<unsigned int>(text[0]) & 0xFFFF0003U) | 0x100);
        check_text<C3F>(text, reports);
        text[0] = static_cast<wchar_t>((static_cast<unsigned int>(text[0]) & 0xFFFF0007U) | 0x300);
        check_text<C3FFF>(text, reports);
    }
    fuzz::tidy_pool();
    return 0;
}
