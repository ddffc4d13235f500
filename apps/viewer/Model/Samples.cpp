#include "apps/viewer/Model/Samples.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace Ardo::Kiln::Viewer
{

namespace
{

using Imaging::const_raw_image;
using Imaging::PixelKind;

template <typename Sample>
std::vector<double> Read(const unsigned char* pixel, std::size_t count)
{
    std::vector<double> samples;
    for (std::size_t i = 0; i < count; ++i)
    {
        Sample sample;
        std::memcpy(&sample, pixel + i * sizeof sample, sizeof sample);
        samples.push_back(static_cast<double>(sample));
    }
    return samples;
}

/// The interpolated samples at a position in pixels.
std::vector<double> Interpolated(const const_raw_image& image, const QPointF& position)
{
    const auto [width, height] = image.Size();
    const double x = std::clamp(position.x() - 0.5, 0.0, width - 1.0);
    const double y = std::clamp(position.y() - 0.5, 0.0, height - 1.0);
    const auto left = static_cast<std::uint32_t>(x);
    const auto top = static_cast<std::uint32_t>(y);
    const std::uint32_t right = std::min(left + 1, width - 1);
    const std::uint32_t bottom = std::min(top + 1, height - 1);
    const std::array corners = {SamplesAt(image, left, top), SamplesAt(image, right, top),
                                SamplesAt(image, left, bottom), SamplesAt(image, right, bottom)};
    std::vector<double> result(corners[0].size());
    for (std::size_t i = 0; i < result.size(); ++i)
    {
        const double upper = std::lerp(corners[0][i], corners[1][i], x - left);
        const double lower = std::lerp(corners[2][i], corners[3][i], x - left);
        result[i] = std::lerp(upper, lower, y - top);
    }
    return result;
}

} // namespace

std::vector<double> SamplesAt(const const_raw_image& image, std::uint32_t x, std::uint32_t y)
{
    const auto* const pixel =
        static_cast<const unsigned char*>(image.Row(y)) + Imaging::BytesPerPixel(image.Kind()) * x;
    switch (image.Kind())
    {
    case PixelKind::UInt16:
        return Read<std::uint16_t>(pixel, 1);
    case PixelKind::Float32:
        return Read<float>(pixel, 1);
    case PixelKind::Rgb8:
        return Read<unsigned char>(pixel, 3);
    case PixelKind::Rgba8:
        return Read<unsigned char>(pixel, 4);
    case PixelKind::UInt8:
        break;
    }
    return Read<unsigned char>(pixel, 1);
}

ImageIO::Plot MakeLineProfile(const const_raw_image& image, const QLineF& line, const Calibration& calibration)
{
    constexpr std::array Colours = {"Red", "Green", "Blue"};
    constexpr std::size_t MaxPoints = 100'000;
    const std::size_t steps = std::clamp<std::size_t>(static_cast<std::size_t>(std::ceil(line.length())), 1, MaxPoints);
    ImageIO::Plot plot;
    plot.axis = {"Position", calibration.LengthUnit()};
    const bool isColour = SamplesAt(image, 0, 0).size() > 1;
    for (std::size_t series = 0; series < (isColour ? Colours.size() : 1); ++series)
    {
        plot.series.push_back({{isColour ? Colours[series] : "Intensity", calibration.ValueUnit()}, {}});
    }
    const double length = calibration.Length(line);
    for (std::size_t i = 0; i <= steps; ++i)
    {
        const double part = static_cast<double>(i) / static_cast<double>(steps);
        plot.positions.push_back(part * length);
        const std::vector<double> samples = Interpolated(image, line.pointAt(part));
        for (std::size_t series = 0; series < plot.series.size(); ++series)
        {
            plot.series[series].values.push_back(calibration.Value(samples[series]));
        }
    }
    return plot;
}

} // namespace Ardo::Kiln::Viewer
