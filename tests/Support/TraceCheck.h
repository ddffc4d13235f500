#pragma once

#include <string>

namespace Ardo::Kiln::Support
{

/// Holds a trace against the trace event format (JSON object form). What is wrong fails the test: keys that an event
/// lacks or that its phase does not have, values of another type, times before the start, and stages of a thread that
/// overlap without one being inside the other.
/// \returns a line for each event, "phase name arguments", by thread and begin within it; "dropped N" is the last.
std::string CheckedTraceEvents(const std::string& json);

} // namespace Ardo::Kiln::Support
