#include "Ardo/Kiln/ImageIO/WholeFile_p.h"

#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/Kiln/FileSystem/ReplacementFile.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Platform/RandomAccessFile.h"

#include <system_error>

namespace Ardo::Kiln::ImageIO
{

namespace
{

/// The reason of a ReplacementFile. Codes of the standard category, which are its own refusals, would have their texts
/// in the language and the encoding of the locale.
std::string ReasonOf(const std::error_code& code)
{
    if (code.category() != std::generic_category())
    {
        return code.message();
    }
    return code == std::errc::is_a_directory      ? "is a folder"
           : code == std::errc::permission_denied ? "is not writable"
                                                  : "is not a file that can be replaced";
}

} // namespace

void WriteWholeFile(const std::wstring& fileName, const std::function<void(const std::filesystem::path&)>& write)
{
    if (fileName.empty())
    {
        throw Exception::Error("no file name");
    }
    std::string name;
    try
    {
        const std::filesystem::path path = FileSystem::ToPath(fileName);
        name = FileSystem::ToDisplayText(path);
        FileSystem::ReplacementFile file(path);
        write(file.Path());
        file.Commit();
    }
    catch (const std::filesystem::filesystem_error& error)
    {
        throw Exception::Error(name + ": " + ReasonOf(error.code()));
    }
    catch (const std::bad_alloc&)
    {
        throw;
    }
    catch (const std::exception& error)
    {
        throw Exception::Error(name + ": " + error.what());
    }
}

void WriteWholeFile(const std::wstring& fileName, std::string_view contents)
{
    WriteWholeFile(fileName, [contents](const std::filesystem::path& path) { WriteContents(path, contents); });
}

void WriteContents(const std::filesystem::path& path, std::string_view contents)
{
    Platform::RandomAccessFile file(path, Platform::RandomAccessFile::Access::Replace);
    const auto size = static_cast<std::int64_t>(contents.size());
    if (file.WriteAt(0, contents.data(), size) != size)
    {
        throw std::system_error(file.LastError());
    }
}

} // namespace Ardo::Kiln::ImageIO
