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

ValueRange AxisOf(PixelKind kind, const Imaging::Histogram& histogram, ValueRange shown)
{
    ValueRange axis = HasBytes(kind) ? ValueRange{0.0, MaxByte} : histogram.AutomaticRange(0.01, 99.99);
    if (!HasBytes(kind))
    {
        constexpr double Space = 0.1; // of the axis, on each side
        const double space = Space * (axis.high - axis.low);
        axis = {axis.low - space, axis.high + space};
    }
    axis.low = std::min({axis.low, shown.low, shown.high});
    axis.high = std::max({axis.high, shown.low, shown.high});
    if (!(axis.high > axis.low) || !std::isfinite(axis.high - axis.low))
    {
        axis = {axis.low, axis.low + std::max(1.0, std::abs(axis.low))};
    }
    return std::isfinite(axis.high) ? axis : ValueRange{0.0, 1.0};
}

} // namespace Ardo::Kiln::Viewer
