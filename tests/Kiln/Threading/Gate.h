#pragma once

#include "Ardo/Kiln/Threading/BackgroundWorker.h"

#include <future>

namespace Ardo::Kiln::Threading
{

/// A function of a worker that runs until it is let go.
struct Gate
{
    std::promise<void> entered;
    std::promise<void> open;

    /// What the worker runs; once.
    void Pass()
    {
        entered.set_value();
        open.get_future().wait();
    }

    /// Keeps \p worker busy until the gate opens.
    void Occupy(BackgroundWorker& worker)
    {
        worker.Post([this] { Pass(); });
        entered.get_future().wait();
    }

    void Open() { open.set_value(); }
};

/// What a BackgroundWorkerException of \p action says; "none" without one.
template <typename Action>
std::string Refusal(const Action& action)
{
    try
    {
        action();
        return "none";
    }
    catch (const BackgroundWorkerException& exception)
    {
        return exception.what();
    }
}

constexpr const char* NotRunning = "Background Worker is not running";
constexpr const char* Deadlock = "Call from BackgroundWorker thread will deadlock";

} // namespace Ardo::Kiln::Threading
