#pragma once

#include "Ardo/Kiln/Time/Ticks.h"
#include "Ardo/MetadataLib/Metadata.h"

#include <optional>
#include <string>

namespace Ardo::Kiln::FileNaming
{

/// A label with its placeholders filled in, see FileNameGenerator. The result may have characters that no name has.
/// \returns empty if a value is not given.
std::optional<std::wstring> FillIn(const std::wstring& label, Time::TimePoint time,
                                   const MetadataLib::Metadata& record);

/// The local day of a time point, "2026-11-22", or "undated".
std::wstring DayOf(Time::TimePoint time);

} // namespace Ardo::Kiln::FileNaming
