#pragma once

#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"
#include "Ardo/Kiln/Exception/Handler.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace Ardo::Kiln::Exception
{

/// The handler's data about one thread, which owns it. Filters reach it through FaultDispatch::ThreadData, because on
/// Linux they run on another thread.
struct Handler::ThreadState
{
    std::unique_ptr<Handler> handler;         ///< Made by Initialize.
    int instances = 0;                        ///< Of Handler, made by this thread; one may outlive this object.
    unsigned long long registeredFilters = 0; ///< The flags whose filters are in the thread's chain.
    const Notify* notify = nullptr;           ///< Of the innermost Execute; null outside.
    MinidumpActions lastMinidumpActions;

    // The loop detector's memory.
    unsigned repetitions = 0;
    const EXCEPTION_POINTERS* lastPointers = nullptr;
    std::uint64_t lastAddress = 0;
    std::optional<std::uint64_t> lastTime;

    bool heapCorruptionReported = false;

    /// Of the thread on whose behalf the caller runs; null when there is none.
    static ThreadState* Get() noexcept { return static_cast<ThreadState*>(Crash::FaultDispatch::ThreadData()); }

    /// The same, without acquiring anything for a thread that has never been monitored.
    static ThreadState* Find() noexcept { return static_cast<ThreadState*>(Crash::FaultDispatch::FindThreadData()); }
};

/// Holds g_alreadyCrashedLock, unless the faulted thread holds it already because its handling has faulted.
class Handler::CrashLock
{
public:
    CrashLock();
    ~CrashLock();
    CrashLock(const CrashLock&) = delete;
    CrashLock& operator=(const CrashLock&) = delete;

    /// Whether the thread held the lock before.
    bool IsNested() const { return m_isNested; }

    /// Whether it is held for the thread on whose behalf the caller runs.
    static bool IsHeld() noexcept;

    /// Releases the lock, which the calling thread holds, for an object whose destructor was skipped by a jump.
    static void Unlock() noexcept;

private:
    bool m_isNested;
};

} // namespace Ardo::Kiln::Exception
