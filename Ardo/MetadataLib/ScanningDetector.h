#pragma once

#include "Ardo/MetadataLib/Detector.h"
#include "Ardo/MetadataLib/Range.h"

namespace Ardo::MetadataLib
{

/// A detector whose signal is sampled while the beam is scanned.
class KILN_EXPORT ScanningDetector : public Detector
{
public:
    /// The detector type is "ScanningDetector".
    ScanningDetector();
    ~ScanningDetector() override;
    ScanningDetector(const ScanningDetector&) = default;
    ScanningDetector(ScanningDetector&&) = default;
    ScanningDetector& operator=(const ScanningDetector&) = default;
    ScanningDetector& operator=(ScanningDetector&&) = default;

    /// Compares all fields.
    bool operator==(const ScanningDetector&) const = default;

    std::unique_ptr<Detector> Clone() const override;
    bool IsEqual(const Detector& other) const override;

    std::optional<double> MixContribution;             ///< Fraction of the mixed signal, 0 to 1.
    std::optional<std::string> Signal;                 ///< For example "BSE".
    std::optional<std::string> Segments;               ///< For example "A+B".
    std::optional<double> Gain;                        ///< Without unit.
    std::optional<double> Offset;                      ///< Without unit.
    std::optional<double> EnhancedGain;                ///< Without unit.
    std::optional<double> ContrastNormalized;          ///< 0 to 1.
    std::optional<double> BrightnessNormalized;        ///< 0 to 1.
    std::optional<double> GridVoltage;                 ///< In V.
    std::optional<double> SuctionTubeVoltage;          ///< In V.
    std::optional<double> FrontEndVoltage;             ///< In V.
    std::optional<double> ConvertorElectrodeVoltage;   ///< In V.
    std::optional<double> ScintillatorVoltage;         ///< In V.
    std::optional<Range<double>> CollectionAngleRange; ///< Half angles, in rad.
};

} // namespace Ardo::MetadataLib
