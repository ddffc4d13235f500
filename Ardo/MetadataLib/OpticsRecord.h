#pragma once

#include "Ardo/MetadataLib/Aperture.h"
#include "Ardo/MetadataLib/Vector.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Ardo::MetadataLib
{

/// How the beam meets the sample.
enum class OpticsOperatingMode : std::int32_t
{
    Unset = 0, ///< Not given.
    TEM = 1,   ///< Wide, parallel beam.
    STEM = 2,  ///< Scanned, focused beam.
};

/// What the projector lenses show.
enum class OpticsProjectorMode : std::int32_t
{
    Unset = 0,       ///< Not given.
    Diffraction = 1, ///< The diffraction pattern.
    Imaging = 2,     ///< The image.
};

/// How narrow the illumination is.
enum class OpticsProbeMode : std::int32_t
{
    Unset = 0, ///< Not given.
    Nanoprobe = 1,
    Microprobe = 2,
};

/// Settings of gun, lenses, deflectors and stigmators. "Normalized" and lens intensities are parts of the full range
/// (1 is full); raw values are what the electronics are set to, without unit. All texts are UTF-8.
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
    std::optional<double> ObjectiveLensIntensity;                   ///< Part of the full range.
    std::optional<double> IntermediateLensIntensity;                ///< Part of the full range.
    std::optional<double> DiffractionLensIntensity;                 ///< Part of the full range.
    std::optional<double> Projector1LensIntensity;                  ///< Part of the full range.
    std::optional<double> Projector2LensIntensity;                  ///< Part of the full range.
    std::optional<double> LorentzLensIntensity;                     ///< Part of the full range.
    std::optional<double> MiniCondenserLensIntensity;               ///< Part of the full range.
    std::optional<double> EmissionCurrent;                          ///< In A.
    std::optional<double> BeamCurrent;                              ///< Measured, in A.
    std::optional<double> BeamCurrentSelected;                      ///< Asked for, in A.
    std::optional<double> BeamDiameter;                             ///< On the sample, in m.
    std::optional<double> BeamConvergence;                          ///< Half angle, in rad.
    std::optional<double> ScreenCurrent;                            ///< In A.
    std::optional<double> LastMeasuredScreenCurrent;                ///< In A.
    std::optional<bool> IlluminationOn;                             ///< The beam reaches the sample.
    std::optional<std::string> IlluminationType;                    ///< For example "Parallel".
    std::optional<double> IlluminationIntensityNormalized;          ///< Part of the full range.
    std::optional<Vector2<double>> FullScanFieldOfView;             ///< Of the whole scan range, in m.
    std::optional<Vector2<double>> ScanFieldOfView;                 ///< Of this scan, in m.
    std::optional<double> WorkingDistance;                          ///< In m.
    std::optional<double> EucentricWorkingDistance;                 ///< In m.
    std::optional<Vector2<double>> BeamTilt;                        ///< In rad.
    std::optional<Vector2<double>> ImageShift;                      ///< In m.
    std::optional<Vector2<double>> BeamShift;                       ///< In m.
    std::optional<bool> SampleTiltCorrectionOn;                     ///< The scan is stretched for a tilted sample.
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
    OpticsOperatingMode OperatingMode = OpticsOperatingMode::Unset; ///< Wide or scanned beam.
    std::string TEMOperatingSubMode;                                ///< For example "BrightField"; empty for none.
    std::optional<std::string> OpticalMode;                         ///< Name of the optical mode.
    OpticsProjectorMode ProjectorMode = OpticsProjectorMode::Unset; ///< What the projector lenses show.
    std::optional<bool> EFTEMOn;                                    ///< The energy filter is in use.
    std::string ObjectiveLensMode;                                  ///< For example "HM"; empty for none.
    std::string IlluminationMode;                                   ///< For example "Parallel"; empty for none.
    OpticsProbeMode ProbeMode = OpticsProbeMode::Unset;             ///< How narrow the illumination is.
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
