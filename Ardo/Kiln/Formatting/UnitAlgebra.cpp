#include "Ardo/Kiln/Formatting/UnitAlgebra.h"

#include "Ardo/Kiln/Formatting/Text_p.h"
#include "Ardo/Kiln/Formatting/UnitAlgebra_p.h"
#include "Ardo/Kiln/Formatting/Units.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>

namespace Ardo::Kiln::Formatting
{

namespace
{

constexpr std::wstring_view OneOver = L"1/";

// Like std::stoi in the C locale.
int ToInt(std::wstring_view text)
{
    auto position = std::find_if_not(text.begin(), text.end(), IsBlank);
    const bool isNegative = position != text.end() && *position == L'-';
    if (isNegative || (position != text.end() && *position == L'+'))
    {
        ++position;
    }
    if (position == text.end() || !IsDigit(*position))
    {
        throw std::invalid_argument("invalid stoi argument");
    }

    constexpr std::int64_t maxInt = std::numeric_limits<int>::max();
    std::int64_t magnitude = 0;
    for (; position != text.end() && IsDigit(*position); ++position)
    {
        magnitude = 10 * magnitude + (*position - L'0');
        if (magnitude > maxInt + (isNegative ? 1 : 0))
        {
            throw std::out_of_range("stoi argument out of range");
        }
    }
    return static_cast<int>(isNegative ? -magnitude : magnitude);
}

// Appends the reciprocal of one factor to the text, after one space if the text is not empty.
void AppendInverted(std::wstring_view factor, std::wstring& text)
{
    // In 64 bits, because the smallest int has no negative.
    const std::int64_t exponent = -static_cast<std::int64_t>(UnitExponent(factor));
    const std::wstring_view base = factor.substr(0, factor.find(L'^'));
    if (base.empty() && exponent == 1)
    {
        return;
    }
    if (!text.empty())
    {
        text += L' ';
    }
    text += base;
    if (exponent != 1)
    {
        text += L'^';
        text += std::to_wstring(exponent);
    }
}

// Calls the function with each factor that is not empty.
template <typename Function>
void ForEachFactor(std::wstring_view text, bool (&isSeparator)(wchar_t), const Function& function)
{
    auto position = text.begin();
    while (true)
    {
        position = std::find_if_not(position, text.end(), isSeparator);
        if (position == text.end())
        {
            return;
        }
        const auto end = std::find_if(position, text.end(), isSeparator);
        function(std::wstring_view(position, end));
        position = end;
    }
}

bool IsBlankSeparator(wchar_t character)
{
    return IsBlank(character);
}

bool IsBlankOrSlash(wchar_t character)
{
    return IsBlank(character) || character == L'/';
}

} // namespace

int UnitExponentBehind(std::wstring_view unit, std::size_t caret)
{
    // A space or a "/" before the "^" ends the first factor before its exponent begins.
    constexpr wchar_t endsFactor[] = L" /";
    if (unit.substr(0, caret).find_first_of(endsFactor) != std::wstring_view::npos)
    {
        return 1;
    }
    const std::wstring_view rest = unit.substr(caret + 1);
    const std::wstring_view exponent = rest.substr(0, rest.find_first_of(endsFactor));
    return exponent.empty() ? 1 : ToInt(exponent);
}

std::wstring InvertedDenominator(const std::wstring& unit)
{
    return InvertUnit(unit.substr(OneOver.size()));
}

int PrefixExponent(const std::wstring& unit)
{
    return UnitExponent(unit);
}

std::wstring InvertUnit(const std::wstring& unit)
{
    if (unit.starts_with(OneOver))
    {
        return unit.substr(OneOver.size());
    }

    const std::size_t slash = std::min(unit.find(L'/'), unit.size());
    std::wstring inverted;
    const auto append = [&](std::wstring_view factor) { AppendInverted(factor, inverted); };
    ForEachFactor(std::wstring_view(unit).substr(0, slash), IsBlankSeparator, append);
    // The factors of the denominator are inverted twice, which writes their exponents in the usual form: "s^1" as "s".
    std::wstring denominator;
    ForEachFactor(std::wstring_view(unit).substr(slash), IsBlankOrSlash,
                  [&](std::wstring_view factor) { AppendInverted(factor, denominator); });
    ForEachFactor(denominator, IsBlankSeparator, append);
    return inverted;
}

std::wstring FormatIfReciprocalUnit(const std::wstring& unit)
{
    const std::size_t found = unit.find(OneOver);
    if (found == std::wstring::npos)
    {
        return unit;
    }
    return unit.find(Units::Radian, found + OneOver.size()) != std::wstring::npos ? Units::PerRadian : Units::PerMetre;
}

} // namespace Ardo::Kiln::Formatting
