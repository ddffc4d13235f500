#include "apps/crash_probe/Conditions.h"
#include "apps/crash_probe/Scenario.h"

#include "Ardo/Kiln/Exception/Handler.h"
#include "Ardo/Kiln/Exception/Notification.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace
{

using namespace Ardo::Kiln::CrashProbe;
using Ardo::Kiln::Exception::Handler;
using Ardo::Kiln::Exception::Notification;

constexpr int WrongUsage = 2;

int* volatile g_nothing = nullptr;
volatile int g_number = 0;

/// Faults of an application's function that is called about a fault.
void Misbehave(const std::string& how)
{
    if (how == "faults")
    {
        g_number = *g_nothing; // <- handler-faults
    }
    else if (how == "slow")
    {
        // Longer than the time limit of the library's own work.
        std::this_thread::sleep_for(std::chrono::seconds(11));
    }
    else if (how == "throws")
    {
        throw std::runtime_error("the handler itself fails");
    }
}

/// A presenter that answers from another thread, or does not answer.
void Present(const std::string& how, std::shared_ptr<Notification> notification)
{
    Say("asked");
    Misbehave(how);
    if (how == "yes" || how == "no" || how == "slow")
    {
        std::thread(
            [notification = std::move(notification), decision = how == "yes" ? 1 : 0] {
                notification->Answer({decision, [] { Say("function called"); }});
            })
            .detach();
    }
}

struct Options
{
    std::string thread = "main";
    std::string condition;
    std::string notify;
    std::string handler;
    unsigned long long flags =
        Handler::CreateDumpFolder | Handler::CatchUncaught | Handler::DetectLoops | Handler::RememberThrows;
    unsigned times = 1;
    bool execute = false;
    bool inChild = false;
};

void Apply(const std::string& name, bool isEarly)
{
    for (const Condition& condition : Conditions())
    {
        if (condition.name == name && condition.isEarly == isEarly)
        {
            condition.apply();
        }
    }
}

using Scenarios = std::vector<const Scenario*>;

/// One crash, which may be survived.
void Crash(const Options& options, const Scenario& scenario)
{
    if (!options.execute)
    {
        scenario.run();
    }
    else if (options.notify.empty())
    {
        Handler::Execute(scenario.run);
    }
    else
    {
        Handler::ExecuteOrNotify(scenario.run, [&](std::shared_ptr<Notification> notification)
                                 { Present(options.notify, std::move(notification)); });
    }
    Say("returned");
}

/// The work of the thread that crashes.
void CrashAll(const Options& options, const Scenarios& scenarios)
{
    if (options.thread == "main" || options.thread == "worker")
    {
        Handler::Initialize();
    }
    PrintIds();
    Apply(options.condition, false);
    for (const Scenario* const scenario : scenarios)
    {
        for (unsigned count = 0; count < options.times; ++count)
        {
            Crash(options, *scenario);
        }
    }
    EndQuietly(); // locks that the crash has left locked would block an orderly end
}

/// A forked child, whose parent has another monitored thread, sets its own flags.
void CrashInChild(const Options& options, const std::function<void()>& crash)
{
    const bool isMonitored = options.thread != "bare";
    std::atomic<bool> isReady = !isMonitored;
    if (isMonitored)
    {
        std::thread(
            [&isReady]
            {
                Handler::Initialize();
                isReady = true;
                isReady.notify_one();
                std::this_thread::sleep_for(std::chrono::hours(1));
            })
            .detach();
        isReady.wait(false);
    }
    RunInChild(
        [&]
        {
            if (isMonitored)
            {
                Handler::SetFlags(options.flags);
            }
            crash();
        });
}

void Run(const Options& options, const Scenarios& scenarios)
{
    Apply(options.condition, true);
    if (options.flags != 0)
    {
        Handler::SetFlags(options.flags);
    }
    if (!options.handler.empty())
    {
        Handler::SetHandler([&](EXCEPTION_POINTERS*, const Handler::Notify&) { Misbehave(options.handler); });
    }
    const auto crash = [&] { CrashAll(options, scenarios); };
    if (options.inChild)
    {
        CrashInChild(options, crash);
    }
    else if (options.thread == "main")
    {
        crash();
    }
    else if (options.thread == "c11" || options.thread == "timer")
    {
        RunOnForeignThread(options.thread, crash);
    }
    else
    {
        std::thread(crash).join();
    }
}

const Scenario* Find(const std::string& name)
{
    for (const auto scenarios : {Faults(), SystemFaults(), Exceptions()})
    {
        const auto found = std::find_if(scenarios.begin(), scenarios.end(),
                                        [&](const Scenario& scenario) { return scenario.name == name; });
        if (found != scenarios.end())
        {
            return &*found;
        }
    }
    return nullptr;
}

template <typename Entries>
void Print(const char* heading, const Entries& entries)
{
    std::printf("%s:\n", heading);
    for (const auto& entry : entries)
    {
        std::printf("  %-20s %s\n", entry.name, entry.description);
    }
}

void List()
{
    Print("Faults", Faults());
    Print("Faults of this system", SystemFaults());
    std::printf("  %-20s %s\n", "before-main", "fault in a static constructor (no options)");
    Print("Exceptions", Exceptions());
    Print("Conditions (--with)", Conditions());
}

} // namespace

