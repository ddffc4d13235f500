#pragma once

#include "Ardo/Kiln/Formatting/QuantityFormat.h"

#include <span>

namespace Ardo::Kiln::Formatting
{

/// All units in which quantities are shown or typed. Those with one base stand together, the usual one first.
std::span<const QuantityUnit* const> QuantityUnits() noexcept;

} // namespace Ardo::Kiln::Formatting
