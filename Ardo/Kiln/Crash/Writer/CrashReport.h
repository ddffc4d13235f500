#pragma once

#include "Ardo/Kiln/Platform/StructuredException.h"
#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::Crash
{

// What the exception handler does about a fault once it is found fatal. The functions may run on any thread of the
// faulted process while the thread at fault waits; what they have to tell goes to the standard error stream without
// a lock. `pointers` is what the filter was called with.

/// Makes ready what must not be asked for only after a fault: chooses the dump folder without creating it, finds the
/// names of application and version and the program that reports from outside, keeps a descriptor back. Called when
/// monitoring begins, and again when the application may know more about itself.
KILN_EXPORT_FOR_TESTS void PrepareReports() noexcept;

/// The text of the report about a fault, UTF-8; empty for null. A process outside makes it where there is one, because
/// this one may be broken or locked; otherwise it is made here. It is kept for CreateReports, so that the file has the
/// same text. \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS std::string GetReport(EXCEPTION_POINTERS* pointers);

/// Writes the report as "<tagged name>.txt" and the minidump as "<tagged name>.dmp", of the default type, into the dump
/// folder. A failure of one is told and does not keep the other from being written.
KILN_EXPORT_FOR_TESTS void CreateReports(EXCEPTION_POINTERS* pointers) noexcept;

/// Prints the block about a fault, not null, to the standard error stream and answers it. \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS std::string GetAndPrintExceptionInfo(EXCEPTION_POINTERS* pointers);

} // namespace Ardo::Kiln::Crash
