#include "Ardo/Kiln/FileSystem/ApplicationName.h"

#include "Ardo/Kiln/Platform/ModulePath.h"

#include <stdexcept>

namespace Ardo::Kiln::FileSystem
{

const std::string& GetApplicationName()
{
    // Never destroyed: static objects may log at their end.
    static const std::string& g_name = *new std::string(
        []
        {
            const std::u8string name = Platform::ExecutablePath().stem().u8string();
            if (name.empty())
            {
                throw std::runtime_error("Failed to get application name from executable.");
            }
            return std::string(name.begin(), name.end());
        }());
    return g_name;
}

} // namespace Ardo::Kiln::FileSystem
