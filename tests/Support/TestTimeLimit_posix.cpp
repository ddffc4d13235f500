#include "tests/Support/TestTimeLimit.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include <signal.h>
#include <sys/time.h>
#include <unistd.h>

namespace Ardo::Kiln::Support
{

namespace
{

char g_message[300]; ///< Prepared in advance, because a signal handler cannot ask for the test's name.

void OnAlarm(int /*signal*/)
{
    EndHangingTest();
}

void SetTimer(std::chrono::milliseconds limit)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(limit);
    itimerval timer{};
    timer.it_value.tv_sec = seconds.count();
    timer.it_value.tv_usec = std::chrono::microseconds(limit - seconds).count();
    ::setitimer(ITIMER_REAL, &timer, nullptr);
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
    const std::string message = "[  FAILED  ] " + name + " has not ended in time\n";
    SetTimer({}); // the handler must not see a half-written message
    g_message[message.copy(g_message, sizeof g_message - 1)] = '\0';
    ::signal(SIGALRM, &OnAlarm);
    SetTimer(limit);
}

void EndHangingTest()
{
    static_cast<void>(!::write(STDERR_FILENO, g_message, std::strlen(g_message)));
    ::_exit(1);
}

void LimitTimeOfEachTest()
{
    testing::UnitTest::GetInstance()->listeners().Append(new Listener); // owned by the list
}

} // namespace Ardo::Kiln::Support
