#pragma once

#include <string_view>

namespace Ardo::Kiln::Crash
{

// The reason that the C library prints before it ends the process: a failed assertion, a corrupted heap, a smashed
// stack. No other file relies on the place where glibc stores it.

/// Looks up where the C library stores its reason. Call it once, before the first fault. With a C library that stores
/// none, or stores it elsewhere, TakeAbortReason always returns an empty text.
void PrepareAbortReason() noexcept;

/// The reason for the abort() that is under way, without a line end; empty when there is none, as after a plain
/// abort(). Each reason is returned once: that of an abort that the process survived stays where it is. Valid as long
/// as the process does not abort again. For the handler of SIGABRT.
std::string_view TakeAbortReason() noexcept;

} // namespace Ardo::Kiln::Crash
