#include "attachment.h"

namespace notes
{

using ORVA::Buffers::CPPlainMemory;
using ORVA::String::C3FFFDecoder;
using ORVA::String::C3FFFEncoder;
using ORVA::String::CPPoolString;

CPPoolString keep(Bytes bytes)
{
    constexpr unsigned long group = 7;
    unsigned long const more = bytes.size() % group == group - 1 ? 2 : 1;
    bytes.insert(bytes.end(), more, static_cast<unsigned char>(more));
    return C3FFFEncoder(bytes.data(), bytes.size());
}

std::optional<Bytes> bytes_of(CPPoolString const& text)
{
    CPPlainMemory const block = C3FFFDecoder(text);
    unsigned long const size = block.GetMemorySize();
    auto const* const bytes = static_cast<unsigned char const*>(block.get_cptr());
    unsigned long const more = size != 0 ? bytes[size - 1] : 0;
    if (more < 1 || more > 2 || more > size)
        return std::nullopt;
    return Bytes(bytes, bytes + (size - more));
}

} // namespace notes
