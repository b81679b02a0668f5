/// @file
/// A component whose classes fail, each in a way of its own.
#include "component.h"
#include "counted.h"

#include <stdexcept>

namespace
{

using ORVA::String::CPPoolString;

// Identifiers that differ in the last byte: classes, their definitions, the component.
constexpr _nqfUID uid(unsigned char last)
{
    return {0x71C2E9A8, 0x43DB, 0x47F6, {0xB0, 0x95, 0x2E, 0x8C, 0x14, 0x6A, 0xDD, last}};
}
constexpr _nqfUID vendor_uid = {0xB4B3A1F0, 0x2C67, 0x4E0F, {0x8D, 0x11, 0x7A, 0x3F, 0x52, 0xC9, 0x06, 0xFF}};

class ThrowsWhenMade final : public host::Counted<host::ITask>
{
public:
    ThrowsWhenMade() { throw std::runtime_error("nobody sees this: a handle only tells that it is empty"); }
    int Run(CPPoolString const&, CPPoolString&) override { return 0; }
};

class ThrowsAtWork final : public host::Counted<host::ITask>
{
public:
    int Run(CPPoolString const&, CPPoolString&) override
    {
        throw std::runtime_error("the works have a spanner in them");
    }
};

class RefusesWork final : public host::Counted<host::ITask>
{
public:
    int Run(CPPoolString const&, CPPoolString& answer) override
    {
        answer = L"not today";
        return -7;
    }
};

// A factory that gives nothing; the result of the creation is then negative.
class Refusal final : public ORVA::NQF::_csFactory
{
public:
    int _createinstance(_nqfUID const&, void**) override { return 0; }
};

// It uses nothing that runs in the background, so it neither starts nor stops the library.
int nothing()
{
    return 1;
}

host::ClassFactory<ThrowsWhenMade> throws_when_made;
host::ClassFactory<ThrowsAtWork> throws_at_work;
host::ClassFactory<RefusesWork> refuses_work;
Refusal refusal;
host::ClassRecord const classes[] = {{uid(0x11), uid(0x21), L"Throws when made", &throws_when_made},
                                     {uid(0x12), uid(0x22), L"Refuses to be made", &refusal},
                                     {uid(0x13), uid(0x23), L"Throws at work", &throws_at_work},
                                     {uid(0x14), uid(0x24), L"Refuses work", &refuses_work}};
host::ComponentRecord const component =
    host::component_record(uid(0x31), L"Faulty", vendor_uid, L"Example Components", {0, 9, 0, 1}, classes, &nothing,
                           &nothing, &host::count_objects, false);

} // namespace

extern "C" host::ComponentRecord const* host_component()
{
    return &component;
}
