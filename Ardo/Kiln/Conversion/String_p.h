#pragma once

#include "Ardo/KilnExport.h"

#include <cstddef>

namespace Ardo::Kiln::Conversion
{

/// Refuses a text whose length, in code units, the system's conversion cannot take.
/// \throws std::range_error with "bad conversion, invalid parameter" from 2^31 units on.
KILN_EXPORT_FOR_TESTS void CheckLength(std::size_t length);

} // namespace Ardo::Kiln::Conversion
