#include "tests/Support/TestTimeLimit.h"

#include <gtest/gtest.h>

#include <mutex>
#include <string>

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

class Listener : public testing::EmptyTestEventListener
{
    void OnTestStart(const testing::TestInfo& /*test*/) override { SetTestTimeLimit(std::chrono::minutes(5)); }
    void OnTestEnd(const testing::TestInfo& /*test*/) override { SetTimer({}); }
};

} // namespace

void SetTestTimeLimit(std::chrono::milliseconds limit)
{
    const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
    const std::string name = test != nullptr ? std::string(test->test_suite_name()) + "." + test->name() : "no test";
    SetTimer({});
    {
        const std::lock_guard lock(g_mutex);
        g_message = "[  FAILED  ] " + name + " has not ended in time\n";
    }
    SetTimer(limit);
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

void LimitTimeOfEachTest()
{
    testing::UnitTest::GetInstance()->listeners().Append(new Listener); // owned by the list
}

} // namespace Ardo::Kiln::Support
