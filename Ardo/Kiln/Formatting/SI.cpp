#include "Ardo/Kiln/Formatting/SI.h"

#include "Ardo/Kiln/Formatting/NumberText_p.h"
#include "Ardo/Kiln/Formatting/PowerOfTen_p.h"
#include "Ardo/Kiln/Formatting/Prefix_p.h"
#include "Ardo/Kiln/Formatting/Superscript_p.h"
#include "Ardo/Kiln/Formatting/Text_p.h"
#include "Ardo/Kiln/Formatting/UnitAlgebra_p.h"
#include "Ardo/Kiln/Formatting/Units.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Ardo::Kiln::Formatting
{

namespace
{

constexpr double NotGiven = std::numeric_limits<double>::quiet_NaN();

bool NeverHasPrefix(std::wstring_view unit) noexcept
{
    const auto isUnit = [&](std::wstring_view entry)
    {
        // Nearly all units differ in the first character.
        return unit.size() == entry.size() && (unit.empty() || (unit.front() == entry.front() && unit == entry));
    };
    return std::any_of(Units::WithoutPrefix.begin(), Units::WithoutPrefix.end(), isUnit);
}

// 1000 to the power of the exponent: the grams of a kilogram, for masses of any power.
double GramsPerKilogram(int exponent) noexcept
{
    switch (exponent)
    {
    case 1:
        return 1e3;
    case 2:
        return 1e6;
    default:
        return std::pow(1000.0, exponent);
    }
}

// The number of decimals that shows a difference of the resolution, which is in the displayed unit.
int DecimalsOf(double resolution) noexcept
{
    constexpr double minDecimals = -400; // 1e400 is beyond every double
    const double decimals = -std::floor(std::log10(resolution));
    return static_cast<int>(std::clamp(decimals, minDecimals, static_cast<double>(NumberText::MaxDecimals)));
}

// The text of a number that is not finite.
std::wstring_view Symbol(double value) noexcept
{
    if (std::isnan(value))
    {
        return L"-";
    }
    return value > 0 ? L"\u221E" : L"-\u221E";
}

} // namespace

std::wstring SI(double value, const std::wstring& unit, int decimals, double resolution, double reference,
                Prefix minPrefix, Prefix maxPrefix, bool keepTrailingZeros)
{
    resolution = std::abs(resolution);
    reference = std::abs(reference);
    std::wstring storage;
    std::wstring_view shownUnit = WithoutFraction(unit, storage);
    std::wstring_view prefix;
    double scale = 1;
    if (std::isfinite(value) && !NeverHasPrefix(shownUnit))
    {
        const int exponent = UnitExponent(shownUnit);
        if (BeginsWith(shownUnit, Units::Kilogram))
        {
            shownUnit.remove_prefix(1);
            const double grams = GramsPerKilogram(exponent);
            value *= grams;
            resolution *= grams;
            reference *= grams;
        }
        const double magnitude = std::isfinite(reference) ? reference : std::abs(value);
        constexpr double logOfZero = -15.0;
        const double log = magnitude == 0 ? logOfZero : std::log10(magnitude);
        const int chosen = ChoosePrefix(log, exponent, minPrefix, maxPrefix);
        scale = PowerOfTen(static_cast<double>(exponent) * chosen);
        value /= scale;
        const wchar_t* const symbol = PrefixSymbol(static_cast<Prefix>(chosen));
        prefix = {symbol, *symbol == 0 ? std::size_t{0} : std::size_t{1}};
    }
    else if (Equals(shownUnit, Units::Frame) && std::abs(value - 1) > 0.01)
    {
        shownUnit = L"frames";
    }

    if (std::isfinite(resolution) && resolution > 0)
    {
        // Without a prefix the exponent is not used, but a malformed one is an error in any case.
        UnitExponent(shownUnit);
        decimals = DecimalsOf(resolution / scale);
    }
    if (!std::isfinite(value))
    {
        return JoinNumberAndUnit(Symbol(value), prefix, shownUnit, true);
    }

    constexpr double tooLongToRead = 1e9;
    NumberText number;
    if (std::abs(value) >= tooLongToRead)
    {
        number.WriteScientific(value, decimals, 'E');
    }
    else
    {
        number.WriteFixed(value, decimals);
        if (!keepTrailingZeros)
        {
            number.RemoveTrailingZeros();
        }
    }
    return JoinNumberAndUnit(number.Get(), prefix, shownUnit, true);
}

std::wstring SI(double value, const std::wstring& unit)
{
    return SI(value, unit, 0);
}

std::wstring SI(double value, const std::wstring& unit, int decimals)
{
    return SI(value, unit, decimals, Prefix::Femto, Prefix::Exa);
}

std::wstring SI(double value, const std::wstring& unit, int decimals, Prefix prefix)
{
    return SI(value, unit, decimals, prefix, prefix);
}

std::wstring SI(double value, const std::wstring& unit, int decimals, Prefix minPrefix, Prefix maxPrefix)
{
    return SI(value, unit, decimals, NotGiven, NotGiven, minPrefix, maxPrefix);
}

std::wstring SI(double value, const std::wstring& unit, int decimals, double resolution, double reference,
                Prefix minPrefix, Prefix maxPrefix)
{
    return SI(value, unit, decimals, resolution, reference, minPrefix, maxPrefix, true);
}

std::wstring SIUsingUncertainty(double value, const std::wstring& unit, double uncertainty)
{
    return SIUsingUncertainty(value, unit, uncertainty, NotGiven);
}

std::wstring SIUsingUncertainty(double value, const std::wstring& unit, double uncertainty, double reference)
{
    return SI(value, unit, 0, uncertainty, reference, Prefix::Femto, Prefix::Exa);
}

} // namespace Ardo::Kiln::Formatting
