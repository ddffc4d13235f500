#pragma once

#include "Ardo/KilnExport.h"

#include <filesystem>
#include <iosfwd>

namespace Ardo::Kiln::Profiling
{

// A trace shows the stages of the last recording on a time line, a row a thread, in the trace event format (JSON object
// form, by Google: "Trace Event Format") that Perfetto (ui.perfetto.dev) and Chromium's tracing page open. Times count
// from the start of the process. Stages are complete events ("X") with their bytes and items as arguments, counters are
// "C", the marks of the start-up instant events ("i"), the names of process and threads "M". "otherData" says how many
// events were not kept ("droppedEvents").
//
// Any thread may write a trace at any time, also while others record: stages that have ended until then are in it.

/// Writes a trace.
/// \throws std::bad_alloc, and std::ios_base::failure if \p stream is set to throw it. The caller checks the stream.
KILN_EXPORT void WriteTrace(std::ostream& stream);

/// Writes a trace to a file, which appears under its name when it is complete.
/// \throws std::filesystem::filesystem_error as FileSystem::ReplacementFile does, and when it cannot be written; an old
///         file is then as it was. std::bad_alloc.
KILN_EXPORT void WriteTraceFile(const std::filesystem::path& file);

} // namespace Ardo::Kiln::Profiling
