#pragma once

#include "Ardo/Kiln/Crash/Fault/FilterList.h"
#include "Ardo/Kiln/Crash/Fault/GuardedCall_win.h"
#include "Ardo/Kiln/Crash/Fault/UncaughtException.h"

#include <array>
#include <atomic>
#include <cstddef>

namespace Ardo::Kiln::Crash
{

/// A guarded call that is under way.
struct GuardFrame
{
    KilnGuardedCall call = {};
    FaultFilter filter = nullptr;
};

/// How much stack a thread is to have left when its stack overflows, in bytes: for the handlers of others.
inline constexpr unsigned long OverflowStack = 64 * 1024;

/// What fault handling knows about one thread.
///
/// A slot of the system's holds its address (TlsAlloc), not a thread_local variable: where compilers emulate those,
/// their memory is gone while the destructors of others still run.
struct FaultThread
{
    FilterList filters;
    GuardFrame* guard = nullptr;    ///< The innermost.
    GuardFrame* question = nullptr; ///< That of the question which the thread is asking; see AskGuarded.
    void* data = nullptr;
    void (*atEnd)(void*) = nullptr; ///< See FaultDispatch::CallAtThreadEnd.
    void* atEndArgument = nullptr;
    std::atomic<unsigned> depth = 0; ///< How many of its faults are being handled: above 1, one of the handling itself.
    bool hasOverflowed = false;      ///< Its stack, and the pages that notice it are not in place again.
    bool isTerminating = false;      ///< Inside std::terminate, because of the exception in uncaught.
    bool hasTerminateHandler = false; ///< See InstallTerminateHandlerOfThread.
    UncaughtException uncaught;
};

/// The calling thread's record, or null. Keeps the thread's last error.
FaultThread* OwnFaultThread() noexcept;

/// The same; makes one if there is none. Null when there is no memory. The record goes when the thread ends.
FaultThread* AdoptThread() noexcept;

/// The record of the thread on whose behalf the caller runs: of another one while a filter runs for a thread whose
/// stack has overflowed, else the caller's own or null.
FaultThread* FaultThreadOnBehalf() noexcept;

/// The system's number of that thread.
DWORD ThreadIdOnBehalf() noexcept;

/// The number of the thread that has loaded this library, and serves the user interface.
DWORD FirstThreadId() noexcept;

/// Whether that thread deals with a fault of its own.
bool FirstThreadHandlesFault() noexcept;

/// Whether the calling thread runs on behalf of another one.
bool ActsOnBehalf() noexcept;

/// Sets the thread on whose behalf the calling thread runs; 0 for itself. One thread at a time.
void ActOnBehalf(FaultThread* thread, DWORD threadId) noexcept;

} // namespace Ardo::Kiln::Crash
