/// @file
/// A component as a file: loading it, with a reason if that fails, and letting it go.
#pragma once

#include "component.h"

#include <string>

namespace host
{

/// A file that may be a component. It is closed by `close` alone: a component that cannot be stopped stays loaded.
class SharedObject
{
public:
    explicit SharedObject(std::string path);

    std::string const& name() const { return m_name; } ///< the file's name, for messages
    ComponentRecord const& component() const { return *m_component; }

    /// Loads the file and asks it what it is. Empty if it is a component, otherwise the reason why it is not; the file
    /// is then closed again.
    std::string open();

    /// Takes the code out of the process. None of its objects, blocks, services and texts may be in use. False if the
    /// system keeps the code all the same, which does no harm.
    bool close();

private:
    std::string m_path;
    std::string m_name;
    void* m_handle = nullptr;
    ComponentRecord const* m_component = nullptr;
};

} // namespace host
