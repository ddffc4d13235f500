#pragma once

namespace Ardo::Kiln::Crash
{

struct FaultThread;

// std::terminate and abort() are no exceptions of the system, and the exceptions of gcc never reach its unhandled
// filter: the runtime calls std::terminate for them. So the thread itself describes its exception in the terminate
// handler, and the handler of SIGABRT, which abort() raises, has the filters asked.

/// Puts a handler in front of the terminate handler and of the handler of SIGABRT of the process, which it calls
/// afterwards; once.
void InstallTerminateHandler() noexcept;

/// The same for \p thread, the calling one, where the runtime keeps a terminate handler for each thread.
void InstallTerminateHandlerOfThread(FaultThread& thread) noexcept;

} // namespace Ardo::Kiln::Crash
