#include "tests/Support/TestTimer.h"

#include "tests/Support/TestTimeLimit.h"

#include <cstring>

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

} // namespace

void StartTestTimer(std::chrono::milliseconds limit, const std::string& message)
{
    SetTimer({}); // the handler must not see a half-written message
    g_message[message.copy(g_message, sizeof g_message - 1)] = '\0';
    ::signal(SIGALRM, &OnAlarm);
    SetTimer(limit);
}

void StopTestTimer()
{
    SetTimer({});
}

void EndHangingTest()
{
    static_cast<void>(!::write(STDERR_FILENO, g_message, std::strlen(g_message)));
    ::_exit(1);
}

} // namespace Ardo::Kiln::Support
