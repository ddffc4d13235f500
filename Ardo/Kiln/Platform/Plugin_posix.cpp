#include "Ardo/Kiln/Platform/ModulePath.h"
#include "Ardo/Kiln/Platform/Plugin.h"
#include "Ardo/KilnVersion.h"

#include <stdexcept>

#include <dlfcn.h>

namespace Ardo::Kiln::Platform
{

namespace
{

/// \throws std::runtime_error with the loader's reason if \p address is null.
void* Checked(void* address)
{
    if (address == nullptr)
    {
        const char* const reason = ::dlerror();
        throw std::runtime_error(reason != nullptr ? reason : "dlopen: unknown error");
    }
    return address;
}

} // namespace

void* PluginFunction(const std::string& name, const char* function)
{
    const auto file = LibraryPath().replace_filename(name + "-" KILN_VERSION ".so");
    void* const plugin = Checked(::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE));
    return Checked(::dlsym(plugin, function));
}

} // namespace Ardo::Kiln::Platform
