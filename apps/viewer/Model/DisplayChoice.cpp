#include "apps/viewer/Model/DisplayChoice.h"

#include <algorithm>
#include <cmath>

namespace Ardo::Kiln::Viewer
{

namespace
{

using Imaging::PixelKind;
using Imaging::ValueRange;

constexpr double MaxByte = 255.0;

bool HasBytes(PixelKind kind)
{
    return kind == PixelKind::UInt8 || IsColour(kind);
}

} // namespace

bool IsColour(PixelKind kind) noexcept
{
    return kind == PixelKind::Rgb8 || kind == PixelKind::Rgba8;
}

ValueRange RangeOf(const DisplayChoice& choice, PixelKind kind, const Imaging::Histogram& histogram)
{
    switch (choice.mode)
    {
    case RangeMode::Manual:
        return choice.manual;
    case RangeMode::Automatic:
        if (!IsColour(kind))
        {
            return histogram.AutomaticRange(choice.lowPercent, choice.highPercent);
        }
        break;
    case RangeMode::Whole:
        break;
    }
    return HasBytes(kind) ? ValueRange{0.0, MaxByte} : histogram.AutomaticRange(0.0, 100.0);
}

Imaging::DisplaySettings SettingsOf(const DisplayChoice& choice, ValueRange range)
{
    Imaging::DisplaySettings settings;
    settings.black = range.low;
    settings.white = range.high;
    settings.gamma = choice.gamma;
    settings.colours = Imaging::ColourTable::Named(choice.colours);
    if (choice.marksClipping)
    {
        settings.below = Imaging::ColourTable::Colour{40, 80, 255};
        settings.above = Imaging::ColourTable::Colour{255, 40, 40};
    }
    return settings;
}

ValueRange NearlyAllOf(PixelKind kind, const Imaging::Histogram& histogram)
{
    if (HasBytes(kind))
    {
        return {0.0, MaxByte};
    }
    constexpr double Space = 0.1; // on each side
    const ValueRange range = histogram.AutomaticRange(0.01, 99.99);
    const double space = Space * (range.high - range.low);
    return {range.low - space, range.high + space};
}

ValueRange AxisOf(ValueRange nearlyAll, ValueRange shown)
{
    const ValueRange axis{std::min({nearlyAll.low, shown.low, shown.high}),
                          std::max({nearlyAll.high, shown.low, shown.high})};
    if (!(axis.high > axis.low) || !std::isfinite(axis.high - axis.low))
    {
        const double high = axis.low + std::max(1.0, std::abs(axis.low));
        return std::isfinite(high) ? ValueRange{axis.low, high} : ValueRange{0.0, 1.0};
    }
    return axis;
}

} // namespace Ardo::Kiln::Viewer
