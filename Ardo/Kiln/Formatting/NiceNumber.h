#pragma once

#include "Ardo/KilnExport.h"

namespace Ardo::Kiln::Formatting
{

/// The step of an axis or a scale bar: \p value, rounded up to 2, 5 or 10 times a power of ten.
///
/// A power of ten itself gives 2 times that power; 2 and 5 times a power of ten are returned unchanged.
/// Any thread may call it.
/// \param value greater than 0 and finite; any other value gives 0, NaN or infinity.
KILN_EXPORT double CreateNiceNumber(double value) noexcept;

} // namespace Ardo::Kiln::Formatting
