#pragma once

#include "Ardo/Kiln/Formatting/Prefix.h"

namespace Ardo::Kiln::Formatting
{

/// The decimal exponent of the prefix that leaves one to three digits before the point.
/// \param log the decimal logarithm of the magnitude, or the next whole number below it.
/// \param unitExponent the power to which the prefix is raised, see PrefixExponent.
int ChoosePrefix(double log, int unitExponent, Prefix minPrefix, Prefix maxPrefix) noexcept;

} // namespace Ardo::Kiln::Formatting
