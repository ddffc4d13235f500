#pragma once

#include "Ardo/KilnExport.h"

namespace Ardo::Kiln::Crash
{

struct CrashRequest;

/// Carries out CrashRequest::CreateFiles on the thread at fault itself, for the case that neither filters nor a process
/// outside can: a minidump, and a short report that names the instruction at fault by module and offset.
///
/// Makes system calls only; a signal handler may call it. Uses \p request's `text`. A part that fails is left out, and
/// a half-written file never has its final name. The text also goes to the standard error stream, whether or not there
/// is a file.
KILN_EXPORT_FOR_TESTS void WriteReportsHere(CrashRequest& request) noexcept;

} // namespace Ardo::Kiln::Crash
