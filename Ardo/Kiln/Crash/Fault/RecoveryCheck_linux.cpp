#include "Ardo/Kiln/Crash/Fault/RecoveryCheck_linux.h"

#include "Ardo/Kiln/Crash/Fault/SignalHandlers_linux.h"

#include <utility>

namespace Ardo::Kiln::Crash
{

namespace
{

constexpr greg_t TrapFlag = 0x100; // of the processor's flags: single step

bool HasTrapFlag(const ucontext_t& context) noexcept
{
    return (context.uc_mcontext.gregs[REG_EFL] & TrapFlag) != 0;
}

bool IsBlocked(int signal, const ucontext_t& context) noexcept
{
    return sigismember(&context.uc_sigmask, signal) != 0;
}

} // namespace

bool RecoveryCheck::TakeStep(int signal, const siginfo_t& info, ucontext_t& context) noexcept
{
    if (!m_stepping || signal != SIGTRAP || info.si_code != TRAP_TRACE)
    {
        return false;
    }
    m_stepping = false;
    m_timesInVain = 0;
    context.uc_mcontext.gregs[REG_EFL] &= ~TrapFlag;
    return true;
}

bool RecoveryCheck::BeginFault(const siginfo_t& info, ucontext_t& context) noexcept
{
    const bool isInVain = m_stepping && HasTrapFlag(context) && m_instruction == context.uc_mcontext.gregs[REG_RIP] &&
                          m_address == info.si_addr;
    if (m_stepping)
    {
        context.uc_mcontext.gregs[REG_EFL] &= ~TrapFlag;
        m_stepping = false;
    }
    m_timesInVain = isInVain ? m_timesInVain + 1 : 0;
    const bool wasCalled = std::exchange(m_wasCalled, false);
    return wasCalled && !isInVain;
}

void RecoveryCheck::HandlerCalled(const siginfo_t& info, const ucontext_t& context) noexcept
{
    m_wasCalled = true;
    m_instruction = context.uc_mcontext.gregs[REG_RIP];
    m_address = info.si_addr;
}

void RecoveryCheck::HandlerReturned(int signal, const siginfo_t& info, ucontext_t& context) noexcept
{
    const bool comesAgain =
        info.si_code > 0 && (signal == SIGSEGV || signal == SIGBUS || signal == SIGFPE || signal == SIGILL);
    const bool mayHaveChanged = m_instruction == context.uc_mcontext.gregs[REG_RIP] && !HasTrapFlag(context);
    if (comesAgain && mayHaveChanged && !IsBlocked(SIGTRAP, context) && IsOursInstalled(SIGTRAP))
    {
        context.uc_mcontext.gregs[REG_EFL] |= TrapFlag;
        m_stepping = true;
    }
}

} // namespace Ardo::Kiln::Crash
