#pragma once

#include <string_view>

namespace Ardo::Kiln::Crash
{

// What the C library says about why it ends the process: a failed assertion, a corrupted heap, a smashed stack. The
// only file that knows where glibc keeps it.

/// Looks up where the C library keeps its reason; once, before the first fault. In a C library that keeps none, or
/// keeps it elsewhere, reasons are never known.
void PrepareAbortReason() noexcept;

/// The reason for the abort() that is under way, without a line end; empty when there is none, as after a plain
/// abort(). Each reason is returned once: that of an abort that the process survived stays where it is. Valid as long
/// as the process does not abort again. For the handler of SIGABRT.
std::string_view TakeAbortReason() noexcept;

} // namespace Ardo::Kiln::Crash
