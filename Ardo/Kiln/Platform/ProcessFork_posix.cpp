#include "Ardo/Kiln/Platform/ProcessFork.h"

#include <atomic>
#include <new>
#include <pthread.h>

namespace Ardo::Kiln::Platform
{

namespace
{

std::atomic<std::uint32_t> g_forkCount = 0;

// It fails only if there is no memory. The count then stays 0 in forked children.
[[maybe_unused]] const int g_counts = ::pthread_atfork(nullptr, nullptr, [] { ++g_forkCount; });

} // namespace

void OnFork(void (*before)(), void (*inParent)(), void (*inChild)())
{
    if (::pthread_atfork(before, inParent, inChild) != 0)
    {
        throw std::bad_alloc(); // its only error
    }
}

std::uint32_t ForkCount() noexcept
{
    return g_forkCount.load(std::memory_order_relaxed);
}

} // namespace Ardo::Kiln::Platform
