#include "Ardo/Kiln/Crash/Writer/CrashRequestPool_linux.h"

#include <atomic>
#include <cstddef>
#include <new>

#include <sys/mman.h>

namespace Ardo::Kiln::Crash
{

namespace
{

struct Slot
{
    std::atomic<bool> taken;
    alignas(CrashRequest) std::byte memory[sizeof(CrashRequest)];
};

constinit Slot g_slots[4] = {};

} // namespace

CrashRequest* AcquireCrashRequest() noexcept
{
    for (Slot& slot : g_slots)
    {
        if (!slot.taken.exchange(true, std::memory_order_acquire))
        {
            return ::new (slot.memory) CrashRequest;
        }
    }
    void* const memory =
        ::mmap(nullptr, sizeof(CrashRequest), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory == MAP_FAILED ? nullptr : ::new (memory) CrashRequest; // NOLINT(performance-no-int-to-ptr)
}

void ReleaseCrashRequest(CrashRequest* request) noexcept
{
    for (Slot& slot : g_slots)
    {
        if (static_cast<void*>(request) == slot.memory)
        {
            slot.taken.store(false, std::memory_order_release);
            return;
        }
    }
    if (request != nullptr)
    {
        ::munmap(request, sizeof *request);
    }
}

} // namespace Ardo::Kiln::Crash
