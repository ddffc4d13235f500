#include <Ardo/Kiln/Conversion/String.h>
#include <Ardo/Kiln/FileSystem/WidePath.h>
#include <Ardo/Kiln/ImageIO/DataBar.h>
#include <Ardo/Kiln/ImageIO/PlotFile.h>
#include <Ardo/Kiln/ImageIO/Presentation.h>
#include <cmath>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

using namespace Ardo;
using namespace Ardo::Kiln;

// 600 x 400 pixels of 2.5 nm, on which a lattice of bright dots lies on a dark ground.
Imaging::const_raw_image MakeImage()
{
    const auto samples = std::make_shared<std::vector<float>>(600 * 400);
    for (std::size_t i = 0; i < samples->size(); ++i)
    {
        const double x = static_cast<double>(i % 600);
        const double y = static_cast<double>(i / 600);
        (*samples)[i] = static_cast<float>(std::exp(2 * std::cos(x / 9 + y / 25) + 2 * std::cos(y / 9)));
    }
    return {std::shared_ptr<const void>(samples, samples->data()), {600, 400}, Imaging::PixelKind::Float32};
}

int main(int argc, char** argv)
{
    const Imaging::const_raw_image image = MakeImage();
    MetadataLib::Metadata metadata;
    metadata.BinaryResult.PixelSize = MetadataLib::PixelSizeRecord{{2.5e-9, "m"}, {2.5e-9, "m"}};
    metadata.BinaryResult.ImageSize = {600.0, 400.0};
    metadata.Optics.AccelerationVoltage = 300e3;
    metadata.Optics.NominalMagnification = 50e3;
    metadata.Optics.WorkingDistance = 4.5e-3;
    metadata.Optics.BeamCurrent = 1.2e-10;

    // What a file dialog offers.
    for (const ImageIO::ExportTypeInfo& info : ImageIO::ExportTypes())
    {
        std::cout << ImageIO::FilterText(info.type) << (info.keepsDepth ? ": samples" : ": picture")
                  << (info.keepsRecord ? " and record" : "") << '\n';
    }

    ImageIO::PresentationSettings settings;
    settings.size = ImageIO::ExportSize::Parse("800x800");
    settings.display.white = 40;
    settings.display.colours = Imaging::ColourTable::Named("inferno");
    settings.hasScaleBar = true;
    settings.dataBar = ImageIO::MakeDataBar(metadata, ImageIO::UsualDataBar());
    const auto picture = ImageIO::MakePresentation(image, &*metadata.BinaryResult.PixelSize, settings);
    std::cout << "picture of " << picture.Size().width << " x " << picture.Size().height << " pixels\n";
    if (argc == 2)
    {
        ImageIO::ExportImage(FileSystem::ToWide(argv[1]), ImageIO::ExportType::Png, image, &metadata, settings);
    }

    const auto bar = ImageIO::MakeScaleBar(metadata.BinaryResult.PixelSize->X, 600 / 4.0);
    std::cout << "scale bar of " << Conversion::String::ToUtf8(bar->label) << ", " << bar->pixels << " pixels\n";

    // A line profile. A spreadsheet opens its text.
    ImageIO::Plot plot{{"Position", "nm"}, {}, {{{"Intensity", "counts"}, {}}}};
    for (std::size_t x = 0; x < 3; ++x)
    {
        plot.positions.push_back(2.5 * static_cast<double>(x));
        plot.series[0].values.push_back(static_cast<const float*>(image.Row(0))[x]);
    }
    std::string text = ImageIO::PlotText(plot, {';', true});
    std::erase(text, '\r'); // for the terminal
    std::cout << text;
}
