#include "work.h"

#include "guarded.h"

#include <cstdio>

namespace host
{

using namespace ORVA::NQF;
using ORVA::String::CPPoolString;

namespace
{

// UTF-8 for printf; lives as long as the string.
char const* utf8(CPPoolString const& text)
{
    return reinterpret_cast<char const*>(static_cast<unsigned char const*>(text));
}

// The count of an object that somebody holds.
unsigned int references(INQFUnknown& object)
{
    object.AddRef();
    return object.Release();
}

} // namespace

void describe(ClassRecord const& one)
{
    tagCOMPONENT_INFO info;
    info.sSizeStruct = sizeof info;
    cnqfuid class_id;
    if (CPINQFUnknown::Factory_GetComponentInfo(one.uidDefinition, info) != 1 ||
        CPINQFUnknown::Factory_FindClass(one.uidDefinition, class_id.rec()) != 1)
    {
        std::printf("  a class without a definition\n");
        return;
    }
    std::printf("  %s, of %s %u.%u.%u.%u by %s\n    definition %s\n    class      %s\n",
                utf8(CPPoolString(*info.sName)), utf8(CPPoolString(*info.sPluginName)), info.uMajorVersion,
                info.uMinorVersion, info.uPatchVersion, info.uBuildVersion, utf8(CPPoolString(*info.sVendor)),
                *cnqfuid(info.uidDefinition).ANSI(), *class_id.ANSI());
}

// The creation gives a pointer to the root interface, and the second handle asks that for a task. A `CPNQI<ITask>` that is
// given to the creation would have to stand on every object having both interfaces, at one address.
void run(ClassRecord const& one, CPPoolString const& path)
{
    std::printf("  %s: ", utf8(CPPoolString(one.sName)));
    CPINQFUnknown made;
    if (!made.createInstance(one.uidClass))
    {
        std::printf("cannot be made\n");
        return;
    }
    CPNQI<ITask> const task(made);
    if (!task)
    {
        std::printf("is no task\n");
        return;
    }
    CPPoolString answer(L"");
    std::string reason;
    int const result = guarded([&] { return task->Run(path, answer); }, reason);
    if (!reason.empty())
        std::printf("threw \"%s\"", reason.c_str());
    else if (result < 0)
        std::printf("failed with %d, \"%s\"", result, utf8(answer));
    else
        std::printf("%s", utf8(answer));
    std::printf(" (%u references)\n", references(*task.operator->()));
}

} // namespace host
