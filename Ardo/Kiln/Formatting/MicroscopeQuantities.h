#pragma once

#include "Ardo/Kiln/Formatting/QuantityFormat.h"
#include "Ardo/KilnExport.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace Ardo::Kiln::Formatting
{

// One function for each quantity of a microscope, and the way back for those that a person types. QuantityFormats() has
// the units, digits and prefixes; docs/formatting.md shows them. Any thread may call the functions.
//
// Arguments and results are in the base unit that the comment names. NaN or empty: not given, the text is "-". The
// functions "Format" do not throw but for lack of memory. The functions "Parse" throw like ParseQuantity.
//
//     FormatDefocus(-1.5e-6)                               // "-1.5 µm"
//     FormatTiltAngle(0.4363)                              // "24.998°"
//     FormatDose(4.52e21, DoseArea::SquareNanometre)       // "4.52 ke/nm²"
//     ParseCameraLength(L"115 mm")                         // 0.115

/// The unit in which an angle is shown.
enum class AngleUnit : std::int32_t
{
    Milliradian, ///< "mrad"
    Degree,      ///< "°"
};

/// The area of the unit in which a dose is shown.
enum class DoseArea : std::int32_t
{
    SquareAngstrom,  ///< "e/Å²"
    SquareNanometre, ///< "e/nm²"
};

/// The unit in which a pressure is shown.
enum class PressureUnit : std::int32_t
{
    Pascal,   ///< "Pa" with a prefix.
    Millibar, ///< "mbar" with an exponent.
};

/// The unit in which a temperature is shown.
enum class TemperatureUnit : std::int32_t
{
    Kelvin,  ///< "K"
    Celsius, ///< "°C"
};

/// The space whose distances an image shows.
enum class PixelSpace : std::int32_t
{
    Real,       ///< Lengths on the sample, in m.
    Reciprocal, ///< Spatial frequencies of a diffraction pattern, in m^-1.
    Angle,      ///< Angles of a diffraction pattern, in rad.
};

/// Magnification, 1 is life size: "105 kx".
inline std::wstring FormatMagnification(std::optional<double> value)
{
    return FormatQuantity(value, Quantity::Magnification);
}

/// The way back; the "x" may be absent.
inline double ParseMagnification(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::Magnification);
}

/// Acceleration voltage in V: "300 kV".
inline std::wstring FormatAccelerationVoltage(std::optional<double> volts)
{
    return FormatQuantity(volts, Quantity::AccelerationVoltage);
}

/// The way back, in V.
inline double ParseAccelerationVoltage(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::AccelerationVoltage);
}

/// Current of the beam in A: "25 pA".
inline std::wstring FormatBeamCurrent(std::optional<double> amperes)
{
    return FormatQuantity(amperes, Quantity::BeamCurrent);
}

/// The way back, in A.
inline double ParseBeamCurrent(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::BeamCurrent);
}

/// Current measured on the screen in A: "1.52 nA".
inline std::wstring FormatScreenCurrent(std::optional<double> amperes)
{
    return FormatQuantity(amperes, Quantity::ScreenCurrent);
}

/// Emission current of the gun in A: "180 µA".
inline std::wstring FormatEmissionCurrent(std::optional<double> amperes)
{
    return FormatQuantity(amperes, Quantity::EmissionCurrent);
}

/// Defocus in m, negative for underfocus: "-1.5 µm", "+250 nm".
inline std::wstring FormatDefocus(std::optional<double> metres)
{
    return FormatQuantity(metres, Quantity::Defocus);
}

/// The way back, in m.
inline double ParseDefocus(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::Defocus);
}

/// Focus in m: "+12.345 µm".
inline std::wstring FormatFocus(std::optional<double> metres)
{
    return FormatQuantity(metres, Quantity::Focus);
}

/// The way back, in m.
inline double ParseFocus(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::Focus);
}

/// Working distance in m: "4.1 mm".
inline std::wstring FormatWorkingDistance(std::optional<double> metres)
{
    return FormatQuantity(metres, Quantity::WorkingDistance);
}

/// The way back, in m.
inline double ParseWorkingDistance(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::WorkingDistance);
}

