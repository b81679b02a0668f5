// A component that is bad in the way that its file's name says, so that one build serves all ways.
#include "component.h"
#include "counted.h"

#include <cstring>
#include <stdexcept>
#include <string>

#include <dlfcn.h>

namespace
{

using ORVA::String::CPPoolString;

std::string fault()
{
    Dl_info where;
    if (dladdr(reinterpret_cast<void*>(&host_component), &where) == 0)
        return "";
    char const* const slash = std::strrchr(where.dli_fname, '/');
    std::string const name = slash != nullptr ? slash + 1 : where.dli_fname;
    return name.substr(0, name.find('.'));
}

constexpr _nqfUID uid(unsigned char last)
{
    return {0xF0F0F0F0, 0x1111, 0x2222, {0x33, 0x33, 0x44, 0x44, 0x44, 0x44, 0x44, last}};
}

host::ITask* left = nullptr; // an object that nobody gives back

class Task final : public host::Counted<host::ITask>
{
public:
    int Run(CPPoolString const&, CPPoolString& answer) override
    {
        if (fault() == "no_text_in_throw")
            throw std::runtime_error("");
        if (fault() == "throws_a_number")
            throw 5;
        if (fault() == "object_is_left")
        {
            AddRef();
            left = this;
        }
        answer = L"done";
        return 0;
    }
};

// Gives an object that is no task.
class Other final : public host::Counted<INQFEnumDefinitions>
{
};

class Factory final : public ORVA::NQF::_csFactory
{
public:
    int _createinstance(_nqfUID const& id, void** out) override
    {
        return fault() == "is_no_task" ? others.CreateInstance(nullptr, nullptr, id, out) == 0
                                       : tasks.CreateInstance(nullptr, nullptr, id, out) == 0;
    }

private:
    host::ClassFactory<Task> tasks;
    host::ClassFactory<Other> others;
};

int start()
{
    if (fault() == "start_throws")
        throw std::runtime_error("no time to start");
    return fault() == "start_fails" ? 0 : 1;
}

int stop()
{
    if (fault() == "stop_throws")
        throw std::runtime_error("no time to stop");
    return fault() == "stop_fails" ? 0 : 1;
}

Factory factory;
host::ClassRecord const classes[] = {{uid(1), uid(2), L"Task", &factory}};
host::ComponentRecord const component = host::component_record(uid(3), L"Bad", uid(4), L"Tests", {1, 0, 0, 0}, classes,
                                                               &start, &stop, &host::count_objects, false);
host::ComponentRecord other_size = component;

} // namespace

extern "C" host::ComponentRecord const* host_component()
{
    if (fault() == "entry_throws")
        throw std::runtime_error("no entry today");
    if (fault() == "entry_gives_none")
        return nullptr;
    ++other_size.sSizeStruct;
    return fault() == "has_another_size" ? &other_size : &component;
}
