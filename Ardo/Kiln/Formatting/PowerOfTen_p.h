#pragma once

namespace Ardo::Kiln::Formatting
{

/// 10 to the power of \p exponent, correctly rounded between -22 and 22, so that every system divides by the same
/// number; beyond, what `std::pow` gives. Takes a double because a unit's exponent times a prefix may exceed an int.
double PowerOfTen(double exponent) noexcept;

} // namespace Ardo::Kiln::Formatting
