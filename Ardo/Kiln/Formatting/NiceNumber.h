#pragma once

#include "Ardo/KilnExport.h"

namespace Ardo::Kiln::Formatting
{

/// The next nice step of an axis or a scale bar: 2, 5 or 10 times a power of ten, rounded up from \p value.
///
/// A value that is 1 times a power of ten gives 2 times that power, so that the step is never the power itself;
/// 2 and 5 times a power are already nice and stay.
/// \param value greater than 0 and finite; anything else gives 0, NaN or infinity, never an exception.
/// Any thread may call it.
KILN_EXPORT double CreateNiceNumber(double value) noexcept;

} // namespace Ardo::Kiln::Formatting
