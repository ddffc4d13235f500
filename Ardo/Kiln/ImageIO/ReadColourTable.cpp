#include "Ardo/Kiln/ImageIO/ReadColourTable.h"

#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Platform/RandomAccessFile.h"

#include <algorithm>
#include <system_error>

namespace Ardo::Kiln::ImageIO
{

Imaging::ColourTable ReadColourTable(const std::wstring& fileName)
{
    std::string name;
    try
    {
        const std::filesystem::path path = FileSystem::ToPath(fileName);
        name = FileSystem::ToDisplayText(path);
        Platform::RandomAccessFile file(path, Platform::RandomAccessFile::Access::Read);
        constexpr std::uint64_t EnoughToBeRefused = 70'000;
        std::string contents(std::min(file.SizeWhenOpened(), EnoughToBeRefused), '\0');
        const std::int64_t size = file.ReadAt(0, contents.data(), static_cast<std::int64_t>(contents.size()));
        if (size < 0)
        {
            throw std::system_error(file.LastError());
        }
        contents.resize(static_cast<std::size_t>(size));
        return Imaging::ColourTable::Parse(contents);
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

} // namespace Ardo::Kiln::ImageIO
