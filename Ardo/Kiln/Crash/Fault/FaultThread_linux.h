#pragma once

#include "Ardo/Kiln/Crash/Fault/FilterList.h"
#include "Ardo/Kiln/Crash/Fault/ThrowTrace_linux.h"
#include "Ardo/Kiln/Crash/Fault/UncaughtException.h"
#include "Ardo/Kiln/Platform/StructuredException.h"

#include <setjmp.h>
#include <signal.h>
#include <sys/types.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Ardo::Kiln::Crash
{

/// A guarded call that is under way: where to continue when its filter deals with a fault.
struct GuardFrame
{
    FaultFilter filter = nullptr;
    GuardFrame* outer = nullptr;
    sigjmp_buf jump;
};

/// The data of fault handling about one thread. It has memory of its own, and thread-local storage holds a pointer
/// only: a larger thread_local would exceed the static TLS reserve and make dlopen fail.
///
/// Used by its thread, and by the thread that runs filters on its behalf while it waits.
struct FaultThread
{
    /// How filters see the fault. At one address as long as the same fault comes again, at another one for the next
    /// fault after the thread has recovered: the loop detector compares it.
    EXCEPTION_POINTERS* Pointers() noexcept { return &blocks[usedBlock]; }

    /// Whether \p pointers is of this object.
    bool Owns(const EXCEPTION_POINTERS* pointers) const noexcept
    {
        return pointers == &blocks[0] || pointers == &blocks[1];
    }

    std::array<EXCEPTION_POINTERS, 2> blocks = {{{&record, &context}, {&record, &context}}};
    std::size_t usedBlock = 0;
    EXCEPTION_RECORD record = {};
    CONTEXT context = {};
    int signal = 0;
    int signalCode = 0;
    std::string_view abortReason; ///< With SIGABRT the C library's reason; see TakeAbortReason.

    std::uintptr_t stackLow = 0; ///< Lowest address of its stack; 0 when not known.
    std::uintptr_t stackHigh = 0;
    FilterList filters;
    GuardFrame* guard = nullptr; ///< The innermost.
    void* data = nullptr;
    UncaughtException uncaught;
    StackTrace throwTrace;    ///< Of the last throw that was remembered.
    bool terminating = false; ///< Inside std::terminate, because of an exception.
    unsigned depth = 0;       ///< How many of its faults are being handled: above 1, one of the handling itself.
};

/// The calling thread's record, or null.
FaultThread* OwnFaultThread() noexcept;

/// Gives the calling thread a record and, unless it has one already, an alternate stack; both go when it ends. The
/// stack's bounds are found out too.
/// \returns the record; null when there is no memory.
FaultThread* AdoptThread() noexcept;

/// The calling thread's record, or the reserved one for threads that have none. Only for the owner of the fault slot,
/// so that one reserved record serves all. A signal handler may call it.
FaultThread& BorrowFaultThread() noexcept;

/// Gives a borrowed record back; nothing happens for the thread's own. Before the fault slot is released.
void ReturnFaultThread(FaultThread& thread) noexcept;

/// The record of the thread on whose behalf the caller runs: of another one inside a filter, else the caller's own or
/// null.
FaultThread* FaultThreadOnBehalf() noexcept;

/// Sets the thread on whose behalf the calling thread runs; null for itself.
void ActOnBehalf(FaultThread* thread, pid_t threadId) noexcept;

/// The system's number of that thread.
pid_t ThreadIdOnBehalf() noexcept;

/// Acquires what AdoptThread needs from the process. Once, before the first fault.
void PrepareAdoption() noexcept;

} // namespace Ardo::Kiln::Crash
