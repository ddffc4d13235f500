#pragma once

#include "Ardo/MetadataLib/Aperture.h"
#include "Ardo/MetadataLib/Vector.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Ardo::MetadataLib
{

/// Kind of illumination.
enum class OpticsOperatingMode : std::int32_t
{
    Unset = 0, ///< Not given.
    TEM = 1,   ///< A wide, parallel beam.
    STEM = 2,  ///< A focused beam that is scanned.
};

/// What the projector lenses project onto the camera or the screen.
enum class OpticsProjectorMode : std::int32_t
{
    Unset = 0,       ///< Not given.
    Diffraction = 1, ///< The diffraction pattern.
    Imaging = 2,     ///< The image.
};

/// Size of the probe.
enum class OpticsProbeMode : std::int32_t
{
    Unset = 0, ///< Not given.
    Nanoprobe = 1,
    Microprobe = 2,
};

/// Settings of gun, lenses, deflectors and stigmators. All texts are UTF-8.
///
/// Normalized values and lens intensities are fractions of the full range, from 0 to 1. Raw values are the settings of
/// the electronics, without unit.
struct OpticsRecord
{
    std::optional<double> GunLensSetting;                           ///< Number of the gun lens setting.
    std::optional<double> WehneltBias;                              ///< In V.
    std::optional<double> ExtractorVoltage;                         ///< In V.
    std::optional<Vector2<double>> GunShiftRaw;                     ///< Raw.
    std::optional<Vector2<double>> GunTiltRaw;                      ///< Raw.
    std::optional<double> AccelerationVoltage;                      ///< In V.
    std::optional<double> DecelerationVoltage;                      ///< In V.
    std::optional<std::int32_t> SpotIndex;                          ///< Number of the spot size setting.
    std::optional<double> SpotSize;                                 ///< In m.
    std::optional<double> C1LensIntensity;                          ///< First condenser lens.
    std::optional<double> C2LensIntensity;                          ///< Second condenser lens.
    std::optional<double> C3LensIntensity;                          ///< Third condenser lens.
    std::optional<double> ObjectiveLensIntensity;                   ///< Fraction of the full range.
    std::optional<double> IntermediateLensIntensity;                ///< Fraction of the full range.
    std::optional<double> DiffractionLensIntensity;                 ///< Fraction of the full range.
    std::optional<double> Projector1LensIntensity;                  ///< Fraction of the full range.
    std::optional<double> Projector2LensIntensity;                  ///< Fraction of the full range.
    std::optional<double> LorentzLensIntensity;                     ///< Fraction of the full range.
    std::optional<double> MiniCondenserLensIntensity;               ///< Fraction of the full range.
    std::optional<double> EmissionCurrent;                          ///< In A.
    std::optional<double> BeamCurrent;                              ///< Measured, in A.
    std::optional<double> BeamCurrentSelected;                      ///< Requested, in A.
    std::optional<double> BeamDiameter;                             ///< On the sample, in m.
    std::optional<double> BeamConvergence;                          ///< Half angle, in rad.
    std::optional<double> ScreenCurrent;                            ///< In A.
    std::optional<double> LastMeasuredScreenCurrent;                ///< In A.
    std::optional<bool> IlluminationOn;                             ///< The beam reaches the sample.
    std::optional<std::string> IlluminationType;                    ///< For example "Parallel".
    std::optional<double> IlluminationIntensityNormalized;          ///< Fraction of the full range.
    std::optional<Vector2<double>> FullScanFieldOfView;             ///< Of the whole scan range, in m.
    std::optional<Vector2<double>> ScanFieldOfView;                 ///< Of this scan, in m.
    std::optional<double> WorkingDistance;                          ///< In m.
    std::optional<double> EucentricWorkingDistance;                 ///< In m.
    std::optional<Vector2<double>> BeamTilt;                        ///< In rad.
    std::optional<Vector2<double>> ImageShift;                      ///< In m.
    std::optional<Vector2<double>> BeamShift;                       ///< In m.
    std::optional<bool> SampleTiltCorrectionOn;                     ///< The scan is stretched to correct for the tilt.
    std::optional<double> SamplePreTiltAngle;                       ///< Of the holder, in rad.
    std::optional<Vector2<double>> StigmatorRaw;                    ///< Raw.
    std::optional<Vector2<double>> GunStigmatorRaw;                 ///< Raw.
    std::optional<Vector2<double>> CondenserStigmatorRaw;           ///< Raw.
    std::optional<Vector2<double>> ObjectiveStigmatorRaw;           ///< Raw.
    std::optional<Vector2<double>> DiffractionStigmatorRaw;         ///< Raw.
    std::optional<double> SphericalAberration;                      ///< Cs, in m.
    std::optional<double> Focus;                                    ///< In m.
    std::optional<double> STEMFocus;                                ///< In m.
    std::optional<double> Defocus;                                  ///< In m, negative for underfocus.
    std::optional<double> NominalMagnification;                     ///< Without unit, 1 is life size.
    OpticsOperatingMode OperatingMode = OpticsOperatingMode::Unset; ///< Kind of illumination.
    std::string TEMOperatingSubMode;                                ///< For example "BrightField"; empty for none.
    std::optional<std::string> OpticalMode;                         ///< Name of the optical mode.
    OpticsProjectorMode ProjectorMode = OpticsProjectorMode::Unset; ///< Diffraction pattern or image.
    std::optional<bool> EFTEMOn;                                    ///< The energy filter is in use.
    std::string ObjectiveLensMode;                                  ///< For example "HM"; empty for none.
    std::string IlluminationMode;                                   ///< For example "Parallel"; empty for none.
    OpticsProbeMode ProbeMode = OpticsProbeMode::Unset;             ///< Size of the probe.
    std::optional<double> CameraLength;                             ///< In m.
    std::optional<double> DiffractionFocus;                         ///< In m.
    std::optional<bool> CrossOverOn;                                ///< The beam has a cross-over.
    std::optional<double> FibL0Voltage;                             ///< Ion column lens 0, in V.
    std::optional<double> FibL1Voltage;                             ///< Ion column lens 1, in V.
    std::optional<double> FibL2Voltage;                             ///< Ion column lens 2, in V.
    std::optional<Vector2<double>> FibSteering;                     ///< Ion column steering, in V.
    std::optional<double> GunFilamentSetting;                       ///< Number of the filament setting.
    std::string HighMagnificationMode;                              ///< For example "SA"; empty for none.
    std::vector<Aperture> Apertures;                                ///< In column order.

    bool operator==(const OpticsRecord&) const = default;
};

} // namespace Ardo::MetadataLib
