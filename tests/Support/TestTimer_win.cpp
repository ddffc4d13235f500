#include "tests/Support/TestTimer.h"

#include "tests/Support/TestTimeLimit.h"

#include <cstdlib>
#include <mutex>

#include <windows.h>

namespace Ardo::Kiln::Support
{

namespace
{

std::mutex g_mutex;
std::string g_message;
HANDLE g_timer = nullptr;

void CALLBACK OnTimer(void* /*context*/, BOOLEAN /*fired*/)
{
    EndHangingTest();
}

/// Starts the timer anew, or ends it for a limit of 0.
void SetTimer(std::chrono::milliseconds limit)
{
    const std::lock_guard lock(g_mutex);
    if (g_timer != nullptr)
    {
        static_cast<void>(::DeleteTimerQueueTimer(nullptr, g_timer, nullptr));
        g_timer = nullptr;
    }
    if (limit.count() > 0)
    {
        ::CreateTimerQueueTimer(&g_timer, nullptr, OnTimer, nullptr, static_cast<DWORD>(limit.count()), 0,
                                WT_EXECUTEONLYONCE);
    }
}

} // namespace

void StartTestTimer(std::chrono::milliseconds limit, const std::string& message)
{
    SetTimer({});
    {
        const std::lock_guard lock(g_mutex);
        g_message = message;
    }
    SetTimer(limit);
}

void StopTestTimer()
{
    SetTimer({});
}

void EndHangingTest()
{
    const std::lock_guard lock(g_mutex);
    DWORD written = 0;
    ::WriteFile(::GetStdHandle(STD_ERROR_HANDLE), g_message.data(), static_cast<DWORD>(g_message.size()), &written,
                nullptr);
    ::TerminateProcess(::GetCurrentProcess(), 1);
    std::abort(); // only reached if that fails
}

} // namespace Ardo::Kiln::Support
