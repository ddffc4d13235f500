#include "Ardo/Kiln/Crash/Fault/FaultThread_linux.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <new>

namespace Ardo::Kiln::Crash
{

namespace
{

// The processor's registers alone take up to 14 KiB of a handler's stack on current machines.
constexpr std::size_t AlternateStackSize = 0x10000;
constexpr std::size_t GuardSize = 4096;

/// The memory of one thread: a page that faults when the alternate stack overflows, that stack, and the record.
struct ThreadMemory
{
    std::byte guard[GuardSize];
    std::byte stack[AlternateStackSize];
    FaultThread thread;
};

// Initial-exec, because a signal handler must not cause the allocation that other models may need at first use.
[[gnu::tls_model("initial-exec")]] thread_local FaultThread* g_thread = nullptr;
[[gnu::tls_model("initial-exec")]] thread_local FaultThread* g_onBehalf = nullptr;
[[gnu::tls_model("initial-exec")]] thread_local pid_t g_onBehalfId = 0;

// The record of a thread that faults without having been adopted. Static, because no memory may be left at the fault.
FaultThread g_reserve;

/// Takes the alternate stack away again when a thread ends. The record goes last: until then its thread may fault.
void Release(void* memory)
{
    stack_t current = {};
    auto* const own = static_cast<ThreadMemory*>(memory);
    if (sigaltstack(nullptr, &current) == 0 && current.ss_sp == own->stack)
    {
        stack_t none = {};
        none.ss_flags = SS_DISABLE;
        sigaltstack(&none, nullptr);
    }
    g_thread = nullptr;
    own->thread.~FaultThread();
    munmap(own, sizeof(ThreadMemory));
}

pthread_key_t MemoryKey() noexcept
{
    static const pthread_key_t key = []
    {
        pthread_key_t made = {};
        return pthread_key_create(&made, Release) == 0 ? made : ~pthread_key_t(0);
    }();
    return key;
}

void FindStack(FaultThread& thread) noexcept
{
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0)
    {
        return;
    }
    void* low = nullptr;
    std::size_t size = 0;
    if (pthread_attr_getstack(&attributes, &low, &size) == 0)
    {
        thread.stackLow = reinterpret_cast<std::uintptr_t>(low);
        thread.stackHigh = thread.stackLow + size;
    }
    pthread_attr_destroy(&attributes);
}

} // namespace

FaultThread* OwnFaultThread() noexcept
{
    return g_thread;
}

FaultThread* AdoptThread() noexcept
{
    if (g_thread != nullptr)
    {
        return g_thread;
    }
    void* const memory =
        mmap(nullptr, sizeof(ThreadMemory), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    if (memory == MAP_FAILED) // NOLINT(performance-no-int-to-ptr): the system's constant
    {
        return nullptr;
    }
    auto* const own = static_cast<ThreadMemory*>(memory);
    if (mprotect(own->guard, GuardSize, PROT_NONE) != 0 || pthread_setspecific(MemoryKey(), own) != 0)
    {
        munmap(memory, sizeof(ThreadMemory));
        return nullptr;
    }
    new (&own->thread) FaultThread;
    FindStack(own->thread);

    stack_t current = {};
    if (sigaltstack(nullptr, &current) == 0 && (current.ss_flags & SS_DISABLE) != 0)
    {
        stack_t stack = {};
        stack.ss_sp = own->stack;
        stack.ss_size = AlternateStackSize;
        sigaltstack(&stack, nullptr); // fails only for arguments that these are not
    }
    g_thread = &own->thread;
    return g_thread;
}

FaultThread& BorrowFaultThread() noexcept
{
    if (g_thread == nullptr)
    {
        g_thread = &g_reserve;
    }
    return *g_thread;
}

void ReturnFaultThread(FaultThread& thread) noexcept
{
    if (&thread == &g_reserve)
    {
        thread.data = nullptr;
        thread.uncaught.code = 0;
        g_thread = nullptr;
    }
}

FaultThread* FaultThreadOnBehalf() noexcept
{
    return g_onBehalf != nullptr ? g_onBehalf : g_thread;
}

void ActOnBehalf(FaultThread* thread, pid_t threadId) noexcept
{
    g_onBehalf = thread;
    g_onBehalfId = threadId;
}

pid_t ThreadIdOnBehalf() noexcept
{
    return g_onBehalf != nullptr ? g_onBehalfId : gettid();
}

void PrepareAdoption() noexcept
{
    MemoryKey();
}

} // namespace Ardo::Kiln::Crash
