// A process that shares its log files with others: LogWriterProcess FOLDER ID MODE COUNT LIMIT

#include "tests/Kiln/Logger/LogWriterProcess.h"
#include "Ardo/Kiln/Logger/CreateLogger.h"
#include "Ardo/Kiln/Logger/Logging.h"
#include "Ardo/Kiln/Logger/SeveritySets.h"

#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_feature.hpp>

#include <atomic>
#include <cstdlib>
#include <limits>
#include <optional>
#include <string_view>
#include <thread>

#ifdef __SANITIZE_THREAD__
/// A race that is none: the C library guards its time zone by a lock that the sanitizer does not see.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions()
{
    return "race:tzset_internal\n";
}
#endif

namespace
{

using namespace Ardo::Kiln::Logger;

std::atomic<int> g_logged = 0;

void Log(const std::string& name, int count)
{
    auto logger = CreateLogger(name);
    for (int number = 0; number < count; ++number)
    {
        // The length follows from the number, so that a reader sees what is missing.
        const std::string rest(static_cast<std::size_t>(number % 70), 'x');
        BOOST_LOG_SEV(logger, number % 50 == 49 ? warning : info) << "record " << number << " " << rest << ".";
        if (number % 10 == 0)
        {
            BOOST_LOG_SEV(logger, debug) << "record " << number << " " << rest << ".";
        }
        g_logged.fetch_add(1);
        g_logged.notify_all();
    }
}

/// Logs when it is destroyed, which is after the log environment.
struct Late
{
    ~Late() { name.empty() ? void() : Log(name, 1); }

    std::string name;
};
Late g_late;
std::optional<Logging> g_logging;

} // namespace

int main(int, char** arguments)
{
    const std::string name = arguments[2];
    const std::string_view mode = arguments[3];
    const int count = std::atoi(arguments[4]);

    static Logging& logging = mode.ends_with("exit") ? *new Logging(arguments[1], L"Shared") // is never destroyed
                                                     : g_logging.emplace(arguments[1], L"Shared");
    logging.Initialize();
    logging.AddSinks({{L"Shared", std::strtoull(arguments[5], nullptr, 10), {}, InfoAndAbove}});

    if (mode.ends_with("end") || mode.ends_with("exit"))
    {
        g_late.name = name + "L";
        Log(name + "P", 1);
        return mode.starts_with("fork") ? RunInForkedChild([&] { Log(name + "C", 1); }) : 0;
    }
    if (mode == "abort")
    {
        auto logger = CreateLogger(name);
        BOOST_LOG_SEV(logger, info) << "first words";
        BOOST_LOG_SEV(logger, warning) << "last words";
        AbortSilently();
    }
    const bool killed = mode == "killed";
    std::thread first(Log, name + "A", killed ? std::numeric_limits<int>::max() : count);
    std::thread second(Log, name + "B", killed ? std::numeric_limits<int>::max() : count);
    for (int logged = g_logged; killed && logged < count; logged = g_logged)
    {
        g_logged.wait(logged);
    }
    if (killed)
    {
        KillThisProcess();
    }
    first.join();
    second.join();
    return 0;
}
