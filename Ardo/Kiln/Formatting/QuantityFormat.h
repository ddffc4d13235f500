#pragma once

#include "Ardo/Kiln/Formatting/Prefix.h"
#include "Ardo/KilnExport.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace Ardo::Kiln::Formatting
{

/// A quantity of a microscope, in one unit of those in which it is shown. MicroscopeQuantities.h has a function for
/// each. The values are the indexes of QuantityFormats().
enum class Quantity : std::int32_t
{
    Magnification,
    AccelerationVoltage,
    BeamCurrent,
    ScreenCurrent,
    EmissionCurrent,
    Defocus,
    Focus,
    WorkingDistance,
    CameraLength,
    PixelSize,
    ReciprocalPixelSize,
    AngularPixelSize,
    FieldOfView,
    SpotSize,
    SpotIndex,
    ConvergenceAngle,
    ConvergenceAngleInDegrees,
    TiltAngle,
    TiltAngleInMilliradians,
    Dose,
    DosePerSquareNanometre,
    DoseRate,
    DoseRatePerSquareNanometre,
    ExposureTime,
    DwellTime,
    FrameTime,
    FrameRate,
    Pressure,
    PressureInMillibar,
    Temperature,
    TemperatureInCelsius,
    EnergyLoss,
    SlitWidth,
    StagePosition,
    ImageSize,
};

/// The sign of a quantity.
enum class QuantitySign : std::int32_t
{
    NotNegative,    ///< A typed text with a negative value is an error. A negative measured value is shown.
    Signed,         ///< Negative values have "-".
    SignedWithPlus, ///< Positive values have "+", too.
};

/// A unit in which a quantity is shown or typed.
struct QuantityUnit
{
    std::wstring_view base; ///< The unit of the number in a program, one of Units. Units of one base convert.
    std::wstring_view text; ///< The unit in a text, without prefix.
    double inBase;          ///< One unit in base units.
    double zeroInBase;      ///< The zero of the unit in base units: 273.15 for "°C", else 0.
    Prefix minPrefix;       ///< The smallest prefix that is accepted in a typed text.
    Prefix maxPrefix;       ///< The largest prefix that is accepted in a typed text.
};

/// How a quantity is shown and what is accepted as its text.
struct QuantityFormat
{
    Quantity quantity;        ///< The quantity.
    std::wstring_view name;   ///< For labels and titles of columns, in English.
    const QuantityUnit* unit; ///< The unit that is shown; never null.
    int digits;               ///< Maximum number of significant digits. Zeros at the end of the decimals are left out.
    int smallestStep;         ///< Decimal exponent of the smallest difference shown, in the unit without prefix.
    Prefix minPrefix;         ///< The smallest prefix that is shown; also that of 0.
    Prefix maxPrefix;         ///< The largest prefix that is shown.
    QuantitySign sign;        ///< The sign.
    /// Whether a mantissa with all digits and an exponent are written, "1.20e-07". There is then no smallest step.
    bool hasExponent = false;
    /// Whether a person types the quantity. MicroscopeQuantities.h then has the way back.
    bool isTyped = true;
};

// Any thread may call the functions below. Their texts do not depend on the locale.

/// All quantities, in the order of the enumeration. docs/formatting.md shows this table.
KILN_EXPORT std::span<const QuantityFormat> QuantityFormats() noexcept;

/// The row of \p quantity.
/// \throws std::invalid_argument for a value outside the enumeration.
KILN_EXPORT const QuantityFormat& FormatOf(Quantity quantity);

/// The quantity with the name \p name, letters in any case; empty if there is none.
KILN_EXPORT std::optional<Quantity> QuantityFromName(std::wstring_view name) noexcept;

/// The text of a value: "-1.5 µm", "300 kV", "45.2 e/Å²".
///
/// The value is rounded to the digits and the smallest step of the quantity first, and gets its prefix after that:
/// 999.96 nm is "1 µm". A value that rounds to 0 is "0" with the smallest prefix and no sign.
/// \param value in the base unit of the quantity (`FormatOf(quantity).unit->base`). NaN or empty: not given.
/// \returns "-" if the value is not given; "∞" with the unit for an infinity.
/// \throws std::invalid_argument for a value outside the enumeration.
KILN_EXPORT std::wstring FormatQuantity(std::optional<double> value, Quantity quantity);

/// Two extents of an area: "58.85 µm x 70.62 µm", "4096 x 4096 px" for pixels, "-" if neither is given.
/// \param width in the base unit of the quantity. NaN or empty: not given.
/// \param height like \p width.
/// \throws std::invalid_argument for a value outside the enumeration.
KILN_EXPORT std::wstring FormatQuantityArea(std::optional<double> width, std::optional<double> height,
                                            Quantity quantity);

/// The value of a text that a person typed, in the base unit of the quantity.
///
/// The unit must be one of those with the same base, with at most one of its prefixes: "1.5 µm", "1.5 um", "15 Å"
/// and "1500nm" are lengths. Exponents are read in both forms, "1/nm" is "nm^-1". The unit may be absent only where a
/// number without unit has one meaning: magnification, spot index and image size. Blanks before, after and inside the
/// text, between number and unit, are ignored; "." and "," are decimal separators. "-", infinities and text beside
/// number and unit are errors.
/// \throws std::invalid_argument with the name of the quantity, the text and the units accepted, in UTF-8, if the text
///         is not a number with such a unit; also for a value of \p quantity outside the enumeration.
/// \throws std::out_of_range with the name and the text if the number is beyond the range of a double, an infinity or
///         NaN, or negative where the quantity cannot be (a temperature is compared in kelvin).
KILN_EXPORT double ParseQuantity(const std::wstring& text, Quantity quantity);

/// Like ParseQuantity, without exceptions.
/// \param result receives the value; unchanged on failure.
/// \returns whether \p text has a value.
KILN_EXPORT bool TryParseQuantity(const std::wstring& text, Quantity quantity, double& result) noexcept;

} // namespace Ardo::Kiln::Formatting
