#pragma once

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>

namespace Ardo::Kiln::Formatting
{

/// The largest exponent, of either sign, whose power of ten is in the table below.
inline constexpr int ExactPowers = 22;

/// The powers of ten from -ExactPowers to ExactPowers. Those with an exponent of 0 or more are exact.
inline constexpr double PowersOfTen[] = {
    1e-22, 1e-21, 1e-20, 1e-19, 1e-18, 1e-17, 1e-16, 1e-15, 1e-14, 1e-13, 1e-12, 1e-11, 1e-10, 1e-9, 1e-8,
    1e-7,  1e-6,  1e-5,  1e-4,  1e-3,  1e-2,  1e-1,  1e0,   1e1,   1e2,   1e3,   1e4,   1e5,   1e6,  1e7,
    1e8,   1e9,   1e10,  1e11,  1e12,  1e13,  1e14,  1e15,  1e16,  1e17,  1e18,  1e19,  1e20,  1e21, 1e22};

/// 10 to the power of \p exponent, correctly rounded and so the same on every system. Those of `std::pow` for the
/// smallest numbers differ from system to system.
/// \param exponent a whole number; a double, because the product of a unit's exponent and a prefix may exceed an int.
inline double PowerOfTen(double exponent) noexcept
{
    if (exponent >= -ExactPowers && exponent <= ExactPowers)
    {
        return PowersOfTen[static_cast<int>(exponent) + ExactPowers];
    }
    constexpr double MaxExponent = 400; // beyond the range of double, whose powers of ten end at -324 and 308
    char text[8] = {'1', 'e'};
    const int bounded = static_cast<int>(std::clamp(exponent, -MaxExponent, MaxExponent));
    const char* const end = std::to_chars(text + 2, std::end(text), bounded).ptr;
    double power = exponent > 0 ? std::numeric_limits<double>::infinity() : 0;
    std::from_chars(text, end, power); // leaves a power out of range as it is
    return power;
}

/// The exponent of the largest of PowersOfTen that is not above \p magnitude: that of the first digit of a number in
/// their range. -ExactPowers - 1 for smaller numbers, ExactPowers for larger ones.
inline int DecimalExponent(double magnitude) noexcept
{
    const double* const above = std::upper_bound(std::begin(PowersOfTen), std::end(PowersOfTen), magnitude);
    return static_cast<int>(above - std::begin(PowersOfTen)) - 1 - ExactPowers;
}

} // namespace Ardo::Kiln::Formatting
