#include "Ardo/Kiln/FileSystem/ApplicationName.h"

#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Platform/ModulePath.h"

#include <stdexcept>

namespace Ardo::Kiln::FileSystem
{

const std::string& GetApplicationName()
{
    // Never destroyed, because destructors of static objects may log.
    static const std::string& g_name = *new std::string(
        []
        {
            std::string name = ToDisplayText(Platform::ExecutablePath().stem());
            if (name.empty())
            {
                throw std::runtime_error("Failed to get application name from executable.");
            }
            return name;
        }());
    return g_name;
}

} // namespace Ardo::Kiln::FileSystem
