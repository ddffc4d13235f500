#include "Ardo/Kiln/Formatting/NumberText_p.h"

#include "Ardo/Kiln/Formatting/PowerOfTen_p.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>

namespace Ardo::Kiln::Formatting
{

std::uint64_t RoundToWhole(double magnitude, int decimals) noexcept
{
    const bool isProduct = decimals >= 0;
    const double power = PowerOfTen(std::abs(decimals));
    const double scaled = isProduct ? magnitude * power : magnitude / power;
    const auto whole = static_cast<std::uint64_t>(scaled);
    // The fraction is exact. The rounding error of the product or quotient is less than its last bit, so it decides
    // only where the fraction is exactly one half.
    const double fraction = scaled - static_cast<double>(whole);
    if (fraction != 0.5)
    {
        return whole + (fraction > 0.5 ? 1 : 0);
    }
    const double lost = isProduct ? std::fma(magnitude, power, -scaled) : std::fma(-scaled, power, magnitude);
    return whole + (lost > 0 || (lost == 0 && whole % 2 != 0) ? 1 : 0);
}

void NumberText::WriteDigits(std::uint64_t digits, int decimals) noexcept
{
    m_end = std::end(m_text);
    m_begin = m_end;
    const auto writeDigit = [&]
    {
        *--m_begin = static_cast<char>('0' + digits % 10);
        digits /= 10;
    };
    for (int i = digits != 0 ? decimals : 0; i < 0; ++i)
    {
        *--m_begin = '0';
    }
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
}

void NumberText::WriteFixed(double value, int decimals) noexcept
{
    // With more decimals, a number with nine digits before the point does not fit the 53 bits of a double.
    constexpr int maxFewDecimals = 6;
    if (decimals > maxFewDecimals)
    {
        const int shown = std::min(decimals, MaxDecimals);
        m_end = std::to_chars(m_text, std::end(m_text), value, std::chars_format::fixed, shown).ptr;
        return;
    }
    constexpr int minDecimals = -10; // every value is less than half of 10^10
    const int shown = std::max(decimals, minDecimals);
    WriteDigits(RoundToWhole(std::abs(value), shown), shown); // takes a third of the time of std::to_chars
    if (std::signbit(value))
    {
        PrependSign('-');
    }
}

void NumberText::WriteScientific(double value, int decimals, char exponentSign) noexcept
{
    const double magnitude = std::abs(value);
    if (const double step = decimals < 0 ? PowerOfTen(-static_cast<double>(decimals)) : 0; step > magnitude)
    {
        value = std::copysign(magnitude > step / 2 ? step : 0.0, value);
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
