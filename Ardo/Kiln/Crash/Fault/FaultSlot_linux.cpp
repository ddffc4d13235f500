#include "Ardo/Kiln/Crash/Fault/FaultSlot_linux.h"

#include "Ardo/Kiln/Crash/Fault/Futex_linux.h"

#include <cerrno>

namespace Ardo::Kiln::Crash
{

namespace
{

constexpr int PollMilliseconds = 100; // how often a waiting thread checks that the owner still exists

std::uint32_t Self() noexcept
{
    return static_cast<std::uint32_t>(gettid());
}

bool HasEnded(std::uint32_t thread) noexcept
{
    return syscall(SYS_tgkill, getpid(), thread, 0) != 0 && errno == ESRCH;
}

} // namespace

bool FaultSlot::IsHeldByCaller() const noexcept
{
    return m_owner == Self();
}

void FaultSlot::WaitFor(std::uint32_t owner) noexcept
{
    if (HasEnded(owner))
    {
        m_owner.compare_exchange_strong(owner, 0);
        return;
    }
    FutexWait(m_owner, owner, PollMilliseconds);
}

void FaultSlot::Acquire() noexcept
{
    const std::uint32_t self = Self();
    const bool first = static_cast<pid_t>(self) == getpid();
    std::uint32_t owner = 0;
    while (!m_owner.compare_exchange_strong(owner, self))
    {
        if (first)
        {
            m_firstThreadWaits = true;
        }
        WaitFor(owner);
        owner = 0;
    }
    if (first)
    {
        m_firstThreadWaits = false;
    }
}

void FaultSlot::Release() noexcept
{
    m_owner = 0;
    FutexWake(m_owner);
}

void FaultSlot::WaitUntilFree() noexcept
{
    const std::uint32_t self = Self();
    for (std::uint32_t owner = m_owner; owner != 0 && owner != self; owner = m_owner)
    {
        WaitFor(owner);
    }
}

void FaultSlot::Reset() noexcept
{
    m_owner = 0;
    m_firstThreadWaits = false;
}

} // namespace Ardo::Kiln::Crash
