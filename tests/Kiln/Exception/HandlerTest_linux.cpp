#include "tests/Kiln/Exception/HandlerTest.h"

#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"
#include "tests/Support/Process.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <pthread.h>
#include <stdexcept>
#include <thread>
#include <unistd.h>

namespace Ardo::Kiln::Exception
{

TEST_F(HandlerTest, AThreadMayEndInsideTheWork)
{
    const auto cancelled = []
    {
        ::pthread_cancel(::pthread_self());
        ::pthread_testcancel();
    };
    for (const std::function<void()>& end :
         {std::function<void()>([] { ::pthread_exit(nullptr); }), std::function<void()>(cancelled)})
    {
        bool goesOn = false;
        std::thread(
            [&]
            {
                Handler::Execute(end);
                goesOn = true;
            })
            .join();
        EXPECT_FALSE(goesOn);
    }
}

TEST_F(HandlerDeathTest, WorkersOfAHostThatSaysNoInstallNothing)
{
    const auto run = []
    {
        struct sigaction before = {};
        struct sigaction after = {};
        ::sigaction(SIGSEGV, nullptr, &before);
        Handler::SetMonitorAllThread(false);
        std::thread([] { Handler::Execute([] {}); }).join();
        Handler::Execute([] { throw std::runtime_error("dealt with all the same"); });
        ::sigaction(SIGSEGV, nullptr, &after);
        bool hasThread = false; // a sanitizer may have one of its own
        for (const auto& task : std::filesystem::directory_iterator("/proc/self/task"))
        {
            hasThread = hasThread || Support::ReadFile(task.path() / "comm") == "kiln-faults\n";
        }
        std::_Exit(before.sa_sigaction == after.sa_sigaction && !hasThread ? 1 : 2);
    };
    EXPECT_EXIT(run(), ::testing::ExitedWithCode(1), "dealt with all the same");
}

TEST_F(HandlerDeathTest, ExitWaitsForAnotherThreadsReports)
{
    const auto run = []
    {
        Handler::SetHandler(
            [](EXCEPTION_POINTERS*, const Handler::Notify&)
            {
                std::thread([] { std::exit(3); }).detach();
                while (!Crash::FaultDispatch::HasNoUserInterface()) // it has been called
                {
                    std::this_thread::yield();
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(100)); // an exit that does not wait comes first
                throw std::runtime_error("reports are written");
            });
        Handler::Execute([] { throw std::runtime_error("at the end"); });
        ::pause();
    };
    EXPECT_EXIT(run(), ::testing::ExitedWithCode(3), "Minidump faked");
}

} // namespace Ardo::Kiln::Exception
