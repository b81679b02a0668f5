/// @file
/// A component that counts the words of a file: pooled strings, and a class that is registered by name.
#include "component.h"
#include "counted.h"

#include "ORVA/Files.h"
#include "ORVA/ORVA.h"

#include <algorithm>
#include <set>
#include <string>

namespace
{

using ORVA::NQF::CPINQFUnknown;
using ORVA::String::CPPoolString;
using ORVA::String::CStringPool;

// Identifiers that differ in the last byte: class, its definition, component.
constexpr _nqfUID uid(unsigned char last)
{
    return {0xB4B3A1F0, 0x2C67, 0x4E0F, {0x8D, 0x11, 0x7A, 0x3F, 0x52, 0xC9, 0x06, last}};
}
constexpr _nqfUID vendor_uid = {0xB4B3A1F0, 0x2C67, 0x4E0F, {0x8D, 0x11, 0x7A, 0x3F, 0x52, 0xC9, 0x06, 0xFF}};

// Equal words are one record, so their order is that of addresses: no text is compared.
struct ByRecord
{
    bool operator()(CPPoolString const& left, CPPoolString const& right) const { return left.pcmp(right) < 0; }
};

// All of a file; for files of less than 4 GB.
bool read_file(CPPoolString const& path, std::string& bytes)
{
    using namespace ORVA::Files::OS;
    CFile file;
    if (file.Open(path, eFileAccessRead, eOpenFileExisting) != 1)
        return false;
    bytes.resize(static_cast<unsigned long>(file.GetSize()));
    return file.Read(bytes.data(), static_cast<unsigned int>(bytes.size())) == 1;
}

class WordCount final : public host::Counted<host::ITask>
{
public:
    // A word ends at a blank. What is not UTF-8 is the null string, and no word.
    int Run(CPPoolString const& path, CPPoolString& answer) override
    {
        constexpr char const* blanks = " \t\r\n";
        std::string bytes;
        if (!read_file(path, bytes))
        {
            answer = L"cannot read the file";
            return -1;
        }
        unsigned int count = 0;
        std::set<CPPoolString, ByRecord> different;
        for (unsigned long end, begin = bytes.find_first_not_of(blanks); begin != std::string::npos;
             begin = bytes.find_first_not_of(blanks, end))
        {
            end = std::min(bytes.find_first_of(blanks, begin), bytes.size());
            auto const* const word = reinterpret_cast<unsigned char const*>(&bytes[begin]);
            CPPoolString const pooled(CStringPool::GetStringRefn(word, end - begin));
            if (!pooled.isdef())
                continue;
            ++count;
            different.insert(pooled);
        }
        answer = (std::to_wstring(count) + L" words, " + std::to_wstring(different.size()) + L" different").c_str();
        return 0;
    }
};

// What the class table keeps. Its address stays there until the process ends, and so this component stays loaded.
CPINQFUnknown create(_nqfUID const&)
{
    CPINQFUnknown made;
    made._assign(static_cast<host::ITask*>(new (std::nothrow) WordCount));
    return made;
}

// The result of a registration says that the class is in the table, not that this call has put it there. A failed
// AppInit counts as well, and is taken back.
int start()
{
    if (ORVA::AppInit() == 1 &&
        CPINQFUnknown::Factory_RegisterClass(uid(0x01), uid(0x03), CPPoolString(L"Word count"), &create) == 1)
        return 1;
    ORVA::AppExit();
    return 0;
}

int stop()
{
    ORVA::AppExit();
    return 1;
}

host::ClassFactory<WordCount> factory;
host::ClassRecord const classes[] = {{uid(0x01), uid(0x02), L"Word count", &factory}};
host::ComponentRecord const component =
    host::component_record(uid(0x03), L"Words", vendor_uid, L"Example Components", {1, 2, 3, 4}, classes, &start, &stop,
                           &host::count_objects, true);

} // namespace

extern "C" host::ComponentRecord const* host_component()
{
    return &component;
}
