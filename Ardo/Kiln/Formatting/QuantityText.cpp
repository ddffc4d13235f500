#include "Ardo/Kiln/Formatting/NumberText_p.h"
#include "Ardo/Kiln/Formatting/PowerOfTen_p.h"
#include "Ardo/Kiln/Formatting/Prefix_p.h"
#include "Ardo/Kiln/Formatting/QuantityFormat.h"
#include "Ardo/Kiln/Formatting/Scientific.h"
#include "Ardo/Kiln/Formatting/SI.h"
#include "Ardo/Kiln/Formatting/Superscript_p.h"
#include "Ardo/Kiln/Formatting/UnitAlgebra_p.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace Ardo::Kiln::Formatting
{

namespace
{

/// A magnitude rounded to the digits of its quantity: digits * 10^step.
struct Rounded
{
    std::uint64_t digits;
    int step;
};

/// Rounds in decimal, as printf does.
/// \param magnitude not negative, less than MaxRounded.
Rounded RoundTo(double magnitude, int digits, int smallestStep)
{
    const int exponent = DecimalExponent(magnitude);
    if (exponent < smallestStep) // one step or none: half a step is none, also if its double is a little more
    {
        return {magnitude > PowerOfTen(smallestStep) / 2 ? 1U : 0U, smallestStep};
    }
    const int step = std::max(exponent - digits + 1, smallestStep);
    return {RoundToWhole(magnitude, -step), step};
}

/// Rounds to that many significant digits. An infinity and a value that would become infinite are unchanged.
double RoundToDigits(double value, int digits)
{
    std::array<char, 32> text{};
    const char* const end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::scientific, digits - 1).ptr;
    std::from_chars(text.data(), end, value);
    return value;
}

/// SI writes a number from here on with an exponent, whatever the prefix of the quantity.
constexpr double MaxRounded = 1e18;
/// SI writes numbers of more digits than these before the point with an exponent.
constexpr int MaxDigitsBeforePoint = 9;

std::wstring WithExponent(double value, const QuantityFormat& format)
{
    const std::wstring unit = PrefixSymbol(format.minPrefix) + std::wstring(format.unit->text);
    if (!std::isfinite(value))
    {
        return SI(value, unit);
    }
    return Scientific(value / PowerOfTen(static_cast<int>(format.minPrefix)), unit, format.digits - 1);
}

} // namespace

std::wstring FormatQuantity(std::optional<double> value, Quantity quantity)
{
    const QuantityFormat& format = FormatOf(quantity);
    if (!value || std::isnan(*value))
    {
        return L"-";
    }
    double inUnit = (*value - format.unit->zeroInBase) / format.unit->inBase;
    if (format.hasExponent)
    {
        return WithExponent(inUnit, format);
    }
    const bool hasPlus = format.sign == QuantitySign::SignedWithPlus && inUnit > 0;
    const std::wstring_view unit = format.unit->text;
    if (std::abs(inUnit) < MaxRounded)
    {
        // The prefix is chosen after rounding, so that 999.96 nm is 1 µm.
        const Rounded rounded = RoundTo(std::abs(inUnit), format.digits, format.smallestStep);
        const int exponent = rounded.step + DecimalExponent(static_cast<double>(rounded.digits));
        const int unitExponent = UnitExponent(unit);
        const int prefix = ChoosePrefix(exponent, unitExponent, format.minPrefix, format.maxPrefix);
        const int scale = prefix * unitExponent;
        if (exponent - scale < MaxDigitsBeforePoint)
        {
            NumberText number;
            number.WriteDigits(rounded.digits, scale - rounded.step);
            number.RemoveTrailingZeros();
            if (rounded.digits != 0 && (inUnit < 0 || hasPlus))
            {
                number.PrependSign(inUnit < 0 ? '-' : '+');
            }
            return JoinNumberAndUnit(number.Get(), PrefixSymbol(static_cast<Prefix>(prefix)), unit, true);
        }
        inUnit = std::copysign(static_cast<double>(rounded.digits) * PowerOfTen(rounded.step), inUnit);
    }
    return (hasPlus ? L"+" : L"") + SI(RoundToDigits(inUnit, format.digits), std::wstring(unit), format.digits - 1,
                                       format.minPrefix, format.maxPrefix);
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
