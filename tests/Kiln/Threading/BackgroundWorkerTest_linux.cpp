#include "Ardo/Kiln/Threading/BackgroundWorker.h"

#include "tests/Kiln/Threading/Gate.h"
#include "tests/Support/Process.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

namespace Ardo::Kiln::Threading
{

TEST(BackgroundWorkerLinuxTest, AForkedChildHasAStoppedWorkerAndNobodyWaitsThere)
{
    Gate gate;
    auto worker = std::make_unique<BackgroundWorker>();
    auto series = std::make_unique<ScopedScheduledWork>(worker->Schedule([&] { gate.Pass(); }));
    gate.AwaitEntry();
    worker->Post([] {});
    const pid_t child = ::fork();
    if (child == 0)
    {
        ::alarm(120);
        const bool isRefused = !worker->IsRunning() && Refusal([&] { worker->Post([] {}); }) == NotRunning &&
                               Refusal([&] { worker->Call([] {}); }) == NotRunning;
        worker->Wait();
        series.reset();
        worker.reset();
#ifdef __SANITIZE_THREAD__ // does not support new threads there
        ::_exit(isRefused ? 0 : 1);
#else
        BackgroundWorker own;
        bool ran = false;
        own.Call([&] { ran = true; });
        ::_exit(isRefused && ran ? 0 : 1);
#endif
    }
    gate.Open();
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    worker->Wait();
    EXPECT_TRUE(worker->IsRunning());
}

TEST(BackgroundWorkerLinuxTest, ItsThreadTakesTheName)
{
    const std::tuple<std::string, std::string> names[] = {
        {"Exporter", "Exporter"},
        {BackgroundWorker::DEFAULT_THREAD_NAME, "BackgroundWorke"},
        {"12345678901234\u00e9x", "12345678901234"},
        {"1234567890123\u00e9", "1234567890123\u00e9"},
        {"1234567890123\u4f4e", "1234567890123"},
        {"\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80", ""}};
    for (const auto& [name, expected] : names)
    {
        std::string shown;
        BackgroundWorker worker(name);
        worker.Call([&] { shown = Support::ReadFile("/proc/thread-self/comm"); });
        EXPECT_EQ(shown, expected + "\n") << name;
    }
}

} // namespace Ardo::Kiln::Threading
