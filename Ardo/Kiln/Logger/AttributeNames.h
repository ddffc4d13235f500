#pragma once

namespace Ardo::Kiln::Logger
{

// The attributes of a log record, by name, for filters and formatters of an application's own sinks.

inline constexpr const char* SeverityAttribute = "Severity";     ///< A SeverityLevel.
inline constexpr const char* OriginatorAttribute = "Originator"; ///< A std::string: application "." component.
inline constexpr const char* MessageAttribute = "Message";       ///< A std::string: the record's text in UTF-8.

} // namespace Ardo::Kiln::Logger
