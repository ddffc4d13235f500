#include "Ardo/Kiln/FileSystem/TemporaryFile.h"

#include "Ardo/Kiln/FileSystem/FileError.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Platform/PartialFile.h"

namespace Ardo::Kiln::FileSystem
{

TemporaryFile::TemporaryFile() : m_file(std::make_unique<Platform::PartialFile>())
{
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    if (error || (error = m_file->Create(folder, Platform::PartialFile::Rights::Owner)))
    {
        throw FileError("cannot create temporary file", folder, error);
    }
}

TemporaryFile::~TemporaryFile() = default;

std::filesystem::path TemporaryFile::Path() const
{
    return m_file->Path();
}

std::wstring TemporaryFile::WidePath() const
{
    return ToWide(Path());
}

} // namespace Ardo::Kiln::FileSystem
