#pragma once

#include "Ardo/Kiln/Crash/Fault/EndRequest_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultSlot_linux.h"
#include "Ardo/Kiln/Crash/Fault/FilterThread_linux.h"

#include <sys/types.h>

#include <atomic>

namespace Ardo::Kiln::Crash
{

/// What fault handling keeps for the process. Static, and without a destructor: faults come before the first
/// constructor and after the last destructor too.
struct FaultProcess
{
    /// The process that this memory belongs to; 0 before the first start. A child of vfork() shares the memory of its
    /// parent but has another number, and must change nothing here.
    std::atomic<pid_t> id = 0;

    std::atomic<bool> isStarted = false; ///< In this process; a forked child starts anew.
    FaultSlot slot;
    FilterThread filters;
    EndRequest ending;

    /// In a forked child: only the calling thread exists.
    void ResetInChild() noexcept;
};

/// The only object.
extern constinit FaultProcess g_faultProcess;

} // namespace Ardo::Kiln::Crash
