#pragma once

#include <string>

namespace Ardo::Kiln::Tool
{

/// A quantity for a person, with at most three decimals and an SI prefix: "107 nm". "-" for one that is not given
/// (NaN).
/// \param value in the unit \p unit, without prefix.
/// \param unit UTF-8; what is no unit is shown as it is behind
/// the number.
std::string QuantityText(double value, const std::string& unit);

/// \p value with the 15 digits that every decimal text keeps, so that 12.5 nm is 1.25e-08 m and no more.
std::string NumberText(double value);

} // namespace Ardo::Kiln::Tool
