#include "Ardo/Kiln/ImageIO/ImageJTiff.h"

#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/ImageIO/PictureFormats_p.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>
#include <string_view>

namespace Ardo::Kiln::ImageIO
{

namespace
{

/// A unit of ImageJ.
struct Unit
{
    std::string name; ///< ASCII. ImageJ reads and writes "um" for µm.
    double size;      ///< In the base unit of the pixel size.
};

Unit UnitOf(const std::string& base, double size)
{
    if (base == "m")
    {
        constexpr std::array<std::pair<const char*, double>, 6> Lengths = {
            {{"m", 1.0}, {"mm", 1e-3}, {"um", 1e-6}, {"nm", 1e-9}, {"pm", 1e-12}, {"fm", 1e-15}}};
        const auto* const fitting =
            std::find_if(Lengths.begin(), Lengths.end() - 1, [size](const auto& unit) { return size >= unit.second; });
        return {fitting->first, fitting->second};
    }
    if (base == "m^-1" || base == "1/m")
    {
        return {"1/nm", 1e9};
    }
    if (base == "rad")
    {
        return {"mrad", 1e-3};
    }
    const auto isPlain = [](char c) { return c > ' ' && c <= '~' && c != '\\'; };
    if (base.empty() || !std::ranges::all_of(base, isPlain))
    {
        throw std::runtime_error("ImageJ cannot hold the unit of the pixel size: '" + base + "'");
    }
    return {base, 1.0};
}

void Check(const Imaging::const_raw_image& image, double x, double y, bool hasOneUnit)
{
    constexpr std::uint64_t MaxPixels = 0xFFFF'0000; // with room for the directory
    if (image.Kind() == Imaging::PixelKind::Rgba8)
    {
        throw std::runtime_error("ImageJ cannot hold an image with opacity (RGBA)");
    }
    if (std::uint64_t{image.RowSize()} * image.Size().height > MaxPixels)
    {
        throw std::runtime_error("ImageJ cannot hold an image of 4 GiB in a TIFF file");
    }
    if (!hasOneUnit)
    {
        throw std::runtime_error("ImageJ cannot hold a pixel size with two units");
    }
    for (const double size : {x, y})
    {
        if (!(size > 0.0) || !std::isnormal(size) || !std::isfinite(1.0 / size))
        {
            throw std::runtime_error("ImageJ cannot hold a pixel size that is not positive");
        }
    }
}

} // namespace

void WriteImageJTiff(const std::wstring& fileName, const Imaging::const_raw_image& image,
                     const MetadataLib::PixelSizeRecord& pixelSize)
{
    const std::filesystem::path path = FileSystem::ToPath(fileName);
    try
    {
        const double x = InBaseUnit(pixelSize.X);
        const double y = InBaseUnit(pixelSize.Y);
        Check(image, x, y, pixelSize.X.Unit == pixelSize.Y.Unit);
        const Unit unit = UnitOf(pixelSize.X.Unit.value_or(""), x);
        WritePictureTiff(path, image, TiffResolution{unit.size / x, unit.size / y, false},
                         "ImageJ=1.53t\nimages=1\nunit=" + unit.name + "\nloop=false\n");
    }
    catch (const std::runtime_error& error)
    {
        throw Exception::Error(FileSystem::ToDisplayText(path) + ": " + error.what());
    }
}

} // namespace Ardo::Kiln::ImageIO
