#include "Ardo/Kiln/Logger/LogFileAttribute.h"

#include "Ardo/Kiln/FileSystem/FileAttributes.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"

#include <stdexcept>
#include <string>

namespace Ardo::Kiln::Logger
{

namespace
{

void Remove(void (&remove)(const std::filesystem::path&), const char* path, const char* attribute)
{
    try
    {
        remove(path);
    }
    catch (const std::exception&)
    {
        throw std::runtime_error("Can not use file log " + FileSystem::ToDisplayText(path) + " " + attribute +
                                 " on filesystem.");
    }
}

} // namespace

void CheckLogFileAttribute(const char* path)
{
    if (FileSystem::IsHidden(path))
    {
        Remove(FileSystem::RemoveHiddenAttribute, path, "hidden");
    }
    if (FileSystem::IsReadOnly(path))
    {
        Remove(FileSystem::RemoveReadOnlyAttribute, path, "read only");
    }
}

} // namespace Ardo::Kiln::Logger
