#pragma once

#include "Ardo/KilnExport.h"

namespace Ardo::Kiln::Profiling
{

// Memory is limited however long a recording lasts. Of each thread, the figures of every stage are kept, as sums and
// histograms for 256 different ways of nesting, and the last 16,384 stages and counter values one by one; of threads
// that have ended, the figures together, for 4096 different ways, and the last 65,536 stages and values. What is beyond
// that many ways counts as "(other stages)". Of each thread 64 counters are summed up; others are only in the trace.
//
// Any thread may call these functions at any time.

/// Begins to record stages and counters. What was recorded before is discarded; a stage that is open now is not
/// recorded.
/// \throws std::bad_alloc.
KILN_EXPORT void StartRecording();

/// Ends the recording. What was recorded stays for reports and traces until the next one begins.
KILN_EXPORT void StopRecording() noexcept;

/// Whether stages are recorded now.
KILN_EXPORT bool IsRecording() noexcept;

} // namespace Ardo::Kiln::Profiling
