#include "Ardo/Kiln/Platform/ModulePath_win.h"
#include "Ardo/Kiln/Platform/ModulePath.h"

#include <string>
#include <windows.h>

namespace Ardo::Kiln::Platform
{

namespace
{

/// \param module null for the executable.
std::filesystem::path PathOf(HMODULE module)
{
    // The call does not return the length that it needs. A result that fills the buffer may be truncated.
    for (std::wstring buffer(MAX_PATH, L'\0');; buffer.resize(buffer.size() * 2))
    {
        const DWORD length = ::GetModuleFileNameW(module, buffer.data(), static_cast<DWORD>(buffer.size()));
        if (length < buffer.size())
        {
            buffer.resize(length);
            return buffer;
        }
    }
}

} // namespace

std::filesystem::path ExecutablePath()
{
    return PathOf(nullptr);
}

std::filesystem::path ModulePathOf(const void* address)
{
    constexpr DWORD ByAddress = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    HMODULE module = nullptr;
    return ::GetModuleHandleExW(ByAddress, static_cast<LPCWSTR>(address), &module) != 0 ? PathOf(module)
                                                                                        : std::filesystem::path();
}

std::filesystem::path LibraryPath()
{
    return ModulePathOf(reinterpret_cast<const void*>(&LibraryPath));
}

void KeepLibraryLoaded() noexcept
{
    HMODULE module = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                         reinterpret_cast<const wchar_t*>(&KeepLibraryLoaded), &module);
}

} // namespace Ardo::Kiln::Platform
