// How a fault ends: with the process, with the handler of the application, or not at all. Each case in a process of its
// own that really faults.

#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"
#include "Ardo/Kiln/Crash/Fault/FaultSlot_linux.h"
#include "Ardo/Kiln/Platform/ProcessMemory_linux.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cfenv>
#include <chrono>
#include <csetjmp>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <sys/mman.h>
#include <sys/wait.h>
#include <ucontext.h>
#include <unistd.h>
#include <xmmintrin.h>

namespace Ardo::Kiln::Crash
{

namespace
{

using Platform::PageSize;

volatile char* g_page = nullptr;
std::jmp_buf g_back;
sigjmp_buf g_backWithMask;
const EXCEPTION_POINTERS* g_lastPointers = nullptr;
std::atomic<bool> g_go = false;

void Protect(int access)
{
    ::mprotect(const_cast<char*>(g_page), PageSize, access);
}

void Say(const std::string& text)
{
    [[maybe_unused]] const ssize_t count = ::write(STDERR_FILENO, text.data(), text.size());
}

/// Faults, until the page is repaired.
void Touch()
{
    __atomic_store_n(g_page, char(1), __ATOMIC_RELAXED); // of several threads at once in one case
}

/// Says "u", or "s" for the fault that it has seen before.
long Announce(EXCEPTION_POINTERS* pointers)
{
    Say(pointers == g_lastPointers ? "s" : "u");
    g_lastPointers = pointers;
    return FilterResult::ExecuteHandler;
}

/// Waits until so many threads wait for a futex, which those do whose fault is or will be handled.
void WaitForWaiters(int count)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(9);
    for (int found = 0; found != count && std::chrono::steady_clock::now() < end;)
    {
        found = 0;
        for (const auto& task : std::filesystem::directory_iterator("/proc/self/task"))
        {
            std::string number;
            std::ifstream(task.path() / "syscall") >> number;
            found += number == "202" ? 1 : 0;
        }
    }
}

void Monitor(FaultFilter unhandled)
{
    void* const page = ::mmap(nullptr, PageSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    g_page = static_cast<char*>(page);
    FaultDispatch::SetUnhandledFilter(unhandled);
    FaultDispatch::MonitorThread();
}

void SetHandler(int signal, void (*handler)(int), int flags = 0)
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    ::sigaction(signal, &action, nullptr);
}

/// A sanitizer's handlers are not what is tested.
void ForgetHandlers()
{
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT})
    {
        SetHandler(signal, SIG_DFL);
    }
}

// The cases ---------------------------------------------------------------------------------------------------------

void ThreadsFromBeforeAtOnce()
{
    for (int count = 0; count < 6; ++count)
    {
        std::thread(
            []
            {
                while (!g_go)
                {
                    std::this_thread::yield();
                }
                Touch();
            })
            .detach();
    }
    Monitor(
        [](EXCEPTION_POINTERS* pointers)
        {
            WaitForWaiters(6);
            return Announce(pointers);
        });
    g_go = true;
    ::pause();
}

void SignalsBlocked()
{
    sigset_t all;
    sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, nullptr);
    Monitor(&Announce);
    Touch();
}

