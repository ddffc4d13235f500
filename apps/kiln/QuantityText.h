#pragma once

#include <string>

namespace Ardo::Kiln::Tool
{

/// The text of a quantity with at most three decimals and an SI prefix: "107 nm". "-" for one that is not given (NaN).
/// \param value in the unit \p unit, without prefix.
/// \param unit UTF-8; a text that is no unit is appended to the number unchanged.
std::string QuantityText(double value, const std::string& unit);

/// \p value with the 15 digits that every decimal text keeps, so that 12.5 nm is 1.25e-08 m and no more.
std::string NumberText(double value);

} // namespace Ardo::Kiln::Tool
