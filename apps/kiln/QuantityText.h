#pragma once

#include <string>
#include <string_view>

namespace Ardo::Kiln::Tool
{

/// A quantity for a person, with four digits and an SI prefix: "107 nm". "-" for a value that is not given (NaN).
/// \param value in the unit \p unit, without prefix. A pure number, of empty unit, gets no prefix.
std::string QuantityText(double value, std::string_view unit);

} // namespace Ardo::Kiln::Tool
