#include "Ardo/Kiln/ImageIO/ExportType.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace Ardo::Kiln::ImageIO
{

namespace
{

constexpr std::array<std::string_view, 2> TiffExtensions = {"tif", "tiff"};
constexpr std::array<std::string_view, 1> PngExtensions = {"png"};
constexpr std::array<std::string_view, 2> JpegExtensions = {"jpg", "jpeg"};

constexpr std::array<ExportTypeInfo, 4> Types = {{
    {ExportType::Data, "data", "TIFF with all data", TiffExtensions, true, true, false, true},
    {ExportType::Tiff, "tiff", "TIFF image", TiffExtensions, false, false, true, true},
    {ExportType::Png, "png", "PNG image", PngExtensions, false, false, true, true},
    {ExportType::Jpeg, "jpeg", "JPEG image", JpegExtensions, false, false, true, false},
}};

constexpr char Lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

} // namespace

std::span<const ExportTypeInfo> ExportTypes() noexcept
{
    return Types;
}

const ExportTypeInfo& InfoOf(ExportType type)
{
    const auto found = std::ranges::find(Types, type, &ExportTypeInfo::type);
    if (found == Types.end())
    {
        throw std::invalid_argument("ExportType: a value outside the enumeration");
    }
    return *found;
}

std::string FilterText(ExportType type)
{
    const ExportTypeInfo& info = InfoOf(type);
    std::string patterns;
    for (const std::string_view extension : info.extensions)
    {
        patterns.append(patterns.empty() ? "*." : " *.").append(extension);
    }
    return std::string(info.title) + " (" + patterns + ")";
}

std::optional<ExportType> ExportTypeFromName(std::string_view name) noexcept
{
    const auto found = std::ranges::find(Types, name, &ExportTypeInfo::name);
    return found == Types.end() ? std::nullopt : std::optional(found->type);
}

std::optional<ExportType> ExportTypeFromFileName(std::string_view fileName) noexcept
{
    const std::size_t dot = fileName.find_last_of("./\\");
    if (dot == std::string_view::npos || fileName[dot] != '.')
    {
        return std::nullopt;
    }
    const std::string_view extension = fileName.substr(dot + 1);
    for (const ExportTypeInfo& info : Types)
    {
        const auto isIt = [&](std::string_view known) { return std::ranges::equal(known, extension, {}, {}, Lower); };
        if (info.type != ExportType::Data && std::ranges::any_of(info.extensions, isIt))
        {
            return info.type;
        }
    }
    return std::nullopt;
}

} // namespace Ardo::Kiln::ImageIO
