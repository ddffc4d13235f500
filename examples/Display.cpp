#include <Ardo/Imaging/DisplayBuffer.h>
#include <Ardo/Imaging/Histogram.h>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <memory>
#include <QImage>
#include <QPainter>
#include <vector>

using namespace Ardo::Imaging;

// A picture of 240 x 240 pixels of 16 bits as a camera delivers it: a dark offset, faint rings, one hot pixel.
const_raw_image MakeImage()
{
    constexpr std::uint32_t Side = 240;
    const auto samples = std::make_shared<std::vector<std::uint16_t>>(Side * Side);
    for (std::uint32_t i = 0; i < Side * Side; ++i)
    {
        const double radius = std::hypot(i % Side - 120.0, i / Side - 120.0);
        (*samples)[i] = static_cast<std::uint16_t>(1000 + 400 * std::exp(-radius / 60) * (1 + std::cos(radius / 4)));
    }
    (*samples)[Side * 30 + 200] = 65535;
    return {std::shared_ptr<const void>(samples, samples->data()), {Side, Side}, PixelKind::UInt16};
}

int main(int argc, char** argv)
{
    const const_raw_image image = MakeImage();
    const Histogram histogram(image);
    std::cout << "values " << histogram.Minimum() << " to " << histogram.Maximum() << ", mean " << std::fixed
              << std::setprecision(1) << histogram.Mean() << '\n';

    // A thousandth of the pixels at each end may be clipped, and shows it.
    const ValueRange range = histogram.AutomaticRange(0.1, 99.9);
    std::cout << "shown from " << range.low << " to " << range.high << '\n';
    DisplaySettings settings;
    settings.black = range.low;
    settings.white = range.high;
    settings.gamma = 1.6;
    settings.above = ColourTable::Colour{255, 0, 0};

    // One picture with the image in each table of the library.
    QImage all(4 * 240, 2 * 240, QImage::Format_RGB32);
    all.fill(Qt::white);
    QPainter painter(&all);
    DisplayBuffer buffer(image.Size(), DisplayFormat::Rgb32);
    int place = 0;
    for (const std::string_view name : ColourTable::Names())
    {
        settings.colours = ColourTable::Named(name);
        buffer.Update(image, DisplayMapping(image.Kind(), settings));
        // A QImage on the buffer's own pixels: nothing is copied.
        const QImage shown(buffer.Pixels(), 240, 240, static_cast<int>(buffer.Stride()), QImage::Format_RGB32);
        painter.drawImage(place % 4 * 240, place / 4 * 240, shown);
        std::cout << std::left << std::setw(9) << name << shown.pixelColor(95, 120).name().toStdString()
                  << " on a ring, " << shown.pixelColor(0, 0).name().toStdString() << " in the corner\n";
        ++place;
    }
    painter.end();
    return argc < 2 || all.save(argv[1]) ? 0 : 1;
}
