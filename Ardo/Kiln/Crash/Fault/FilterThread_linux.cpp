#include "Ardo/Kiln/Crash/Fault/FilterThread_linux.h"

#include "Ardo/Kiln/Crash/Fault/FaultFallback_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultSignal_linux.h"
#include "Ardo/Kiln/Crash/Fault/Futex_linux.h"
#include "Ardo/Kiln/Crash/Fault/ThreadStart_linux.h"

#include <pthread.h>

#include <chrono>
#include <cstdlib>

namespace Ardo::Kiln::Crash
{

namespace
{

using Nanoseconds = std::chrono::nanoseconds;

constexpr int SliceMilliseconds = 100;

/// How long an answer is waited for after the process has been asked to end.
constexpr Nanoseconds GraceAtTheEnd = std::chrono::seconds(2);

constinit FaultFallback g_fallback; // set while the library is loaded

Nanoseconds Now() noexcept
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::chrono::seconds(now.tv_sec) + Nanoseconds(now.tv_nsec);
}

} // namespace

void FilterThread::Start() noexcept
{
    sigset_t blocked;
    sigset_t before;
    sigfillset(&blocked);
    for (const int fault : FaultSignals)
    {
        sigdelset(&blocked, fault);
    }
    pthread_sigmask(SIG_SETMASK, &blocked, &before);
    pthread_t thread = {};
    const auto run = [](void* self) -> void*
    {
        static_cast<FilterThread*>(self)->Run();
        return nullptr;
    };
    if (CreatePlainThread(&thread, run, this) == 0)
    {
        pthread_setname_np(thread, "kiln-faults");
        pthread_detach(thread);
        while (m_thread == 0)
        {
            sched_yield();
        }
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

bool FilterThread::IsCaller() const noexcept
{
    return m_thread == gettid();
}

void FilterThread::Run() noexcept
{
    AdoptThread();
    free(malloc(64)); // now it has its own arena, whose lock no faulting thread holds
    m_thread = gettid();
    for (;;)
    {
        std::uint32_t state = m_state;
        if (state != Posted)
        {
            FutexWait(m_state, state, 3600 * 1000);
            continue;
        }
        ActOnBehalf(m_faulted, m_faultedId);
        m_verdict = Verdict::Failed;
        if (sigsetjmp(m_loop, 1) == 0)
        {
            try
            {
                m_verdict = AskFilters();
            }
            catch (...)
            {
                m_verdict = Verdict::Failed;
            }
        }
        m_pauses = 0; // a filter that has faulted has left its pauses open
        ActOnBehalf(nullptr, 0);
        state = Posted;
        m_state.compare_exchange_strong(state, Done);
        FutexWake(m_state);
    }
}

Verdict FilterThread::AskFilters()
{
    FaultThread& thread = *m_faulted;
    EXCEPTION_POINTERS* const pointers = thread.Pointers();
    for (const FaultFilter filter : thread.filters)
    {
        if (filter(pointers) < FilterResult::ContinueSearch)
        {
            return Verdict::Resume;
        }
    }
    for (GuardFrame* guard = thread.guard; guard != nullptr; guard = guard->outer)
    {
        const long answer = guard->filter(pointers);
        if (answer != FilterResult::ContinueSearch)
        {
            m_guard = guard;
            return answer == FilterResult::ExecuteHandler ? Verdict::Jump : Verdict::Resume;
        }
    }
    const FaultFilter unhandled = m_unhandledFilter;
    if (unhandled != nullptr && unhandled(pointers) < FilterResult::ContinueSearch)
    {
        return Verdict::Resume;
    }
    return Verdict::Previous;
}

bool FilterThread::CountsTime() const noexcept
{
    return m_pauses == 0 && !(g_fallback.isReporting != nullptr && g_fallback.isReporting());
}

Verdict FilterThread::Decide(FaultThread& thread, EndRequest& ending, GuardFrame*& guard) noexcept
{
    if (!IsRunning())
    {
        return Verdict::Failed;
    }
    m_faulted = &thread;
    m_faultedId = gettid();
    m_guard = nullptr;
    m_state = Posted;
    FutexWake(m_state);
    const Nanoseconds limit = std::chrono::milliseconds(m_timeLimit);
    Nanoseconds used{0};
    Nanoseconds waitedAtTheEnd{0};
    Nanoseconds last = Now();
    while (m_state == Posted)
    {
        FutexWait(m_state, Posted, SliceMilliseconds);
        const Nanoseconds now = Now();
        if (CountsTime())
        {
            used += now - last;
        }
        else if (m_pauses != 0 && ending.Poll())
        {
            waitedAtTheEnd += now - last;
        }
        last = now;
        std::uint32_t posted = Posted;
        if ((used > limit || waitedAtTheEnd > GraceAtTheEnd) && m_state.compare_exchange_strong(posted, Abandoned))
        {
            return Verdict::Failed;
        }
    }
    m_state = Idle;
    guard = m_guard;
    return m_verdict;
}

void FilterThread::LeaveFaultedFilter() noexcept
{
    if (IsCaller() && m_state != Idle)
    {
        siglongjmp(m_loop, 1);
    }
}

void FilterThread::Reset() noexcept
{
    m_thread = 0;
    m_state = Idle;
    m_pauses = 0;
}

void SetFaultFallback(const FaultFallback& fallback) noexcept
{
    g_fallback = fallback;
}

const FaultFallback& Fallback() noexcept
{
    return g_fallback;
}

} // namespace Ardo::Kiln::Crash
