/// @file
/// What host and components agree on: the interface of the objects, the description of a component, and its one entry.
///
/// Both sides are built with the same compiler, the same headers and the same copy of the library. Whoever changes what is
/// public here gives `ITask` a new identifier.
#pragma once

#include "ORVA/NQF.h"
#include "ORVA/String.h"

namespace host
{

/// What this host does with an object: lets it work on a file.
class ORVA_API ITask : public INQFUnknown
{
public:
    /// Works on the file `path` and tells about it in `answer`, also of a failure. Negative for failure.
    virtual int Run(ORVA::String::CPPoolString const& path, ORVA::String::CPPoolString& answer) = 0;

protected:
    ~ITask() = default;
};

/// A class of a component.
struct ClassRecord
{
    _nqfUID uidClass;          ///< by which its objects are made
    _nqfUID uidDefinition;     ///< by which it is described
    wchar_t const* sName;      ///< for people
    INQFClassFactory* factory; ///< makes its objects
};

struct Version
{
    unsigned int uMajor, uMinor, uPatch, uBuild;
};

/// A component. All of it is static and constant, and goes with the component's code.
struct ComponentRecord
{
    unsigned long sSizeStruct; ///< the size of this record: a host refuses another one
    _nqfUID uidPlugin;
    wchar_t const* sName;
    _nqfUID uidVendor;
    wchar_t const* sVendor;
    Version version;
    ClassRecord const* classes;
    unsigned long classCount;
    int (*start)();            ///< called once after loading; not positive for failure, and `stop` is then not called
    int (*stop)();             ///< called once in the end; not positive if its code is still run: it then stays loaded
    unsigned int (*objects)(); ///< how many of its objects are alive
    bool stays;                ///< its code is needed until the process ends
};

/// The record of a component whose classes are in an array.
template <unsigned long count>
constexpr ComponentRecord component_record(_nqfUID const& plugin, wchar_t const* name, _nqfUID const& vendor_uid,
                                           wchar_t const* vendor, Version const& version,
                                           ClassRecord const (&classes)[count], int (*start)(), int (*stop)(),
                                           unsigned int (*objects)(), bool stays)
{
    return {sizeof(ComponentRecord),
            plugin,
            name,
            vendor_uid,
            vendor,
            version,
            classes,
            count,
            start,
            stop,
            objects,
            stays};
}

using ComponentEntry = ComponentRecord const* (*)();

} // namespace host

/// The one name that a component exports. Gives null if the component cannot work here.
extern "C" ORVA_API host::ComponentRecord const* host_component();

template <>
inline _nqfUID const& __nqf_uuidof<host::ITask>()
{
    static constexpr _nqfUID uid = {0x0D86B7C4, 0x5E1A, 0x4C5B, {0x9A, 0x37, 0x5C, 0x21, 0x6E, 0x84, 0x90, 0xF3}};
    return uid;
}
