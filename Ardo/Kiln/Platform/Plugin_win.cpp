#include "Ardo/Kiln/Platform/ModulePath.h"
#include "Ardo/Kiln/Platform/ModulePath_win.h"
#include "Ardo/Kiln/Platform/Plugin.h"
#include "Ardo/Kiln/Platform/SystemError.h"
#include "Ardo/KilnVersion.h"

#include <system_error>

#include <windows.h>

namespace Ardo::Kiln::Platform
{

namespace
{

/// Lets LoadLibraryExW find Qt's other libraries beside its core, which the process has already loaded from anywhere.
void AddFolderOfQt()
{
    [[maybe_unused]] static const bool g_isAdded = []
    {
        const HMODULE release = ::GetModuleHandleW(L"Qt5Core.dll");
        const HMODULE core = release != nullptr ? release : ::GetModuleHandleW(L"Qt5Cored.dll");
        return core != nullptr && ::AddDllDirectory(ModulePathOf(core).parent_path().c_str()) != nullptr;
    }();
}

} // namespace

void* PluginFunction(const std::string& name, const char* function)
{
    const auto file = LibraryPath().replace_filename(name + "-" KILN_VERSION ".dll");
    AddFolderOfQt();
    // The libraries that the plug-in needs are looked for beside it, too, and never in the current folder.
    const HMODULE plugin =
        ::LoadLibraryExW(file.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    const FARPROC address = plugin != nullptr ? ::GetProcAddress(plugin, function) : nullptr;
    if (address == nullptr)
    {
        throw std::system_error(LastSystemError(), name + "-" KILN_VERSION ".dll");
    }
    return reinterpret_cast<void*>(address);
}

} // namespace Ardo::Kiln::Platform
