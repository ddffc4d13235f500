#pragma once

namespace Ardo::Kiln::Crash
{

struct CrashRequest;

// The functions return 0 or the system's error number, and throw std::bad_alloc only.

/// Puts the report text into \p request.
int MakeText(CrashRequest& request);

/// Creates the minidump and, if there was a fault, the report beside it, and prints messages about it on the standard
/// error stream. A file has its final name only when it is complete.
int CreateFiles(const CrashRequest& request);

} // namespace Ardo::Kiln::Crash
