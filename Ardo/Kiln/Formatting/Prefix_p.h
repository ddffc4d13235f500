#pragma once

#include "Ardo/Kiln/Formatting/Prefix.h"

#include <cmath>

namespace Ardo::Kiln::Formatting
{

/// The decimal exponent of the prefix that leaves one to three digits before the point.
/// \param log the decimal logarithm of the magnitude, or the next whole number below it.
/// \param unitExponent the power to which the prefix is raised, see PrefixExponent.
inline int ChoosePrefix(double log, int unitExponent, Prefix minPrefix, Prefix maxPrefix) noexcept
{
    const double sign = unitExponent > 0 ? 1 : -1;
    const double power = std::abs(static_cast<double>(unitExponent));
    const double exponent = power != 0 ? std::floor(log / (3 * power)) * (3 * sign) : sign * log;
    // Compared with the bounds before the conversion to int: for a mass that overflows in grams it is infinite.
    const auto lowest = static_cast<int>(minPrefix);
    const auto highest = static_cast<int>(maxPrefix);
    if (exponent > highest)
    {
        return highest;
    }
    return exponent >= lowest ? static_cast<int>(exponent) : lowest;
}

} // namespace Ardo::Kiln::Formatting
