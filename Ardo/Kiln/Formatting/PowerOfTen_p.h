#pragma once

#include <cmath>

namespace Ardo::Kiln::Formatting
{

/// The largest exponent, of either sign, whose power of ten is in the table below.
inline constexpr int ExactPowers = 22;

/// The powers of ten from -ExactPowers to ExactPowers. Those with an exponent of 0 or more are exact.
inline constexpr double PowersOfTen[] = {
    1e-22, 1e-21, 1e-20, 1e-19, 1e-18, 1e-17, 1e-16, 1e-15, 1e-14, 1e-13, 1e-12, 1e-11, 1e-10, 1e-9, 1e-8,
    1e-7,  1e-6,  1e-5,  1e-4,  1e-3,  1e-2,  1e-1,  1e0,   1e1,   1e2,   1e3,   1e4,   1e5,   1e6,  1e7,
    1e8,   1e9,   1e10,  1e11,  1e12,  1e13,  1e14,  1e15,  1e16,  1e17,  1e18,  1e19,  1e20,  1e21, 1e22};

/// 10 to the power of \p exponent. From -22 to 22 the result is correctly rounded and so the same on every system;
/// beyond, it is that of `std::pow`.
/// \param exponent a whole number; a double, because the product of a unit's exponent and a prefix may exceed an int.
inline double PowerOfTen(double exponent) noexcept
{
    if (exponent >= -ExactPowers && exponent <= ExactPowers)
    {
        return PowersOfTen[static_cast<int>(exponent) + ExactPowers];
    }
    return std::pow(10.0, exponent);
}

} // namespace Ardo::Kiln::Formatting
