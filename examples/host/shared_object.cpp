#include "shared_object.h"

#include "guarded.h"

#include <dlfcn.h>
#include <utility>

namespace host
{

SharedObject::SharedObject(std::string path) : m_path(std::move(path)), m_name(m_path.substr(m_path.rfind('/') + 1)) {}

std::string SharedObject::open()
{
    m_handle = dlopen(m_path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (m_handle == nullptr)
        return std::string("it cannot be loaded: ") + dlerror(); // NOLINT(concurrency-mt-unsafe): of this thread

    std::string reason;
    auto const entry = reinterpret_cast<ComponentEntry>(dlsym(m_handle, "host_component"));
    if (entry == nullptr)
        reason = "it is no component of this host: it does not export host_component";
    else if (guarded([&] { return (m_component = entry()) != nullptr ? 1 : 0; }, reason) < 0)
        reason = "its entry throws: " + reason;
    else if (m_component == nullptr)
        reason = "its entry gives no component";
    else if (m_component->sSizeStruct != sizeof *m_component)
        reason = "it was built for another host";
    if (!reason.empty())
        close();
    return reason;
}

bool SharedObject::close()
{
    dlclose(m_handle);
    m_handle = nullptr;
    m_component = nullptr;
    void* const still = dlopen(m_path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (still != nullptr)
        dlclose(still);
    return still == nullptr;
}

} // namespace host
