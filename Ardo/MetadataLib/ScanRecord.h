#pragma once

#include "Ardo/MetadataLib/Rectangle.h"
#include "Ardo/MetadataLib/Size2D.h"

#include <cstdint>
#include <optional>

namespace Ardo::MetadataLib
{

/// The scan of the beam.
struct ScanRecord
{
    Size2D<std::int32_t> ScanSize;                    ///< In pixels.
    std::optional<double> DwellTime;                  ///< Per pixel, in s.
    std::optional<Rectangle<double>> ScanArea;        ///< Fraction of the full field of view; 0 to 1 is all.
    std::optional<bool> MainsLockOn;                  ///< Lines start at a fixed phase of the mains.
    std::optional<double> LineTime;                   ///< Of a line with its flyback, in s.
    std::optional<std::int32_t> LineIntegrationCount; ///< How often each line is scanned.
    std::optional<std::int32_t> LineInterlacing;      ///< Distance of successively scanned lines, in lines.
    std::optional<double> FrameTime;                  ///< Of a frame, in s.
    std::optional<double> AcquisitionTime;            ///< Of all frames, in s.
    std::optional<double> ScanRotation;               ///< In rad.

    bool operator==(const ScanRecord&) const = default;
};

} // namespace Ardo::MetadataLib
