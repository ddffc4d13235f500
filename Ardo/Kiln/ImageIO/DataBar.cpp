#include "Ardo/Kiln/ImageIO/DataBar.h"

#include "Ardo/Kiln/Formatting/Units.h"
#include "Ardo/MetadataLib/ImagingDetector.h"

#include <array>
#include <limits>
#include <numbers>
#include <optional>

namespace Ardo::Kiln::ImageIO
{

namespace
{

using Formatting::Quantity;
using MetadataLib::Metadata;

std::optional<double> ExposureTime(const Metadata& metadata)
{
    for (const auto& detector : metadata.Detectors)
    {
        if (const auto* const imaging = dynamic_cast<const MetadataLib::ImagingDetector*>(detector.get()))
        {
            return imaging->ExposureTime;
        }
    }
    return std::nullopt;
}

/// The width of a pixel if its unit is that of \p quantity.
std::optional<double> PixelWidth(const Metadata& metadata, Quantity quantity)
{
    const auto& size = metadata.BinaryResult.PixelSize;
    const std::wstring_view unit = Formatting::FormatOf(quantity).unit->base;
    const std::string text = size ? size->X.Unit.value_or("") : "";
    const bool isReciprocal = text == "m^-1" || text == "1/m";
    const bool isIt =
        unit == Formatting::Units::PerMetre ? isReciprocal : std::wstring(text.begin(), text.end()) == unit;
    return size && isIt ? std::optional(InBaseUnit(size->X)) : std::nullopt;
}

std::wstring FieldOfView(const Metadata& metadata)
{
    const auto& result = metadata.BinaryResult;
    const auto width = PixelWidth(metadata, Quantity::PixelSize);
    const bool isKnown = width && result.ImageSize && result.PixelSize->Y.Unit == result.PixelSize->X.Unit;
    constexpr double NotGiven = std::numeric_limits<double>::quiet_NaN();
    return FormatQuantityArea(isKnown ? *width * result.ImageSize->width : NotGiven,
                              isKnown ? InBaseUnit(result.PixelSize->Y) * result.ImageSize->height : NotGiven,
                              Quantity::FieldOfView);
}

constexpr double ElementaryCharge = 1.602176634e-19; // in C

/// Electrons per m² on the sample during one image.
struct Exposure
{
    std::optional<double> dose;
    std::optional<double> doseRate; ///< Per s.
};

/// \param area in m².
/// \param time how long the beam was on it, in s.
/// \returns electrons per m²; nothing unless all are positive.
std::optional<double> DoseOf(double current, double time, double area)
{
    return current > 0.0 && time > 0.0 && area > 0.0 ? std::optional(current * time / (ElementaryCharge * area))
                                                     : std::nullopt;
}

Exposure ExposureOf(const Metadata& metadata)
{
    const auto& optics = metadata.Optics;
    const auto& scan = metadata.ScanSettings;
    const double current = optics.BeamCurrent.value_or(0.0);
    if (optics.OperatingMode == MetadataLib::OpticsOperatingMode::STEM || scan.DwellTime)
    {
        // The beam is on the area of each pixel for the dwell time, once for each time that a line is scanned.
        const auto width = PixelWidth(metadata, Quantity::PixelSize);
        const double height = width ? InBaseUnit(metadata.BinaryResult.PixelSize->Y) : 0.0;
        const double time = scan.DwellTime.value_or(0.0) * scan.LineIntegrationCount.value_or(1);
        Exposure exposure{DoseOf(current, time, width.value_or(0.0) * height), std::nullopt};
        if (exposure.dose && scan.FrameTime.value_or(0.0) > 0.0)
        {
            exposure.doseRate = *exposure.dose / *scan.FrameTime;
        }
        return exposure;
    }
    const double diameter = optics.BeamDiameter.value_or(0.0);
    const double area = std::numbers::pi / 4.0 * diameter * diameter;
    return {DoseOf(current, ExposureTime(metadata).value_or(0.0), area), DoseOf(current, 1.0, area)};
}

/// "x 12.5 µm, y -3 µm, z 0 nm".
std::wstring StagePosition(const Metadata& metadata)
{
    const auto& position = metadata.StageSettings.StagePosition;
    const auto axis = [](double value) { return FormatQuantity(value, Quantity::StagePosition); };
    return L"x " + axis(position.X) + L", y " + axis(position.Y) + L", z " + axis(position.Z);
}

std::optional<double> ValueOf(const Metadata& metadata, Quantity quantity)
{
    const auto& optics = metadata.Optics;
    switch (quantity)
    {
    case Quantity::Magnification:
        return optics.NominalMagnification;
    case Quantity::AccelerationVoltage:
        return optics.AccelerationVoltage;
    case Quantity::BeamCurrent:
        return optics.BeamCurrent;
    case Quantity::ScreenCurrent:
        return optics.ScreenCurrent;
    case Quantity::EmissionCurrent:
        return optics.EmissionCurrent;
    case Quantity::Defocus:
        return optics.Defocus;
    case Quantity::Focus:
        return optics.Focus;
    case Quantity::WorkingDistance:
        return optics.WorkingDistance;
    case Quantity::CameraLength:
        return optics.CameraLength;
    case Quantity::PixelSize:
    case Quantity::ReciprocalPixelSize:
    case Quantity::AngularPixelSize:
        return PixelWidth(metadata, quantity);
    case Quantity::SpotSize:
        return optics.SpotSize;
    case Quantity::SpotIndex:
        return optics.SpotIndex;
    case Quantity::ConvergenceAngle:
    case Quantity::ConvergenceAngleInDegrees:
        return optics.BeamConvergence;
    case Quantity::TiltAngle:
    case Quantity::TiltAngleInMilliradians:
        return metadata.StageSettings.StagePosition.Tilt.Alpha;
    case Quantity::ExposureTime:
        return ExposureTime(metadata);
    case Quantity::DwellTime:
        return metadata.ScanSettings.DwellTime;
    case Quantity::FrameTime:
        return metadata.ScanSettings.FrameTime;
    case Quantity::FrameRate:
        return metadata.ScanSettings.FrameTime ? std::optional(1.0 / *metadata.ScanSettings.FrameTime) : std::nullopt;
    case Quantity::Pressure:
    case Quantity::PressureInMillibar:
        return metadata.VacuumProperties.SamplePressure;
    case Quantity::Temperature:
    case Quantity::TemperatureInCelsius:
        return metadata.StageSettings.HolderTemperature;
    case Quantity::EnergyLoss:
        return metadata.EnergyFilterSettings.EnergyShift;
    case Quantity::SlitWidth:
        return metadata.EnergyFilterSettings.EnergySelectionSlitWidth;
    case Quantity::Dose:
    case Quantity::DosePerSquareNanometre:
        return ExposureOf(metadata).dose;
    case Quantity::DoseRate:
    case Quantity::DoseRatePerSquareNanometre:
        return ExposureOf(metadata).doseRate;
    default: // those of several numbers are elsewhere
        return std::nullopt;
    }
}

} // namespace

std::span<const Quantity> UsualDataBar() noexcept
{
    static constexpr std::array Usual = {Quantity::AccelerationVoltage, Quantity::Magnification,
                                         Quantity::WorkingDistance,     Quantity::BeamCurrent,
                                         Quantity::FieldOfView,         Quantity::PixelSize};
    return Usual;
}

std::wstring QuantityOfRecord(const Metadata& metadata, Quantity quantity)
{
    if (quantity == Quantity::FieldOfView)
    {
        return FieldOfView(metadata);
    }
    if (quantity == Quantity::StagePosition)
    {
        return StagePosition(metadata);
    }
    if (quantity == Quantity::ImageSize)
    {
        const auto& size = metadata.BinaryResult.ImageSize;
        return FormatQuantityArea(size ? std::optional(size->width) : std::nullopt,
                                  size ? std::optional(size->height) : std::nullopt, quantity);
    }
    return FormatQuantity(ValueOf(metadata, quantity), quantity);
}

std::vector<DataBarCell> MakeDataBar(const Metadata& metadata, std::span<const Quantity> quantities)
{
    std::vector<DataBarCell> cells;
    for (const Quantity quantity : quantities)
    {
        cells.push_back({std::wstring(Formatting::FormatOf(quantity).name), QuantityOfRecord(metadata, quantity)});
    }
    return cells;
}

} // namespace Ardo::Kiln::ImageIO
