#include "Ardo/Kiln/Crash/Fault/GuardedQuestion_linux.h"

#include "Ardo/Kiln/Crash/Fault/FaultSignal_linux.h"
#include "Ardo/Kiln/Crash/Fault/LanguageRuntime.h"
#include "Ardo/Kiln/Crash/Fault/SignalHandlers_linux.h"

#include <pthread.h>
#include <setjmp.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace Ardo::Kiln::Crash
{

namespace
{

/// A question that is under way; on the stack of the thread that asks.
struct GuardedQuestion
{
    sigjmp_buf jump = {};
    volatile bool isTooLate = false;
};

/// The calling thread's innermost. Initial-exec, because a signal handler must not cause an allocation.
[[gnu::tls_model("initial-exec")]] constinit thread_local GuardedQuestion* g_question = nullptr;

/// A fault signal, because no other code handles those while this library does.
constexpr int TimerSignal = SIGSEGV;

/// Sends TimerSignal to the calling thread when the time for a question is over. System calls only: the C library's
/// functions may allocate.
class Timer
{
public:
    explicit Timer(GuardedQuestion& question) noexcept
    {
        sigevent event = {};
        event.sigev_notify = SIGEV_THREAD_ID;
        event.sigev_signo = TimerSignal;
        event.sigev_value.sival_ptr = &question;
        event._sigev_un._tid = gettid();
        m_exists = IsOursInstalled(TimerSignal) && syscall(SYS_timer_create, CLOCK_MONOTONIC, &event, &m_timer) == 0;
    }
    ~Timer()
    {
        if (m_exists)
        {
            syscall(SYS_timer_delete, m_timer);
        }
    }
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    void Start() noexcept
    {
        if (m_exists)
        {
            itimerspec time = {};
            time.it_value.tv_sec = QuestionMilliseconds / 1000;
            time.it_value.tv_nsec = QuestionMilliseconds % 1000 * 1'000'000L;
            syscall(SYS_timer_settime, m_timer, 0, &time, nullptr);
        }
    }

private:
    int m_timer = 0; // as the kernel numbers it
    bool m_exists = false;
};

/// Lets the fault signals through as long as it lives.
class Unblocked
{
public:
    Unblocked() noexcept
    {
        sigset_t faults;
        sigemptyset(&faults);
        for (const int fault : FaultSignals)
        {
            sigaddset(&faults, fault);
        }
        pthread_sigmask(SIG_UNBLOCK, &faults, &m_before);
    }
    ~Unblocked() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    Unblocked(const Unblocked&) = delete;
    Unblocked& operator=(const Unblocked&) = delete;

private:
    sigset_t m_before;
};

} // namespace

Asked AskGuarded(void (*ask)(void*), void* argument) noexcept
{
    // The variables that are used after the jump are set before sigsetjmp and not changed later.
    const Unblocked unblocked;
    GuardedQuestion question;
    Timer timer(question);
    CaughtExceptions caught;
    GuardedQuestion* const outer = g_question;
    if (sigsetjmp(question.jump, 1) != 0)
    {
        g_question = outer;
        caught.Restore();
        return question.isTooLate ? Asked::TooLate : Asked::Faulted;
    }
    g_question = &question;
    timer.Start();
    Asked asked = Asked::Answered;
    try
    {
        ask(argument);
    }
    catch (...)
    {
        asked = Asked::Faulted;
    }
    g_question = outer;
    return asked;
}

void GiveUpQuestion() noexcept
{
    if (g_question != nullptr)
    {
        siglongjmp(g_question->jump, 1);
    }
}

bool GiveUpQuestion(const siginfo_t& info) noexcept
{
    const bool isTimer = info.si_signo == TimerSignal && info.si_code == SI_TIMER;
    if (g_question != nullptr && (!isTimer || g_question == info.si_value.sival_ptr))
    {
        g_question->isTooLate = isTimer;
        siglongjmp(g_question->jump, 1);
    }
    return isTimer;
}

} // namespace Ardo::Kiln::Crash
