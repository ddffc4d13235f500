#pragma once

#include "Ardo/Kiln/Logger/SeverityLevel.h"

#include <set>

namespace Ardo::Kiln::Logger
{

// Sets of levels for log definitions and filters.

inline const std::set<SeverityLevel> DebugOnly{debug};                          ///< What the debug file takes.
inline const std::set<SeverityLevel> TraceAndDebug{trace, debug};               ///< What a developer asks for.
inline const std::set<SeverityLevel> InfoAndAbove{info, warning, error, fatal}; ///< What a user may need to know.

} // namespace Ardo::Kiln::Logger
