#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"
#include "Ardo/Kiln/Crash/FaultCode.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace Ardo::Kiln::Crash
{

namespace
{

// Each test in a process of its own: the handlers that were there before can only be set before the dispatch starts.

constexpr std::size_t PageSize = 4096;
char* g_page = nullptr; ///< Cannot be touched until Repair.
std::string* g_asked = nullptr;

void Prepare()
{
    g_asked = new std::string;
    g_page = static_cast<char*>(::mmap(nullptr, PageSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
}

void Repair()
{
    ::mprotect(g_page, PageSize, PROT_READ | PROT_WRITE);
}

template <char Name, long Answer>
long Filter(EXCEPTION_POINTERS* pointers)
{
    *g_asked += pointers->ExceptionRecord->ExceptionCode == FaultCode::AccessViolation ? Name : '?';
    return Answer;
}

long RepairingFilter(EXCEPTION_POINTERS* pointers)
{
    Repair();
    Filter<'r', 0>(pointers);
    return -1; // as Windows has it: go on where it stood
}

/// Faults.
void Touch()
{
    *static_cast<volatile char*>(g_page) = 1;
    std::_Exit(2);
}

[[noreturn]] void Tell()
{
    const std::string text = *g_asked + "\n";
    std::_Exit(::write(STDERR_FILENO, text.data(), text.size()) > 0 ? 0 : 1);
}

void SetBefore(int signal, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    ::sigaction(signal, &action, nullptr);
}

class FaultDispatchDeathTest : public testing::Test
{
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(FaultDispatchDeathTest, AsksInTheOrderOfTheSystem)
{
    // The last vectored filter first, then the guarded calls from the inside out; who answers ends it.
    EXPECT_EXIT(
        {
            Prepare();
            FaultDispatch::MonitorThread();
            FaultDispatch::SetUnhandledFilter(&Filter<'u', 0>);
            FaultDispatch::AddVectoredFilter(&Filter<'1', 0>);
            FaultDispatch::AddVectoredFilter(&Filter<'x', 0>);
            FaultDispatch::AddVectoredFilter(&Filter<'2', 0>);
            FaultDispatch::RemoveVectoredFilter(&Filter<'x', 0>);
            const auto inner = [](void*)
            { FaultDispatch::CallGuarded([](void*) { Touch(); }, nullptr, &Filter<'i', 0>); };
            const bool outerEnded = FaultDispatch::CallGuarded(inner, nullptr, &Filter<'o', 1>);
            *g_asked += outerEnded ? "?" : ".";
            const bool again = FaultDispatch::CallGuarded([](void*) { Touch(); }, nullptr, &Filter<'g', 1>);
            *g_asked += again ? "?" : ".";
            Tell();
        },
        testing::ExitedWithCode(0), "^21io\\.21g\\.\n$");
}

TEST_F(FaultDispatchDeathTest, GoesOnWhereAFilterHasRemovedTheCause)
{
    EXPECT_EXIT(
        {
            Prepare();
            FaultDispatch::MonitorThread();
            FaultDispatch::AddVectoredFilter(&Filter<'1', 0>);
            FaultDispatch::AddVectoredFilter(&RepairingFilter);
            *static_cast<volatile char*>(g_page) = 1;
            Tell();
        },
        testing::ExitedWithCode(0), "^r\n$");
}

TEST_F(FaultDispatchDeathTest, HandsOnToTheHandlerBefore)
{
    EXPECT_EXIT(
        {
            Prepare();
            SetBefore(SIGSEGV, [](int) { Repair(); });
            FaultDispatch::SetUnhandledFilter(&Filter<'u', 1>);
            FaultDispatch::MonitorThread();
            *static_cast<volatile char*>(g_page) = 1;
            Tell();
        },
        testing::ExitedWithCode(0), "^u\n$");
}

} // namespace

} // namespace Ardo::Kiln::Crash
