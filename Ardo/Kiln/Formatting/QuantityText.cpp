#include "Ardo/Kiln/Formatting/QuantityFormat.h"
#include "Ardo/Kiln/Formatting/Scientific.h"
#include "Ardo/Kiln/Formatting/SI.h"
#include "Ardo/Kiln/Formatting/UnitAlgebra.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace Ardo::Kiln::Formatting
{

namespace
{

constexpr double NotANumber = std::numeric_limits<double>::quiet_NaN();

/// A number rounded to the digits of its quantity.
struct Rounded
{
    double value;
    int step; ///< Decimal exponent of the last digit kept.
};

// Rounds in decimal, as printf does. The prefix is chosen after this, so that 999.96 nm is 1 µm.
Rounded RoundTo(double value, int digits, int smallestStep)
{
    if (value == 0 || !std::isfinite(value))
    {
        return {value, smallestStep};
    }
    std::array<char, 64> text{};
    const auto write = [&](int decimals) {
        return std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::scientific, decimals)
            .ptr;
    };
    const auto read = [&](const char* end)
    {
        double rounded = 0;
        // Out of range where the largest doubles are rounded up.
        return std::from_chars(text.data(), end, rounded).ec == std::errc() ? rounded : value;
    };
    // The exponent of the text is that of the first digit after rounding.
    const auto exponentOf = [&](const char* end)
    {
        const char* const exponent = std::find(text.data(), text.data() + text.size(), 'e') + 1;
        int power = 0;
        std::from_chars(exponent + (*exponent == '+' ? 1 : 0), end, power);
        return power;
    };
    const char* end = write(digits - 1);
    const int step = exponentOf(end) - digits + 1;
    if (step >= smallestStep)
    {
        return {read(end), step};
    }
    const int decimals = digits - 1 - (smallestStep - step);
    if (decimals >= 0)
    {
        return {read(write(decimals)), smallestStep};
    }
    // Less than the smallest step: one step or none.
    const double oneStep = std::pow(10.0, smallestStep);
    return {std::abs(value) > oneStep / 2 ? std::copysign(oneStep, value) : 0.0, smallestStep};
}

// True if SI writes an exponent, because no prefix of the quantity is large enough.
bool IsTooLongToRead(double value, const QuantityFormat& format, const std::wstring& unit)
{
    constexpr double limit = 1e9;
    const int power = PrefixExponent(unit);
    const Prefix prefix = power > 0 ? format.maxPrefix : format.minPrefix;
    return std::abs(value) / std::pow(10.0, power * static_cast<int>(prefix)) >= limit;
}

std::wstring WithExponent(double value, const QuantityFormat& format)
{
    const std::wstring unit = PrefixSymbol(format.minPrefix) + std::wstring(format.unit->text);
    if (!std::isfinite(value))
    {
        return SI(value, unit);
    }
    return Scientific(value / std::pow(10.0, static_cast<int>(format.minPrefix)), unit, format.digits - 1);
}

} // namespace

std::wstring FormatQuantity(std::optional<double> value, Quantity quantity)
{
    const QuantityFormat& format = FormatOf(quantity);
    const double inBase = value.value_or(NotANumber);
    if (std::isnan(inBase))
    {
        return L"-";
    }
    const double inUnit = (inBase - format.unit->zeroInBase) / format.unit->inBase;
    if (format.hasExponent)
    {
        return WithExponent(inUnit, format);
    }
    const Rounded rounded = RoundTo(inUnit, format.digits, format.smallestStep);
    // Without the sign of a zero.
    const double shown = rounded.value == 0 ? 0 : rounded.value;
    const std::wstring unit(format.unit->text);
    const double resolution = IsTooLongToRead(shown, format, unit) ? NotANumber : std::pow(10.0, rounded.step);
    const std::wstring text =
        SI(shown, unit, format.digits - 1, resolution, NotANumber, format.minPrefix, format.maxPrefix, false);
    return format.sign == QuantitySign::SignedWithPlus && shown > 0 ? L"+" + text : text;
}

std::wstring FormatQuantityArea(std::optional<double> width, std::optional<double> height, Quantity quantity)
{
    std::wstring across = FormatQuantity(width, quantity);
    const std::wstring down = FormatQuantity(height, quantity);
    if (across == L"-" && down == L"-")
    {
        return across;
    }
    // Pixels are counted: the unit stands once.
    if (quantity == Quantity::ImageSize && across != L"-" && down != L"-")
    {
        across.erase(across.find(L' '));
    }
    return across + L" x " + down;
}

} // namespace Ardo::Kiln::Formatting
