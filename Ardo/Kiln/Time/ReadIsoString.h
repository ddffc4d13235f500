#pragma once

#include "Ardo/Kiln/Time/Ticks.h"
#include "Ardo/KilnExport.h"

#include <optional>
#include <string>

namespace Ardo::Kiln::Time
{

/// Like FromLocalTimeISOString, but empty for malformed text. Any thread may call it.
KILN_EXPORT_FOR_TESTS std::optional<TimePoint> ReadISOString(const std::string& text);

} // namespace Ardo::Kiln::Time
