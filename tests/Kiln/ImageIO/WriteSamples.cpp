// Writes one TIFF file of each kind into the folder given, beside it "<name>.raw" with the pixels that are in it, and a
// line "name width height samples type" a file to standard output: the material of independent_readers.py. Then
// pictures with calibrations, "<name>.tif", ".png" and ".jpg", whose samples are in "picture.raw".

#include "Ardo/Kiln/ImageIO/Presentation.h"
#include "Ardo/MetadataLib/Metadata.h"
#include "tests/Kiln/ImageIO/TiffTestFiles.h"

#include <cstdio>
#include <memory>
#include <vector>

using namespace Ardo::Kiln::ImageIO;

int main(int, char** arguments)
{
    Ardo::MetadataLib::Metadata metadata;
    auto& pixelSize = metadata.BinaryResult.PixelSize.emplace();
    pixelSize.X = pixelSize.Y = {2.5e-10, "m", 0};

    const auto add =
        [&](std::string name, std::uint32_t height, int samples, const char* type, auto write, auto... rest)
    {
        constexpr std::uint32_t Width = 37;
        name += "-" + std::to_string(height);
        const std::filesystem::path file = std::filesystem::path(arguments[1]) / name;
        TiffExporter exporter;
        WriteFile(file.string() + ".raw",
                  WritePattern(exporter, file.string() + ".tif", Width, height, write, rest...));
        std::printf("%s %u %u %d %s\n", name.c_str(), Width, height, samples, type);
    };
    for (const std::uint32_t height : {100u, 128u}) // one strip, four strips
    {
        add("uint8", height, 1, "uint8", &TiffExporter::WriteUInt8Image, &metadata);
        add("int8", height, 1, "uint8", &TiffExporter::WriteInt8Image, &metadata);
        add("int16", height, 1, "uint16", &TiffExporter::WriteInt16Image, &metadata);
        add("uint16", height, 1, "uint16", &TiffExporter::WriteUInt16Image, nullptr);
        add("float", height, 1, "float32", &TiffExporter::WriteFloatImage, &metadata);
        add("rgb", height, 3, "uint8", &TiffExporter::WriteRgbImage, 0u, &metadata);
        add("rgba", height, 4, "uint8", &TiffExporter::WriteRgbaImage, 0u, &metadata);
    }
    add("padded", 7, 3, "uint8", &TiffExporter::WriteRgbImage, 120u, &metadata);

    // Pictures with a calibration that all formats hold, and one that is beyond some fields.
    const auto samples = std::make_shared<std::vector<std::uint8_t>>(60 * 50 * 3);
    for (std::size_t i = 0; i < samples->size(); ++i)
    {
        (*samples)[i] = static_cast<std::uint8_t>(i / 40);
    }
    const Ardo::Imaging::const_raw_image image(std::shared_ptr<const void>(samples, samples->data()), {60, 50},
                                               Ardo::Imaging::PixelKind::Rgb8);
    WriteFile(std::filesystem::path(arguments[1]) / "picture.raw", std::string(samples->begin(), samples->end()));
    for (const auto& [name, size] : {std::pair{"micro", 2.5e-7}, {"nano", 1e-9}, {"pico", 1e-12}})
    {
        pixelSize.X = {size, "m", 0};
        pixelSize.Y = {2 * size, "m", 0};
        for (const ExportType type : {ExportType::Tiff, ExportType::Png, ExportType::Jpeg})
        {
            const std::string file = name + ("." + std::string(InfoOf(type).extensions[0]));
            ExportImage((std::filesystem::path(arguments[1]) / file).wstring(), type, image, &metadata, {});
        }
    }
}
