#pragma once

#include <limits>

namespace Ardo::Kiln::Support
{

inline constexpr float Infinity = std::numeric_limits<float>::infinity();
inline constexpr float NotANumber = std::numeric_limits<float>::quiet_NaN();

} // namespace Ardo::Kiln::Support
