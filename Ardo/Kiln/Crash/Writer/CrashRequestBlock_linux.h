#pragma once

#include "Ardo/Kiln/Crash/CrashRequest_linux.h"

#include <atomic>
#include <cstddef>
#include <new>

namespace Ardo::Kiln::Crash
{

/// Memory for a CrashRequest that is there before anything goes wrong: too large for the stack of a thread that just
/// has come to its end, and not to be asked of an allocator that may be broken. There are few; who gets none does
/// without.
class CrashRequestBlock
{
public:
    CrashRequestBlock() noexcept
    {
        for (auto& slot : g_slots)
        {
            if (!slot.taken.exchange(true, std::memory_order_acquire))
            {
                m_slot = &slot;
                m_request = ::new (slot.memory) CrashRequest;
                return;
            }
        }
    }
    ~CrashRequestBlock()
    {
        if (m_slot != nullptr)
        {
            m_slot->taken.store(false, std::memory_order_release);
        }
    }
    CrashRequestBlock(const CrashRequestBlock&) = delete;
    CrashRequestBlock& operator=(const CrashRequestBlock&) = delete;

    /// Whether there was one to be had.
    explicit operator bool() const noexcept { return m_request != nullptr; }
    /// The request; only if there is one.
    CrashRequest& operator*() const noexcept { return *m_request; }
    /// The same.
    CrashRequest* operator->() const noexcept { return m_request; }

private:
    struct Slot
    {
        std::atomic<bool> taken;
        alignas(CrashRequest) std::byte memory[sizeof(CrashRequest)];
    };

    static inline constinit Slot g_slots[4] = {};

    Slot* m_slot = nullptr;
    CrashRequest* m_request = nullptr;
};

} // namespace Ardo::Kiln::Crash
