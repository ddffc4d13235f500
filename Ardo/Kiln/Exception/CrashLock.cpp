#include "Ardo/Kiln/Exception/HandlerInternal_p.h"

#include <chrono>
#include <optional>
#include <thread>

namespace Ardo::Kiln::Exception
{

using Crash::FaultDispatch;

namespace
{

constexpr std::chrono::milliseconds LockPollInterval{20};

} // namespace

Handler::Internal::CrashLock::CrashLock() : m_isNested(IsHeld())
{
    if (m_isNested)
    {
        return;
    }
    // While the holder waits for a person, the time limit of this thread's filters is paused too.
    std::optional<FaultDispatch::ScopedTimeLimitPause> pause;
    while (!g_alreadyCrashedLock.try_lock())
    {
        if (!g_answerIsAwaited)
        {
            pause.reset();
        }
        else if (!pause)
        {
            pause.emplace();
        }
        std::this_thread::sleep_for(LockPollInterval);
    }
    g_crashedThread = FaultDispatch::ThreadId();
}

Handler::Internal::CrashLock::~CrashLock()
{
    if (!m_isNested)
    {
        Unlock();
    }
}

bool Handler::Internal::CrashLock::IsHeld() noexcept
{
    return g_crashedThread == FaultDispatch::ThreadId();
}

void Handler::Internal::CrashLock::Unlock() noexcept
{
    g_answerIsAwaited = false; // in case the code that awaited it was left by a jump
    g_crashedThread = 0;
    g_alreadyCrashedLock.unlock();
}

} // namespace Ardo::Kiln::Exception
