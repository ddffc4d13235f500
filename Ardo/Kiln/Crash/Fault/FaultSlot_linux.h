#pragma once

#include "Ardo/KilnExport.h"

#include <atomic>
#include <cstdint>

namespace Ardo::Kiln::Crash
{

/// Serialises the handling of faults: one thread of the process deals with its fault, the others wait.
///
/// A thread never waits for itself, nor for a thread that has ended. All functions make system calls only, so that a
/// signal handler may call them. Needs no destructor.
class KILN_EXPORT_FOR_TESTS FaultSlot
{
public:
    /// Whether the calling thread holds the slot. In a signal handler: the handling of a fault has faulted.
    bool IsHeldByCaller() const noexcept;

    /// Waits until the slot is free or its owner has ended, and takes it. Not for the owner.
    void Acquire() noexcept;

    /// Frees the slot. For the owner only.
    void Release() noexcept;

    /// Waits until no living thread other than the caller holds the slot.
    void WaitUntilFree() noexcept;

    /// Whether the first thread of the process waits in Acquire.
    bool FirstThreadWaits() const noexcept { return m_firstThreadWaits; }

    /// Frees the slot in a forked child, which does not have the owner.
    void Reset() noexcept;

private:
    void WaitFor(std::uint32_t owner) noexcept;

    std::atomic<std::uint32_t> m_owner = 0; ///< The system's number of the thread; 0: free.
    std::atomic<bool> m_firstThreadWaits = false;
};

} // namespace Ardo::Kiln::Crash
