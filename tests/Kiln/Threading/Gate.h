#pragma once

#include "Ardo/Kiln/Threading/BackgroundWorker.h"
#include "tests/Support/MessageOf.h"
#include "tests/Support/TestTimeLimit.h"

#include <chrono>
#include <future>

namespace Ardo::Kiln::Threading
{

/// Waits for a result that a correct program has at once. After two minutes it ends the program and names the test.
template <typename Future>
void Await(const Future& future)
{
    if (future.wait_for(std::chrono::minutes(2)) != std::future_status::ready)
    {
        Support::EndHangingTest();
    }
}

/// A function of a worker that runs until the gate is opened.
struct Gate
{
    std::promise<void> entered;
    std::promise<void> open;

    /// What the worker runs; once.
    void Pass()
    {
        entered.set_value();
        Await(open.get_future());
    }

    /// Returns when the function has begun; once.
    void AwaitEntry() { Await(entered.get_future()); }

    /// Keeps \p worker busy until the gate opens.
    void Occupy(BackgroundWorker& worker)
    {
        worker.Post([this] { Pass(); });
        AwaitEntry();
    }

    void Open() { open.set_value(); }
};

/// What a BackgroundWorkerException of \p action says; empty without one.
std::string Refusal(const auto& action)
{
    return Support::MessageOf<BackgroundWorkerException>(action);
}

constexpr const char* NotRunning = "Background Worker is not running";
constexpr const char* Deadlock = "Call from BackgroundWorker thread will deadlock";

} // namespace Ardo::Kiln::Threading
