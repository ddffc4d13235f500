#pragma once

#include <chrono>
#include <string>

namespace Ardo::Kiln::Profiling::Private
{

/// A quantity with three digits, in UTF-8: "12.3 MB/s".
/// \param unit without prefix.
std::string QuantityText(double value, const std::wstring& unit);

/// A time with three digits, from nanoseconds to seconds, in UTF-8: "12.3 ms".
std::string TimeText(std::chrono::nanoseconds time);

} // namespace Ardo::Kiln::Profiling::Private
