// Writes one TIFF file of each kind into the folder given, beside it "<name>.raw" with the pixels that are in it, and a
// line "name width height samples type" a file to standard output: the material of independent_readers.py.

#include "Ardo/Kiln/ImageIO/TiffExporter.h"
#include "Ardo/MetadataLib/Metadata.h"
#include "tests/Kiln/ImageIO/TiffTestFiles.h"

#include <array>
#include <cstdio>

namespace Ardo::Kiln::ImageIO
{

namespace
{

using Rgb = Imaging::rgb_type<unsigned char>;
using Rgba = Imaging::rgba_type<unsigned char>;

class Samples
{
public:
    explicit Samples(std::filesystem::path folder) : m_folder(std::move(folder)) {}

    template <typename Pixel, typename Write>
    void Add(const std::string& name, std::uint32_t width, std::uint32_t height, int samples, const char* type,
             Write write)
    {
        auto pixels = Pattern<Pixel>(std::size_t{width} * height);
        write(Wide(m_folder / (name + ".tif")), pixels.data(), width, height);
        WriteFile(m_folder / (name + ".raw"), BytesOf(pixels)); // after the write, which may change them
        std::printf("%s %u %u %d %s\n", name.c_str(), width, height, samples, type);
    }

private:
    std::filesystem::path m_folder;
};

void WriteAll(const std::filesystem::path& folder)
{
    MetadataLib::Metadata metadata;
    auto& pixelSize = metadata.BinaryResult.PixelSize.emplace();
    pixelSize.X = pixelSize.Y = {2.5e-10, "m", 0};

    Samples samples(folder);
    TiffExporter exporter;
    for (const std::uint32_t height : {100u, 128u}) // one strip, four strips
    {
        const std::string rows = std::to_string(height);
        samples.Add<std::uint8_t>("uint8-" + rows, 37, height, 1, "uint8",
                                  [&](const auto& name, auto... image)
                                  { exporter.WriteUInt8Image(name, image..., &metadata); });
        samples.Add<std::int8_t>("int8-" + rows, 37, height, 1, "uint8",
                                 [&](const auto& name, auto... image)
                                 { exporter.WriteInt8Image(name, image..., &metadata); });
        samples.Add<std::int16_t>("int16-" + rows, 37, height, 1, "uint16",
                                  [&](const auto& name, auto... image)
                                  { exporter.WriteInt16Image(name, image..., &metadata); });
        samples.Add<std::uint16_t>("uint16-" + rows, 37, height, 1, "uint16",
                                   [&](const auto& name, auto... image)
                                   { exporter.WriteUInt16Image(name, image..., nullptr); });
        samples.Add<float>("float-" + rows, 37, height, 1, "float32",
                           [&](const auto& name, auto... image)
                           { exporter.WriteFloatImage(name, image..., &metadata); });
        samples.Add<Rgb>("rgb-" + rows, 37, height, 3, "uint8",
                         [&](const auto& name, auto... image)
                         { exporter.WriteRgbImage(name, image..., 0, &metadata); });
        samples.Add<Rgba>("rgba-" + rows, 37, height, 4, "uint8",
                          [&](const auto& name, auto... image)
                          { exporter.WriteRgbaImage(name, image..., 0, &metadata); });
    }
    // Rows of ten pixels, 32 bytes from one to the next: the raw file holds the padding, too.
    samples.Add<std::array<unsigned char, 32>>(
        "padded-rgb", 10, 7, 3, "uint8",
        [&](const auto& name, auto* rows, auto width, auto height)
        { exporter.WriteRgbImage(name, reinterpret_cast<const Rgb*>(rows), width, height, 32, nullptr); });
}

} // namespace

} // namespace Ardo::Kiln::ImageIO

int main(int, char** arguments)
{
    Ardo::Kiln::ImageIO::WriteAll(arguments[1]);
}
