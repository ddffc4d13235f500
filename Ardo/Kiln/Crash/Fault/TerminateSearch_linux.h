#pragma once

namespace Ardo::Kiln::Crash
{

/// Finds the functions that IsInTerminate looks for; the first call does so. Not for signal handlers.
void PrepareTerminateSearch() noexcept;

/// Whether one of the calling functions is std::terminate, or the runtime that has found no way on for an exception and
/// calls the terminate handler. Walks the stack, whose damage can make it fault. A signal handler may call it.
bool IsInTerminate() noexcept;

} // namespace Ardo::Kiln::Crash