/// Camera length in m: "115 mm", "1.2 m".
inline std::wstring FormatCameraLength(std::optional<double> metres)
{
    return FormatQuantity(metres, Quantity::CameraLength);
}

/// The way back, in m.
inline double ParseCameraLength(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::CameraLength);
}

/// The quantity of a pixel size in \p space. A value outside the enumeration is a length.
constexpr Quantity PixelSizeIn(PixelSpace space) noexcept
{
    return space == PixelSpace::Reciprocal ? Quantity::ReciprocalPixelSize
           : space == PixelSpace::Angle    ? Quantity::AngularPixelSize
                                           : Quantity::PixelSize;
}

/// Side of a square pixel in the unit of \p space: "107 nm", "0.0125 nmˉ¹", "12.5 µrad".
inline std::wstring FormatPixelSize(std::optional<double> side, PixelSpace space = PixelSpace::Real)
{
    return FormatQuantity(side, PixelSizeIn(space));
}

/// Width and height of a pixel in the unit of \p space: "107 nm x 107 nm".
inline std::wstring FormatPixelSize(std::optional<double> width, std::optional<double> height,
                                    PixelSpace space = PixelSpace::Real)
{
    return FormatQuantityArea(width, height, PixelSizeIn(space));
}

/// The way back of one side, in the unit of \p space.
inline double ParsePixelSize(const std::wstring& text, PixelSpace space = PixelSpace::Real)
{
    return ParseQuantity(text, PixelSizeIn(space));
}

/// One side of the field of view in m: "58.85 µm".
inline std::wstring FormatFieldOfView(std::optional<double> metres)
{
    return FormatQuantity(metres, Quantity::FieldOfView);
}

/// The way back, in m.
inline double ParseFieldOfView(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::FieldOfView);
}

/// Width and height of the field of view in m: "58.85 µm x 70.62 µm".
inline std::wstring FormatFieldOfView(std::optional<double> width, std::optional<double> height)
{
    return FormatQuantityArea(width, height, Quantity::FieldOfView);
}

/// Diameter of the beam on the sample in m: "1.2 nm".
inline std::wstring FormatSpotSize(std::optional<double> metres)
{
    return FormatQuantity(metres, Quantity::SpotSize);
}

/// The way back, in m.
inline double ParseSpotSize(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::SpotSize);
}

/// Number of the spot size setting: "5".
inline std::wstring FormatSpotIndex(std::optional<double> index)
{
    return FormatQuantity(index, Quantity::SpotIndex);
}

/// The way back.
inline double ParseSpotIndex(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::SpotIndex);
}

/// Half angle of convergence or collection in rad: "25.3 mrad", "1.45°".
/// \param unit the unit of the text.
inline std::wstring FormatConvergenceAngle(std::optional<double> radians, AngleUnit unit = AngleUnit::Milliradian)
{
    return FormatQuantity(radians,
                          unit == AngleUnit::Degree ? Quantity::ConvergenceAngleInDegrees : Quantity::ConvergenceAngle);
}

/// The way back, in rad. Both units are read.
inline double ParseConvergenceAngle(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::ConvergenceAngle);
}

/// Angle of tilt or rotation in rad: "-25.5°", "4.5 mrad".
/// \param unit the unit of the text.
inline std::wstring FormatTiltAngle(std::optional<double> radians, AngleUnit unit = AngleUnit::Degree)
{
    return FormatQuantity(radians,
                          unit == AngleUnit::Milliradian ? Quantity::TiltAngleInMilliradians : Quantity::TiltAngle);
}

/// The way back, in rad. Both units are read.
inline double ParseTiltAngle(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::TiltAngle);
}

/// Electron dose in electrons per m²: "45.2 e/Å²", "4.52 ke/nm²".
/// \param area the unit of the text.
inline std::wstring FormatDose(std::optional<double> dose, DoseArea area = DoseArea::SquareAngstrom)
{
    return FormatQuantity(dose, area == DoseArea::SquareNanometre ? Quantity::DosePerSquareNanometre : Quantity::Dose);
}

/// The way back, in electrons per m². Both units are read.
inline double ParseDose(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::Dose);
}