int main(int argc, char** argv)
{
    CLI::App app(
        "Crashes, to show what the library leaves behind. Reports go where the library puts them; --list tells "
        "the scenarios.",
        "crash_probe");
    Options options;
    std::vector<std::string> names;
    bool list = false;
    app.add_option("SCENARIO", names, "How to crash; several one after another, if each is survived");
    app.add_flag("--list", list, "Print the scenarios and conditions and exit");
    app.add_option(
           "--thread", options.thread,
           "Where: main or worker call Handler::Initialize, bare is a thread that calls nothing, and so are those "
           "of thrd_create (c11) and of a timer")
        ->check(CLI::IsMember({"main", "worker", "bare", "c11", "timer"}));
    app.add_flag("--execute", options.execute, "Inside Handler::Execute");
    app.add_option("--times", options.times, "How often, if the crash can be survived");
    app.add_option("--flags", options.flags, "The flags of Handler::SetFlags; 15 unless given");
    app.add_option("--notify", options.notify,
                   "Inside Handler::ExecuteOrNotify, with a presenter that answers yes or no, drops, throws, faults or "
                   "is slow to say no")
        ->check(CLI::IsMember({"yes", "no", "drops", "throws", "faults", "slow"}));
    app.add_option("--handler", options.handler,
                   "Handler::SetHandler with a function that does nothing, throws, "
                   "faults or is slow")
        ->check(CLI::IsMember({"nothing", "throws", "faults", "slow"}));
    app.add_option("--with", options.condition, "In which state")
        ->check(
            [](const std::string& wanted)
            {
                return std::any_of(Conditions().begin(), Conditions().end(),
                                   [&](const Condition& condition) { return condition.name == wanted; })
                           ? std::string()
                           : "no such condition: " + wanted;
            });
    app.add_flag("--child", options.inChild, "In a forked child");
    try
    {
        app.parse(argc, argv);
        options.execute = options.execute || !options.notify.empty();
        if (list)
        {
            List();
            return 0;
        }
        Scenarios scenarios;
        for (const std::string& name : names)
        {
            scenarios.push_back(Find(name));
            if (scenarios.back() == nullptr)
            {
                throw CLI::ValidationError("SCENARIO", "there is no " + name);
            }
        }
        if (scenarios.empty())
        {
            throw CLI::ValidationError("SCENARIO", "is missing");
        }
        Run(options, scenarios);
        return 0;
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error) == 0 ? 0 : WrongUsage;
    }
}
