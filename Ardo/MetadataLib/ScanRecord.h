#pragma once

#include "Ardo/MetadataLib/Rectangle.h"
#include "Ardo/MetadataLib/Size2D.h"

#include <cstdint>
#include <optional>

namespace Ardo::MetadataLib
{

/// How the beam was scanned.
struct ScanRecord
{
    Size2D<std::int32_t> ScanSize;                    ///< In pixels.
    std::optional<double> DwellTime;                  ///< On a pixel, in s.
    std::optional<Rectangle<double>> ScanArea;        ///< Part of the full field of view; 0 to 1 is all of it.
    std::optional<bool> MainsLockOn;                  ///< Lines start with the phase of the mains.
    std::optional<double> LineTime;                   ///< Of a line with its way back, in s.
    std::optional<std::int32_t> LineIntegrationCount; ///< Times that each line is scanned.
    std::optional<std::int32_t> LineInterlacing;      ///< Distance of lines scanned one after another.
    std::optional<double> FrameTime;                  ///< Of a frame, in s.
    std::optional<double> AcquisitionTime;            ///< Of all frames, in s.
    std::optional<double> ScanRotation;               ///< In rad.

    bool operator==(const ScanRecord&) const = default;
};

} // namespace Ardo::MetadataLib
