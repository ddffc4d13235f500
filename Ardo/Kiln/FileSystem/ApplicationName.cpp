#include "Ardo/Kiln/FileSystem/ApplicationName.h"

#include "Ardo/Kiln/FileSystem/WidePath.h"
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
