#include "Ardo/Kiln/Platform/ModulePath.h"

#include <string>
#include <windows.h>

namespace Ardo::Kiln::Platform
{

std::filesystem::path ExecutablePath()
{
    // The call does not return the length that it needs. A result that fills the buffer may be truncated.
    for (std::wstring buffer(MAX_PATH, L'\0');; buffer.resize(buffer.size() * 2))
    {
        const DWORD length = ::GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
        if (length < buffer.size())
        {
            buffer.resize(length);
            return buffer;
        }
    }
}

} // namespace Ardo::Kiln::Platform
