#include "Ardo/Kiln/Formatting/NumberText_p.h"

#include "Ardo/Kiln/Formatting/PowerOfTen_p.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>

namespace Ardo::Kiln::Formatting
{

namespace
{

// Rounds to a multiple of the step, a tie to the even multiple. Exact, unlike dividing, rounding and multiplying.
double RoundToMultiple(double value, double step) noexcept
{
    const double magnitude = std::abs(value);
    const double rest = std::fmod(magnitude, step);
    double rounded = magnitude - rest;
    if (rest > step / 2 || (rest == step / 2 && std::fmod(rounded, 2 * step) != 0))
    {
        rounded += step;
    }
    return std::copysign(rounded, value);
}

} // namespace

void NumberText::WriteFewDecimals(double value, int decimals) noexcept
{
    const double magnitude = std::abs(value);
    const double power = PowerOfTen(decimals);
    const double product = magnitude * power;
    auto digits = static_cast<std::uint64_t>(product);
    // The fraction is exact. The rounding error of the product is less than its last bit, so it decides only where the
    // fraction is exactly one half.
    const double fraction = product - static_cast<double>(digits);
    const double lost = fraction == 0.5 ? std::fma(magnitude, power, -product) : 0;
    if (fraction > 0.5 || (fraction == 0.5 && (lost > 0 || (lost == 0 && digits % 2 != 0))))
    {
        ++digits;
    }

    constexpr int maxCharacters = 20;
    m_end = m_text + maxCharacters;
    m_begin = m_end;
    const auto writeDigit = [&]
    {
        *--m_begin = static_cast<char>('0' + digits % 10);
        digits /= 10;
    };
    for (int i = 0; i < decimals; ++i)
    {
        writeDigit();
    }
    if (decimals > 0)
    {
        *--m_begin = '.';
    }
    do
    {
        writeDigit();
    } while (digits != 0);
    if (std::signbit(value))
    {
        *--m_begin = '-';
    }
}

void NumberText::WriteFixed(double value, int decimals) noexcept
{
    if (decimals < 0)
    {
        value = RoundToMultiple(value, PowerOfTen(-static_cast<double>(decimals)));
    }
    const int shown = std::clamp(decimals, 0, MaxDecimals);
    if (shown <= MaxFewDecimals)
    {
        WriteFewDecimals(value, shown);
        return;
    }
    m_end = std::to_chars(m_text, std::end(m_text), value, std::chars_format::fixed, shown).ptr;
}

void NumberText::WriteScientific(double value, int decimals, char exponentSign) noexcept
{
    if (const double step = decimals < 0 ? PowerOfTen(-static_cast<double>(decimals)) : 0; step > std::abs(value))
    {
        value = RoundToMultiple(value, step);
    }
    const int shown = std::clamp(decimals, 0, MaxDecimals);
    m_end = std::to_chars(m_text, std::end(m_text), value, std::chars_format::scientific, shown).ptr;
    *std::find(m_text, m_end, 'e') = exponentSign;
}

void NumberText::RemoveTrailingZeros() noexcept
{
    if (Get().find('.') == std::string_view::npos)
    {
        return;
    }
    m_end = m_begin + Get().find_last_not_of('0') + 1;
    if (m_end[-1] == '.')
    {
        --m_end;
    }
}

} // namespace Ardo::Kiln::Formatting