void VforkChild()
{
    Monitor(&Announce);
    const pid_t child = ::vfork();
    if (child == 0)
    {
        Touch();
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    Say(std::to_string(WTERMSIG(status)));
    Touch();
}

void ForkedChild()
{
    Monitor(&Announce);
    const pid_t child = ::fork();
    if (child == 0)
    {
        FaultDispatch::MonitorThread();
        Touch();
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    Say(std::to_string(WTERMSIG(status)));
    Touch();
}

void CauseGoesAway()
{
    Monitor(
        [](EXCEPTION_POINTERS* pointers)
        {
            Protect(PROT_READ | PROT_WRITE); // on another thread than that at fault
            return Announce(pointers);
        });
    Touch();
}

void HandlerInVain()
{
    SetHandler(SIGSEGV, [](int) {});
    Monitor(&Announce);
    Touch();
}

void HandlerInstalledLater()
{
    static struct sigaction ours;
    Monitor(&Announce);
    struct sigaction action = {};
    action.sa_flags = SA_SIGINFO;
    action.sa_sigaction = [](int signal, siginfo_t* info, void* context)
    {
        Say("a");
        ours.sa_sigaction(signal, info, context);
    };
    ::sigaction(SIGSEGV, &action, &ours);
    FaultDispatch::MonitorThread(); // leaves it where it is
    Touch();
}

void Ignored()
{
    SetHandler(SIGTRAP, SIG_IGN);
    SetHandler(SIGABRT, SIG_IGN);
    Monitor(&Announce);
    try
    {
        throw 1;
    }
    catch (int)
    {
        ::raise(SIGTRAP);
        ::raise(SIGABRT); // not the end of an exception
    }
    Say("i");
    std::abort();
}

void AbortInGuardedCall()
{
    Monitor(nullptr);
    FaultDispatch::CallGuarded([](void*) { std::abort(); }, nullptr, &Announce);
}

void ExitMeanwhile()
{
    Monitor(
        [](EXCEPTION_POINTERS* pointers)
        {
            std::thread([] { std::exit(0); }).detach();
            WaitForWaiters(2); // the thread at fault, and that one
            return Announce(pointers);
        });
    Touch();
}

void TerminationMeanwhile()
{
    Monitor(
        [](EXCEPTION_POINTERS* pointers)
        {
            const FaultDispatch::ScopedTimeLimitPause pause;
            ::kill(::getpid(), SIGTERM);
            while (!FaultDispatch::HasNoUserInterface())
            {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            return Announce(pointers);
        });
    Touch();
}

void TerminationWhileNobodyAnswers()
{
    Monitor(
        [](EXCEPTION_POINTERS*) -> long
        {
            const FaultDispatch::ScopedTimeLimitPause pause;
            ::kill(::getpid(), SIGTERM);
            for (;;)
            {
                ::pause();
            }
        });
    Touch();
}

class FaultEndingDeathTest : public testing::Test
{
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(FaultEndingDeathTest, EndsTheProcessBySignalAfterTheFilters)
{
    const struct
    {
        void (*run)();
        int signal;
        const char* said;
    } cases[] = {
        {&ThreadsFromBeforeAtOnce, SIGSEGV, "^u$"},
        {&SignalsBlocked, SIGSEGV, "^u$"},
        {&VforkChild, SIGSEGV, "^11u$"}, // the child's fault is not the parent's
#ifndef __SANITIZE_THREAD__              // which lets a forked child start no threads
        {&ForkedChild, SIGSEGV, "^u11u$"},
#endif
        {&CauseGoesAway, SIGSEGV, "^u$"},
        {&HandlerInVain, SIGSEGV, "^ussssssss$"}, // not for ever, but long enough for the loop detector
        {&HandlerInstalledLater, SIGSEGV, "^au$"},
        {&Ignored, SIGABRT, "^iu$"},
        {&AbortInGuardedCall, SIGABRT, "^u$"},
        {&ExitMeanwhile, SIGSEGV, "^u$"},
        {&TerminationMeanwhile, SIGSEGV, "^u$"},
        {&TerminationWhileNobodyAnswers, SIGSEGV, "^$"},
    };
    for (const auto& [run, signal, said] : cases)
    {
        SCOPED_TRACE(&run - &cases[0].run);
        EXPECT_EXIT(
            {
                ForgetHandlers();
                run();
            },
            testing::KilledBySignal(signal), said);
    }
}

TEST_F(FaultEndingDeathTest, ApplicationsHandlerRecoversAsOftenAsItLikes)
{
    const struct
    {
        void (*handler)(int);
        int flags;
    } cases[] = {
        {[](int) { Protect(PROT_READ | PROT_WRITE); }, 0},
        {[](int) { ::siglongjmp(g_backWithMask, 1); }, 0},
        {[](int) { std::longjmp(g_back, 1); }, SA_NODEFER}, // the mask is as it was without ours
    };
    for (const auto& [handler, flags] : cases)
    {
        SCOPED_TRACE(flags);
        EXPECT_EXIT(
            {
                SetHandler(SIGSEGV, handler, flags);
                Monitor(nullptr);
                static std::atomic<int> same = 0;
                FaultDispatch::AddVectoredFilter(
                    [](EXCEPTION_POINTERS* pointers)
                    {
                        same += pointers == g_lastPointers ? 1 : 0;
                        g_lastPointers = pointers;
                        return FilterResult::ContinueSearch;
                    });
                for (static int count = 0; count < 100; ++count) // static: jumps leave local variables undefined
                {
                    Protect(PROT_NONE);
                    if (setjmp(g_back) == 0 && sigsetjmp(g_backWithMask, 1) == 0)
                    {
                        Touch();
                    }
                }
                sigset_t mask;
                ::pthread_sigmask(SIG_BLOCK, nullptr, &mask);
                Say(std::to_string(same) + (sigismember(&mask, SIGTERM) == 0 ? "." : "blocked"));
                std::_Exit(0);
            },
            testing::ExitedWithCode(0), "^0\\.$");
    }
}

TEST(FaultEndingTest, FloatingPointModesSurviveAFaultInAGuardedCall)
{
    Monitor(nullptr);
    const std::uint16_t wide = 0x027F; // x87 with a precision of 53 bits
    std::uint16_t control = 0;
    std::uint16_t before = 0;
    asm volatile("fnstcw %0" : "=m"(before));
    asm volatile("fldcw %0" : : "m"(wide));
    const unsigned modes = _mm_getcsr();
    _mm_setcsr((modes & ~0x1E00U) | _MM_ROUND_UP | _MM_FLUSH_ZERO_ON); // and the trap of invalid operations (0x80)
    const unsigned set = _mm_getcsr();
    static std::uint32_t seen = 0;
    const auto filter = [](EXCEPTION_POINTERS* pointers)
    {
        seen = pointers->ContextRecord->MxCsr;
        return FilterResult::ExecuteHandler;
    };
    EXPECT_FALSE(FaultDispatch::CallGuarded([](void*) { Touch(); }, nullptr, filter));
    EXPECT_EQ(seen & 0xFFC0U, set & 0xFFC0U);
    asm volatile("fnstcw %0" : "=m"(control));
    EXPECT_EQ(_mm_getcsr() & 0xFFC0U, set & 0xFFC0U);
    EXPECT_EQ(control, wide);
    asm volatile("fldcw %0" : : "m"(before));
    _mm_setcsr(modes);
}

TEST(FaultSlotTest, OneThreadHoldsItAtATime)
{
    FaultSlot slot;
    std::atomic<int> holders = 0;
    std::atomic<int> overlaps = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
    {
        threads.emplace_back(
            [&]
            {
                for (int round = 0; round < 2000; ++round)
                {
                    slot.Acquire();
                    overlaps += ++holders > 1 ? 1 : 0;
                    std::this_thread::yield(); // the others come here meanwhile
                    --holders;
                    slot.Release();
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(overlaps, 0);
}

TEST(FaultSlotTest, WaitsNeitherForAThreadThatHasEndedNorForItself)
{
    FaultSlot slot;
    std::thread([&] { slot.Acquire(); }).join();
    slot.WaitUntilFree();
    std::thread([&] { slot.Acquire(); }).join();
    slot.Acquire();
    EXPECT_TRUE(slot.IsHeldByCaller());
    slot.WaitUntilFree();
    bool isHeld = true;
    std::thread([&] { isHeld = slot.IsHeldByCaller(); }).join();
    EXPECT_FALSE(isHeld);
    slot.Release();
    EXPECT_FALSE(slot.IsHeldByCaller());
}

} // namespace

} // namespace Ardo::Kiln::Crash
