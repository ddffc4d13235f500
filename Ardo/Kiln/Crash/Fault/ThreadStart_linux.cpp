// Interposes the functions of the C library that start threads, so that every thread gets an alternate stack, also the
// threads of code that does not use this library. Without one the kernel kills the process for a stack overflow before
// any handler runs.

#include "Ardo/Kiln/Crash/Fault/ThreadStart_linux.h"

#include "Ardo/Kiln/Crash/Fault/FaultThread_linux.h"
#include "Ardo/Kiln/Crash/Fault/SignalHandlers_linux.h"
#include "Ardo/KilnExport.h"

#include <dlfcn.h>
#include <signal.h>
#include <threads.h>
#include <time.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <new>

namespace Ardo::Kiln::Crash
{

namespace
{

std::atomic<bool> g_adoptsNewThreads = false;

/// A function of the C library that this library interposes.
template <typename Function>
class SystemFunction
{
public:
    constexpr explicit SystemFunction(const char* name) noexcept : m_name(name) {}

    /// Null if there is none.
    Function* Get() noexcept
    {
        Function* function = m_function.load(std::memory_order_relaxed);
        if (function == nullptr)
        {
            function = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, m_name));
            m_function.store(function, std::memory_order_relaxed);
        }
        return function;
    }

private:
    const char* m_name;
    std::atomic<Function*> m_function = nullptr;
};

constinit SystemFunction<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>
    g_pthreadCreate("pthread_create");
constinit SystemFunction<int(thrd_t*, thrd_start_t, void*)> g_thrdCreate("thrd_create");
constinit SystemFunction<int(clockid_t, sigevent*, timer_t*)> g_timerCreate("timer_create");
constinit SystemFunction<int(timer_t)> g_timerDelete("timer_delete");

/// The body of a new thread and its argument.
template <typename Result>
struct ThreadStart
{
    Result (*body)(void*);
    void* argument;
};

template <typename Result>
Result RunAdopted(void* start)
{
    const auto own = *static_cast<ThreadStart<Result>*>(start);
    delete static_cast<ThreadStart<Result>*>(start);
    AdoptThread();
    return own.body(own.argument);
}

/// What a timer calls on its threads. Read by threads that may start after the timer has been deleted, so an entry is
/// never freed, and its number tells whether it has been given to another timer since.
struct TimerStart
{
    std::atomic<std::uint32_t> number = 0; ///< Odd: in use. Increased when it is taken and when it is freed.
    std::atomic<void (*)(sigval)> body = nullptr;
    std::atomic<void*> argument = nullptr;
    std::atomic<timer_t> timer = nullptr;
};
constinit std::array<TimerStart, 256> g_timerStarts; // threads of further timers are not adopted

constexpr std::uint64_t IndexBits = 8;

/// The value of an entry whose timer is not known yet. No timer has this number.
timer_t NoTimer() noexcept
{
    return reinterpret_cast<timer_t>(~std::uintptr_t{0}); // NOLINT(performance-no-int-to-ptr)
}

void RunTimerAdopted(sigval value)
{
    const auto key = reinterpret_cast<std::uintptr_t>(value.sival_ptr);
    const TimerStart& start = g_timerStarts[key & ((1U << IndexBits) - 1)];
    auto* const body = start.body.load();
    sigval argument = {};
    argument.sival_ptr = start.argument;
    if (start.number == key >> IndexBits) // otherwise the timer has been deleted
    {
        AdoptThread();
        UnblockFaultSignals(); // the C library starts these threads with all signals blocked
        body(argument);
    }
}

TimerStart* TakeTimerStart() noexcept
{
    for (TimerStart& start : g_timerStarts)
    {
        std::uint32_t number = start.number;
        if (number % 2 == 0 && start.number.compare_exchange_strong(number, number + 1))
        {
            start.timer = NoTimer();
            return &start;
        }
    }
    return nullptr;
}

} // namespace

void AdoptNewThreads() noexcept
{
    PrepareAdoption();
#ifndef __SANITIZE_THREAD__ // its own start of a thread has to come before all instrumented code
    g_adoptsNewThreads = true;
#endif
}

int CreatePlainThread(pthread_t* thread, void* (*body)(void*), void* argument) noexcept
{
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
    return ::pthread_create(thread, nullptr, body, argument); // the sanitizers have to know every thread
#else
    auto* const create = g_pthreadCreate.Get();
    return create != nullptr ? create(thread, nullptr, body, argument) : ENOSYS;
#endif
}

} // namespace Ardo::Kiln::Crash

using namespace Ardo::Kiln::Crash;

extern "C" KILN_EXPORT int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                                          void* argument) noexcept
{
    auto* const create = g_pthreadCreate.Get();
    if (create == nullptr)
    {
        return ENOSYS;
    }
    if (!g_adoptsNewThreads)
    {
        return create(thread, attributes, body, argument);
    }
    auto* const start = new (std::nothrow) ThreadStart<void*>{body, argument};
    const int error = start != nullptr ? create(thread, attributes, &RunAdopted<void*>, start) : EAGAIN;
    if (error != 0)
    {
        delete start;
    }
    return error;
}

extern "C" KILN_EXPORT int thrd_create(thrd_t* thread, thrd_start_t body, void* argument)
{
    auto* const create = g_thrdCreate.Get();
    if (create == nullptr)
    {
        return thrd_error;
    }
    if (!g_adoptsNewThreads)
    {
        return create(thread, body, argument);
    }
    auto* const start = new (std::nothrow) ThreadStart<int>{body, argument};
    const int result = start != nullptr ? create(thread, &RunAdopted<int>, start) : thrd_nomem;
    if (result != thrd_success)
    {
        delete start;
    }
    return result;
}

extern "C" KILN_EXPORT int timer_create(clockid_t clock, sigevent* event, timer_t* timer) noexcept
{
    auto* const create = g_timerCreate.Get();
    if (create == nullptr)
    {
        errno = ENOSYS;
        return -1;
    }
    const bool startsThreads = event != nullptr && event->sigev_notify == SIGEV_THREAD;
    TimerStart* const start = g_adoptsNewThreads && startsThreads ? TakeTimerStart() : nullptr;
    if (start == nullptr)
    {
        return create(clock, event, timer);
    }
    start->body = event->sigev_notify_function;
    start->argument = event->sigev_value.sival_ptr;
    const auto index = static_cast<std::uintptr_t>(start - g_timerStarts.data());
    sigevent own = *event;
    own.sigev_notify_function = &RunTimerAdopted;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a number in place of a pointer
    own.sigev_value.sival_ptr = reinterpret_cast<void*>(std::uintptr_t{start->number} << IndexBits | index);
    const int result = create(clock, &own, timer);
    if (result == 0)
    {
        start->timer = *timer;
    }
    else
    {
        ++start->number;
    }
    return result;
}

extern "C" KILN_EXPORT int timer_delete(timer_t timer) noexcept
{
    auto* const remove = g_timerDelete.Get();
    if (remove == nullptr)
    {
        errno = ENOSYS;
        return -1;
    }
    for (TimerStart& start : g_timerStarts)
    {
        if (start.number % 2 == 1 && start.timer == timer)
        {
            start.timer = NoTimer();
            ++start.number;
        }
    }
    return remove(timer);
}
