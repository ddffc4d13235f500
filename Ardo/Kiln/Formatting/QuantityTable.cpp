#include "Ardo/Kiln/Formatting/QuantityUnits_p.h"
#include "Ardo/Kiln/Formatting/Units.h"

#include <algorithm>
#include <array>
#include <numbers>
#include <stdexcept>

namespace Ardo::Kiln::Formatting
{

namespace
{

constexpr double Degree = std::numbers::pi / 180;
constexpr double ZeroCelsius = 273.15;
constexpr double PerSquareNanometre = 1e18;
constexpr double PerSquareAngstrom = 1e20;

// The bases that are not in Units: they are never shown.
constexpr wchar_t PerSquareMetre[] = L"e/m^2";
constexpr wchar_t PerSquareMetrePerSecond[] = L"e/m^2/s";
constexpr wchar_t PerSecond[] = L"s^-1";

constexpr QuantityUnit Magnification{Units::Magnification, Units::Magnification, 1, 0, Prefix::None, Prefix::Giga};
constexpr QuantityUnit Volt{Units::Volt, Units::Volt, 1, 0, Prefix::Micro, Prefix::Mega};
constexpr QuantityUnit Ampere{Units::Ampere, Units::Ampere, 1, 0, Prefix::Femto, Prefix::None};
constexpr QuantityUnit Metre{Units::Metre, Units::Metre, 1, 0, Prefix::Femto, Prefix::None};
constexpr QuantityUnit PerMetre{Units::PerMetre, Units::PerMetre, 1, 0, Prefix::Pico, Prefix::None};
constexpr QuantityUnit Radian{Units::Radian, Units::Radian, 1, 0, Prefix::Pico, Prefix::None};
constexpr QuantityUnit DegreeOfArc{Units::Radian, Units::Degree, Degree, 0, Prefix::None, Prefix::None};
constexpr QuantityUnit Number{Units::None, Units::None, 1, 0, Prefix::None, Prefix::None};
constexpr QuantityUnit Pixel{Units::Pixel, Units::Pixel, 1, 0, Prefix::None, Prefix::None};
constexpr QuantityUnit DosePerSquareAngstrom{
    PerSquareMetre, Units::ElectronPerSquareAngstromCaret, PerSquareAngstrom, 0, Prefix::Micro, Prefix::Giga};
constexpr QuantityUnit DosePerSquareNanometre{
    PerSquareMetre, Units::ElectronPerSquareNanometre, PerSquareNanometre, 0, Prefix::Micro, Prefix::Giga};
constexpr QuantityUnit RatePerSquareAngstrom{PerSquareMetrePerSecond, L"e/\u00C5^2/s", PerSquareAngstrom, 0,
                                             Prefix::Micro,           Prefix::Giga};
constexpr QuantityUnit RatePerSquareNanometre{PerSquareMetrePerSecond, L"e/nm^2/s", PerSquareNanometre, 0,
                                              Prefix::Micro,           Prefix::Giga};
constexpr QuantityUnit Second{Units::Second, Units::Second, 1, 0, Prefix::Pico, Prefix::None};
constexpr QuantityUnit FramesPerSecond{PerSecond, L"fps", 1, 0, Prefix::None, Prefix::None};
constexpr QuantityUnit Pascal{Units::Pascal, Units::Pascal, 1, 0, Prefix::Pico, Prefix::Mega};
constexpr QuantityUnit Bar{Units::Pascal, L"bar", 1e5, 0, Prefix::Femto, Prefix::None};
constexpr QuantityUnit Kelvin{Units::Kelvin, Units::Kelvin, 1, 0, Prefix::Micro, Prefix::None};
constexpr QuantityUnit Celsius{Units::Kelvin, Units::DegreeCelsius, 1, ZeroCelsius, Prefix::None, Prefix::None};
constexpr QuantityUnit ElectronVolt{Units::ElectronVolt, Units::ElectronVolt, 1, 0, Prefix::Micro, Prefix::Mega};

// Only typed, never shown.
constexpr QuantityUnit Angstrom{Units::Metre, L"\u00C5", 1e-10, 0, Prefix::None, Prefix::None};
constexpr QuantityUnit PerAngstrom{Units::PerMetre, L"\u00C5^-1", 1e10, 0, Prefix::None, Prefix::None};
constexpr QuantityUnit WrittenDegree{Units::Radian, L"deg", Degree, 0, Prefix::None, Prefix::None};
constexpr QuantityUnit TimesSign{Units::Magnification, L"\u00D7", 1, 0, Prefix::None, Prefix::Giga};
constexpr QuantityUnit BareMagnification{Units::Magnification, Units::None, 1, 0, Prefix::None, Prefix::Giga};
constexpr QuantityUnit BarePixels{Units::Pixel, Units::None, 1, 0, Prefix::None, Prefix::None};
constexpr QuantityUnit Hertz{PerSecond, L"Hz", 1, 0, Prefix::Milli, Prefix::Mega};

constexpr std::array<const QuantityUnit*, 27> AllUnits{&Magnification,
                                                       &TimesSign,
                                                       &BareMagnification,
                                                       &Volt,
                                                       &Ampere,
                                                       &Metre,
                                                       &Angstrom,
                                                       &PerMetre,
                                                       &PerAngstrom,
                                                       &Radian,
                                                       &DegreeOfArc,
                                                       &WrittenDegree,
                                                       &Number,
                                                       &Pixel,
                                                       &BarePixels,
                                                       &DosePerSquareAngstrom,
                                                       &DosePerSquareNanometre,
                                                       &RatePerSquareAngstrom,
                                                       &RatePerSquareNanometre,
                                                       &Second,
                                                       &FramesPerSecond,
                                                       &Hertz,
                                                       &Pascal,
                                                       &Bar,
                                                       &Kelvin,
                                                       &Celsius,
                                                       &ElectronVolt};

using Q = Quantity;
using enum Prefix;
constexpr auto NotNegative = QuantitySign::NotNegative;
constexpr auto Signed = QuantitySign::Signed;
constexpr auto WithPlus = QuantitySign::SignedWithPlus;

// clang-format off
// Columns: quantity, name, unit, digits, smallest step, smallest and largest prefix, sign; then: exponent form, typed.
constexpr std::array<QuantityFormat, 35> Table{{
    {Q::Magnification, L"Magnification", &Magnification, 4, -2, None, Mega, NotNegative},
    {Q::AccelerationVoltage, L"Acceleration voltage", &Volt, 5, -1, None, Kilo, NotNegative},
    {Q::BeamCurrent, L"Beam current", &Ampere, 4, -15, Pico, Milli, NotNegative},
    {Q::ScreenCurrent, L"Screen current", &Ampere, 4, -15, Pico, Micro, NotNegative, false, false},
    {Q::EmissionCurrent, L"Emission current", &Ampere, 4, -12, Nano, Milli, NotNegative, false, false},
    {Q::Defocus, L"Defocus", &Metre, 4, -12, Nano, Milli, WithPlus},
    {Q::Focus, L"Focus", &Metre, 5, -12, Nano, Milli, WithPlus},
    {Q::WorkingDistance, L"Working distance", &Metre, 5, -8, Micro, Milli, NotNegative},
    {Q::CameraLength, L"Camera length", &Metre, 4, -5, Milli, None, NotNegative},
    {Q::PixelSize, L"Pixel size", &Metre, 4, -15, Pico, Milli, NotNegative},
    {Q::ReciprocalPixelSize, L"Reciprocal pixel size", &PerMetre, 4, 2, Nano, Nano, NotNegative},
    {Q::AngularPixelSize, L"Angular pixel size", &Radian, 4, -12, Nano, Milli, NotNegative},
    {Q::FieldOfView, L"Field of view", &Metre, 4, -12, Nano, Milli, NotNegative},
    {Q::SpotSize, L"Spot size", &Metre, 3, -12, Nano, Micro, NotNegative},
    {Q::SpotIndex, L"Spot index", &Number, 4, 0, None, None, NotNegative},
    {Q::ConvergenceAngle, L"Convergence angle", &Radian, 4, -6, Milli, Milli, NotNegative},
    {Q::ConvergenceAngleInDegrees, L"Convergence angle in degrees", &DegreeOfArc, 4, -4, None, None, NotNegative},
    {Q::TiltAngle, L"Tilt angle", &DegreeOfArc, 5, -3, None, None, Signed},
    {Q::TiltAngleInMilliradians, L"Tilt angle in milliradians", &Radian, 5, -6, Milli, Milli, Signed},
    {Q::Dose, L"Dose", &DosePerSquareAngstrom, 4, -4, None, Mega, NotNegative},
    {Q::DosePerSquareNanometre, L"Dose per nm\u00B2", &DosePerSquareNanometre, 4, -2, None, Mega, NotNegative},
    {Q::DoseRate, L"Dose rate", &RatePerSquareAngstrom, 4, -4, None, Mega, NotNegative},
    {Q::DoseRatePerSquareNanometre, L"Dose rate per nm\u00B2", &RatePerSquareNanometre, 4, -2, None, Mega, NotNegative},
    {Q::ExposureTime, L"Exposure time", &Second, 4, -7, Milli, None, NotNegative},
    {Q::DwellTime, L"Dwell time", &Second, 4, -10, Nano, None, NotNegative},
    {Q::FrameTime, L"Frame time", &Second, 4, -7, Milli, None, NotNegative},
    {Q::FrameRate, L"Frame rate", &FramesPerSecond, 4, -3, None, None, NotNegative},
    {Q::Pressure, L"Pressure", &Pascal, 3, -12, Nano, Kilo, NotNegative},
    {Q::PressureInMillibar, L"Pressure in mbar", &Bar, 3, -18, Milli, Milli, NotNegative, true, true},
    {Q::Temperature, L"Temperature", &Kelvin, 5, -2, None, None, NotNegative},
    {Q::TemperatureInCelsius, L"Temperature in \u00B0C", &Celsius, 5, -2, None, None, NotNegative},
    {Q::EnergyLoss, L"Energy loss", &ElectronVolt, 6, -2, None, None, Signed},
    {Q::SlitWidth, L"Slit width", &ElectronVolt, 4, -2, None, None, NotNegative},
    {Q::StagePosition, L"Stage position", &Metre, 6, -10, Nano, Milli, Signed},
    {Q::ImageSize, L"Image size", &Pixel, 10, 0, None, None, NotNegative},
}};
// clang-format on

constexpr bool IsInOrder()
{
    for (std::size_t i = 0; i < Table.size(); ++i)
    {
        if (Table[i].quantity != static_cast<Quantity>(i))
        {
            return false;
        }
    }
    return true;
}

static_assert(IsInOrder() && Table.back().quantity == Quantity::ImageSize, "the table has one row a quantity");

constexpr wchar_t ToLower(wchar_t character) noexcept
{
    return character >= L'A' && character <= L'Z' ? static_cast<wchar_t>(character - L'A' + L'a') : character;
}

} // namespace

std::span<const QuantityFormat> QuantityFormats() noexcept
{
    return Table;
}

const QuantityFormat& FormatOf(Quantity quantity)
{
    const auto index = static_cast<std::uint32_t>(quantity);
    if (index >= Table.size())
    {
        throw std::invalid_argument("no such quantity: " + std::to_string(static_cast<std::int32_t>(quantity)));
    }
    return Table[index];
}

std::optional<Quantity> QuantityFromName(std::wstring_view name) noexcept
{
    const auto isAlike = [](wchar_t one, wchar_t other) { return ToLower(one) == ToLower(other); };
    for (const QuantityFormat& row : Table)
    {
        if (std::equal(name.begin(), name.end(), row.name.begin(), row.name.end(), isAlike))
        {
            return row.quantity;
        }
    }
    return std::nullopt;
}

std::span<const QuantityUnit* const> QuantityUnits() noexcept
{
    return AllUnits;
}

} // namespace Ardo::Kiln::Formatting