/// Dose rate in electrons per m² and s: "12.5 e/Å²/s".
/// \param area the unit of the text.
inline std::wstring FormatDoseRate(std::optional<double> rate, DoseArea area = DoseArea::SquareAngstrom)
{
    return FormatQuantity(rate, area == DoseArea::SquareNanometre ? Quantity::DoseRatePerSquareNanometre
                                                                  : Quantity::DoseRate);
}

/// The way back, in electrons per m² and s. Both units are read.
inline double ParseDoseRate(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::DoseRate);
}

/// Exposure time in s: "250 ms".
inline std::wstring FormatExposureTime(std::optional<double> seconds)
{
    return FormatQuantity(seconds, Quantity::ExposureTime);
}

/// The way back, in s.
inline double ParseExposureTime(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::ExposureTime);
}

/// Time of the beam on one pixel in s: "3 µs".
inline std::wstring FormatDwellTime(std::optional<double> seconds)
{
    return FormatQuantity(seconds, Quantity::DwellTime);
}

/// The way back, in s.
inline double ParseDwellTime(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::DwellTime);
}

/// Time of one frame in s: "1.2 s".
inline std::wstring FormatFrameTime(std::optional<double> seconds)
{
    return FormatQuantity(seconds, Quantity::FrameTime);
}

/// The way back, in s.
inline double ParseFrameTime(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::FrameTime);
}

/// Frames per second: "24.5 fps".
inline std::wstring FormatFrameRate(std::optional<double> perSecond)
{
    return FormatQuantity(perSecond, Quantity::FrameRate);
}

/// The way back, per second. "Hz" is read, too.
inline double ParseFrameRate(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::FrameRate);
}

/// Pressure in Pa: "12 µPa", "1.20e-07 mbar".
/// \param unit the unit of the text.
inline std::wstring FormatPressure(std::optional<double> pascals, PressureUnit unit = PressureUnit::Pascal)
{
    return FormatQuantity(pascals, unit == PressureUnit::Millibar ? Quantity::PressureInMillibar : Quantity::Pressure);
}

/// The way back, in Pa. Both units are read.
inline double ParsePressure(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::Pressure);
}

/// Temperature in K: "93.15 K", "-180 °C".
/// \param unit the unit of the text.
inline std::wstring FormatTemperature(std::optional<double> kelvins, TemperatureUnit unit = TemperatureUnit::Kelvin)
{
    return FormatQuantity(kelvins,
                          unit == TemperatureUnit::Celsius ? Quantity::TemperatureInCelsius : Quantity::Temperature);
}

/// The way back, in K. Both units are read.
inline double ParseTemperature(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::Temperature);
}

/// Energy loss or shift in eV: "284 eV".
inline std::wstring FormatEnergyLoss(std::optional<double> electronVolts)
{
    return FormatQuantity(electronVolts, Quantity::EnergyLoss);
}

/// The way back, in eV.
inline double ParseEnergyLoss(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::EnergyLoss);
}

/// Width of the energy slit in eV: "10 eV".
inline std::wstring FormatSlitWidth(std::optional<double> electronVolts)
{
    return FormatQuantity(electronVolts, Quantity::SlitWidth);
}

/// The way back, in eV.
inline double ParseSlitWidth(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::SlitWidth);
}

/// One axis of the stage in m: "-123.456 µm".
inline std::wstring FormatStagePosition(std::optional<double> metres)
{
    return FormatQuantity(metres, Quantity::StagePosition);
}

/// The way back, in m.
inline double ParseStagePosition(const std::wstring& text)
{
    return ParseQuantity(text, Quantity::StagePosition);
}

/// Width and height of an image in pixels: "4096 x 4096 px".
inline std::wstring FormatImageSize(std::optional<double> width, std::optional<double> height)
{
    return FormatQuantityArea(width, height, Quantity::ImageSize);
}

/// The way back, width first: "4096 x 3072", "4096x3072 px", "4096 × 3072". "512" is a square.
/// \throws std::invalid_argument also for a number that is not whole.
/// \throws std::out_of_range also for 0 and for 2^32 and above.
KILN_EXPORT std::pair<std::uint32_t, std::uint32_t> ParseImageSize(const std::wstring& text);

} // namespace Ardo::Kiln::Formatting
