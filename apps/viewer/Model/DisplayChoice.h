#pragma once

#include "Ardo/Imaging/DisplayMapping.h"
#include "Ardo/Imaging/Histogram.h"

#include <string>

namespace Ardo::Kiln::Viewer
{

/// Where the range of a display comes from.
enum class RangeMode
{
    Automatic, ///< Percentiles of the values. Colours are shown as they are.
    Whole,     ///< All values that occur; of 8 bits 0 to 255.
    Manual,    ///< A person has set it.
};

/// What a person has chosen for the display of an image. A value.
struct DisplayChoice
{
    RangeMode mode = RangeMode::Automatic;
    double lowPercent = 0.1;      ///< Of the values that may be darker than black; 0 to 100.
    double highPercent = 99.9;    ///< What is above may be brighter than white; not below lowPercent.
    Imaging::ValueRange manual;   ///< Of the mode Manual, in the unit of the samples.
    double gamma = 1.0;           ///< See Imaging::DisplaySettings.
    std::string colours = "grey"; ///< A name that Imaging::ColourTable::Named() takes.
    bool marksClipping = false;   ///< Values outside the range are shown in blue and red.

    friend bool operator==(const DisplayChoice&, const DisplayChoice&) = default;
};

/// Whether pixels of \p kind have several samples.
bool IsColour(Imaging::PixelKind kind) noexcept;

/// The range that \p choice means for an image.
Imaging::ValueRange RangeOf(const DisplayChoice& choice, Imaging::PixelKind kind, const Imaging::Histogram& histogram);

/// The settings of the display.
Imaging::DisplaySettings SettingsOf(const DisplayChoice& choice, Imaging::ValueRange range);

/// What nearly all values use, with some space around. A few hot pixels do not stretch it.
Imaging::ValueRange NearlyAllOf(Imaging::PixelKind kind, const Imaging::Histogram& histogram);

/// The range of values for a diagram of the histogram: \p nearlyAll and what is \p shown.
Imaging::ValueRange AxisOf(Imaging::ValueRange nearlyAll, Imaging::ValueRange shown);

} // namespace Ardo::Kiln::Viewer
