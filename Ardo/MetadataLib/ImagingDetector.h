#pragma once

#include "Ardo/MetadataLib/Detector.h"
#include "Ardo/MetadataLib/Rectangle.h"
#include "Ardo/MetadataLib/Vector.h"

#include <cstdint>
#include <vector>

namespace Ardo::MetadataLib
{

/// Corrections of dark current and gain that have been applied.
enum class ImagingDetectorDarkGainCorrectionType : std::int32_t
{
    Unset = 0,    ///< Not given.
    None = 1,     ///< No correction.
    Dark = 2,     ///< Dark current only.
    DarkGain = 3, ///< Dark current and gain.
};

/// A shutter used during the exposure. Both texts are UTF-8.
struct Shutter
{
    std::string Type;     ///< For example "Electrostatic".
    std::string Position; ///< For example "PreSpecimen".

    bool operator==(const Shutter&) const = default;
};

/// A camera.
class KILN_EXPORT ImagingDetector : public Detector
{
public:
    /// The detector type is "ImagingDetector".
    ImagingDetector();
    ~ImagingDetector() override;
    ImagingDetector(const ImagingDetector&) = default;
    ImagingDetector(ImagingDetector&&) = default;
    ImagingDetector& operator=(const ImagingDetector&) = default;
    ImagingDetector& operator=(ImagingDetector&&) = default;

    /// Compares all fields.
    bool operator==(const ImagingDetector&) const = default;

    std::unique_ptr<Detector> Clone() const override;
    bool IsEqual(const Detector& other) const override;

    std::optional<std::string> ExposureMode;    ///< For example "Simultaneous".
    std::optional<double> Gain;                 ///< Without unit.
    Vector2<std::int32_t> Binning{1, 1};        ///< Sensor pixels per image pixel, in x and y.
    Rectangle<std::int32_t> ReadoutArea;        ///< In sensor pixels.
    double ExposureTime = 0.0;                  ///< In s.
    std::optional<double> ExposureTime2;        ///< Of the second exposure, in s.
    std::optional<double> PreExposureTime;      ///< In s.
    std::optional<double> PreExposurePauseTime; ///< In s.
    ImagingDetectorDarkGainCorrectionType DarkGainCorrectionType =
        ImagingDetectorDarkGainCorrectionType::Unset;     ///< Applied corrections.
    std::optional<Vector2<double>> ScintillatorPixelSize; ///< In m.
    std::optional<double> PostMagnification;              ///< Between scintillator and sensor, without unit.
    std::vector<Shutter> Shutters;                        ///< In the order in which the beam passes them.
};

} // namespace Ardo::MetadataLib
