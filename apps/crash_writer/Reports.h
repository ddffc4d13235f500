#pragma once

namespace Ardo::Kiln::Platform
{
struct CrashRequest;
}

namespace Ardo::Kiln::CrashWriter
{

// \returns 0 or the system's error number. \throws std::bad_alloc only.

/// Puts the report text into \p request.
int MakeText(Platform::CrashRequest& request);

/// Creates the minidump and, if there was a fault, the report beside it, and tells so on standard error. Each is there
/// under its name only when it is whole.
int CreateFiles(const Platform::CrashRequest& request);

} // namespace Ardo::Kiln::CrashWriter
