// Writes one TIFF file of each kind into the folder given, beside it "<name>.raw" with the pixels that are in it, and a
// line "name width height samples type" a file to standard output: the material of independent_readers.py.

#include "Ardo/Kiln/ImageIO/TiffExporter.h"
#include "Ardo/MetadataLib/Metadata.h"
#include "tests/Kiln/ImageIO/TiffTestFiles.h"

#include <cstdio>
#include <type_traits>

namespace Ardo::Kiln::ImageIO
{

namespace
{

template <typename Pixel, typename... Rest>
void Add(const std::filesystem::path& folder, std::string name, std::uint32_t height, int samples, const char* type,
         void (TiffExporter::*write)(const std::wstring&, Pixel*, std::uint32_t, std::uint32_t, Rest...), Rest... rest)
{
    constexpr std::uint32_t Width = 37;
    name += "-" + std::to_string(height);
    auto pixels = Pattern<std::remove_const_t<Pixel>>(Width * height + 100); // room for padded rows
    TiffExporter exporter;
    (exporter.*write)(Wide(folder / (name + ".tif")), pixels.data(), Width, height, rest...);
    WriteFile(folder / (name + ".raw"), BytesOf(pixels)); // after the write, which may change them
    std::printf("%s %u %u %d %s\n", name.c_str(), Width, height, samples, type);
}

void WriteAll(const std::filesystem::path& folder)
{
    MetadataLib::Metadata metadata;
    auto& pixelSize = metadata.BinaryResult.PixelSize.emplace();
    pixelSize.X = pixelSize.Y = {2.5e-10, "m", 0};
    const MetadataLib::Metadata* const given = &metadata;
    const MetadataLib::Metadata* const none = nullptr;
    const std::uint32_t noStride = 0;

    for (const std::uint32_t height : {100u, 128u}) // one strip, four strips
    {
        Add(folder, "uint8", height, 1, "uint8", &TiffExporter::WriteUInt8Image, given);
        Add(folder, "int8", height, 1, "uint8", &TiffExporter::WriteInt8Image, given);
        Add(folder, "int16", height, 1, "uint16", &TiffExporter::WriteInt16Image, given);
        Add(folder, "uint16", height, 1, "uint16", &TiffExporter::WriteUInt16Image, none);
        Add(folder, "float", height, 1, "float32", &TiffExporter::WriteFloatImage, given);
        Add(folder, "rgb", height, 3, "uint8", &TiffExporter::WriteRgbImage, noStride, given);
        Add(folder, "rgba", height, 4, "uint8", &TiffExporter::WriteRgbaImage, noStride, given);
    }
    Add(folder, "padded", 7, 3, "uint8", &TiffExporter::WriteRgbImage, std::uint32_t{120}, given);
}

} // namespace

} // namespace Ardo::Kiln::ImageIO

int main(int, char** arguments)
{
    Ardo::Kiln::ImageIO::WriteAll(arguments[1]);
}
