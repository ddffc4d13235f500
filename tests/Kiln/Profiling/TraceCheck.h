#pragma once

#include "Ardo/Kiln/Profiling/Trace.h"
#include "tests/Support/TraceCheck.h"

#include <sstream>
#include <string>

namespace Ardo::Kiln::Profiling
{

/// The trace as text.
inline std::string TraceText()
{
    std::ostringstream text;
    WriteTrace(text);
    return text.str();
}

/// Holds the trace against the format and returns a line for each event.
inline std::string CheckedTrace()
{
    return Support::CheckedTraceEvents(TraceText());
}

} // namespace Ardo::Kiln::Profiling
