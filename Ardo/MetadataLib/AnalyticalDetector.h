#pragma once

#include "Ardo/MetadataLib/Detector.h"

#include <cstdint>

namespace Ardo::MetadataLib
{

/// State of the shutter in front of an analytical detector.
enum class AnalyticalDetectorShutterState : std::int32_t
{
    Unset = 0,   ///< Not given.
    Unknown = 1, ///< The hardware does not report it.
    Opening = 2,
    Closing = 3,
    Opened = 4,
    Closed = 5,
};

/// A spectrometer: counts X-rays or electrons by energy.
class KILN_EXPORT AnalyticalDetector : public Detector
{
public:
    /// The detector type is "AnalyticalDetector".
    AnalyticalDetector();
    ~AnalyticalDetector() override;
    AnalyticalDetector(const AnalyticalDetector&) = default;
    AnalyticalDetector(AnalyticalDetector&&) = default;
    AnalyticalDetector& operator=(const AnalyticalDetector&) = default;
    AnalyticalDetector& operator=(AnalyticalDetector&&) = default;

    /// Compares all fields.
    bool operator==(const AnalyticalDetector&) const = default;

    std::unique_ptr<Detector> Clone() const override;
    bool IsEqual(const Detector& other) const override;

    std::optional<double> MixContribution;  ///< Fraction of the mixed signal, 0 to 1.
    std::optional<double> ElevationAngle;   ///< Above the sample plane, in rad.
    std::optional<double> AzimuthAngle;     ///< About the column axis, in rad.
    std::optional<double> CollectionAngle;  ///< Solid angle, in sr.
    std::optional<double> Dispersion;       ///< In eV per channel.
    std::optional<double> PulseProcessTime; ///< In s.
    std::optional<double> RealTime;         ///< In s.
    std::optional<double> LiveTime;         ///< Real time without dead time, in s.
    std::optional<double> InputCountRate;   ///< In 1/s.
    std::optional<double> OutputCountRate;  ///< In 1/s.
    AnalyticalDetectorShutterState ShutterState = AnalyticalDetectorShutterState::Unset; ///< State of the shutter.
    std::optional<double> OffsetEnergy;      ///< Energy of channel 0, in eV.
    std::optional<double> ElectronicsNoise;  ///< In eV.
    std::optional<std::int32_t> BeginEnergy; ///< Lowest energy counted, in eV.
};

} // namespace Ardo::MetadataLib
