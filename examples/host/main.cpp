/// @file
/// A host: finds components in a directory, lists what they offer, lets each work on a file, and lets them all go.
///
///   component.h        what host and components agree on
///   counted.h          bases for implementing interfaces
///   shared_object.h    a component as a file
///   definition.h       what is known of a component
///   factory.h          the component factory that the library asks
///   work.h             what is done with a class
///   guarded.h          calls that may throw
///   components/        three components
///
/// The exit status is 0 if all went and nothing is left, 1 if a file could not be used or could not be let go, and 2 if
/// there was nothing to begin with. A component that fails at its work is told of, and is no failure of the host.

#include "factory.h"
#include "guarded.h"
#include "shared_object.h"
#include "work.h"

#include "ORVA/ORVA.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <filesystem>

namespace
{

using namespace host;
using ORVA::NQF::CPINQFUnknown;
using ORVA::String::CPPoolString;

// The library's own reports. No strings are made here: the pool may be the one that reports.
void print_message(_nqfDebugLevel level, wchar_t const*, char const* file, int, wchar_t const* format, va_list args)
{
    wchar_t wide[256] = L"";
    std::vswprintf(wide, std::size(wide), format, args);
    wide[255] = 0;
    unsigned char text[4 * 256] = "";
    ORVA::String::nqfWChar_To_UTF8(wide, ~0UL, text, sizeof text);
    if (level <= _nqfDebugBadInput)
        std::fprintf(stderr, "host: %s: %s\n", file, reinterpret_cast<char const*>(text));
}

// The files in `directory` that may be components, by name. Empty, and told why, if there are none.
std::vector<std::string> find_files(char const* directory)
{
    std::error_code error;
    std::vector<std::string> files;
    for (std::filesystem::directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error))
    {
        if (entry->path().extension() == ".so")
            files.push_back(std::filesystem::absolute(entry->path()).string());
    }
    if (error)
        std::fprintf(stderr, "host: cannot read the directory %s: %s\n", directory, error.message().c_str());
    else if (files.empty())
        std::fprintf(stderr, "host: there is no component in %s\n", directory);
    std::sort(files.begin(), files.end());
    return files;
}

// Loads and starts a component. False, and told why, if it is none.
bool take_in(SharedObject& file, Factory& factory)
{
    std::string reason = file.open();
    if (reason.empty())
    {
        ComponentRecord const& component = file.component();
        if (!factory.add(component))
            reason = "one of its identifiers is taken";
        else if (guarded(component.start, reason) > 0)
            return true;
        else
            reason = "it does not start" + (reason.empty() ? reason : ": " + reason);
        factory.forget(component);
        file.close();
    }
    std::fprintf(stderr, "host: %s is left out: %s\n", file.name().c_str(), reason.c_str());
    return false;
}

// Stops a component and unloads it. False if its code is still in use.
bool let_go(SharedObject& file, Factory& factory)
{
    ComponentRecord const& component = file.component();
    factory.forget(component);
    std::string reason;
    bool const stopped = guarded(component.stop, reason) > 0;
    unsigned int const objects = component.objects();
    bool const stays = component.stays;
    std::printf("  %s: %s, %u objects, ", file.name().c_str(), stopped ? "stopped" : "not stopped", objects);
    if (!stopped || objects != 0)
        std::printf("stays, for it is in use\n");
    else if (stays)
        std::printf("stays, as it asked to\n");
    else
        std::printf("%s\n", file.close() ? "unloaded" : "closed, but kept by the system");
    return stopped && objects == 0;
}

bool use_components(std::vector<std::string> const& paths, CPPoolString const& argument)
{
    auto* const factory = new Factory;
    if (CPINQFUnknown::Factory_Set(factory) != 1)
        std::fprintf(stderr, "host: somebody else has set a factory\n");

    bool good = true;
    std::vector<SharedObject> files;
    for (std::string const& path : paths)
    {
        SharedObject file(path);
        if (take_in(file, *factory))
            files.push_back(file);
        else
            good = false;
    }
    auto const for_each_class = [&](auto&& action)
    {
        for (SharedObject const& file : files)
            std::for_each_n(file.component().classes, file.component().classCount, action);
    };
    std::printf("Components\n");
    for_each_class(&describe);
    std::printf("At work\n");
    for_each_class([&](ClassRecord const& one) { run(one, argument); });

    std::printf("The end\n");
    for (SharedObject& file : files)
        good = let_go(file, *factory) && good;
    CPINQFUnknown::Factory_Release();
    unsigned int const held = factory->Release();
    std::printf("  factory: %u references, %u objects of the host\n", held, count_objects());
    return good && held == 0 && count_objects() == 0;
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 3)
    {
        std::fprintf(stderr, "usage: host DIRECTORY FILE\nLets the components in DIRECTORY work on FILE.\n");
        return 2;
    }
    std::vector<std::string> const paths = find_files(arguments[1]);
    if (paths.empty())
        return 2;

    ORVA::Develop::SetExternalLogger(&print_message);
    bool good = ORVA::AppInit() == 1;
    if (good)
        good = use_components(paths, CPPoolString(reinterpret_cast<unsigned char const*>(arguments[2])));
    else
        std::fprintf(stderr, "host: the library does not start\n");
    ORVA::AppExit();
    std::printf("  maintenance thread: %s\n", ORVA::Maintenance::IsActive() ? "still there" : "ended");
    return good && !ORVA::Maintenance::IsActive() ? 0 : 1;
}
