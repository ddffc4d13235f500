#include "Ardo/Kiln/Logger/CreateLogger.h"
#include "Ardo/Kiln/Logger/Logging.h"
#include "Ardo/Kiln/Logger/SeveritySets.h"

#include <benchmark/benchmark.h>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_feature.hpp>
#include <spdlog/logger.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace Ardo::Kiln::Logger
{

namespace
{

namespace fs = std::filesystem;

constexpr std::string_view Text = "frame 004711 of 16 acquired in 0.125 s, 4096 x 4096 pixels";
constexpr std::uint64_t FileSize = 4'194'304;

fs::path Folder()
{
    return fs::temp_directory_path() / "kiln-logger-benchmark";
}

/// The log environment with as many definitions as asked for, while it is in scope.
struct Environment
{
    explicit Environment(int definitions) : logging(Folder(), L"Benchmark")
    {
        logging.Initialize();
        for (int index = 0; index < definitions; ++index)
        {
            logging.AddSinks({{L"Benchmark" + std::to_wstring(index), FileSize, {}, InfoAndAbove}});
        }
    }

    Logging logging;
};

void LogOurs(benchmark::State& state, SeverityLevel level, int definitions)
{
    static std::optional<Environment> g_environment; // its first thread makes it for all
    if (state.thread_index() == 0)
    {
        g_environment.emplace(definitions);
    }
    auto logger = CreateLogger("Benchmark"); // a component's own
    for (auto _ : state)
    {
        BOOST_LOG_SEV(logger, level) << Text;
    }
    if (state.thread_index() == 0)
    {
        g_environment.reset();
        fs::remove_all(Folder());
    }
}

/// spdlog's own rotating file, with the same lines.
void LogPeer(benchmark::State& state, const char* pattern, spdlog::level::level_enum level, bool flushEach)
{
    static std::unique_ptr<spdlog::logger> g_logger;
    if (state.thread_index() == 0)
    {
        g_logger = std::make_unique<spdlog::logger>(
            "kiln_benchmarks.Benchmark",
            std::make_shared<spdlog::sinks::rotating_file_sink_mt>((Folder() / "Peer.log").string(), FileSize, 2));
        g_logger->set_pattern(pattern);
        g_logger->set_level(spdlog::level::debug);
        g_logger->flush_on(flushEach ? spdlog::level::trace : spdlog::level::off);
    }
    for (auto _ : state)
    {
        g_logger->log(level, spdlog::string_view_t(Text.data(), Text.size()));
    }
    if (state.thread_index() == 0)
    {
        g_logger.reset();
        fs::remove_all(Folder());
    }
}

void RefusedByPeer(benchmark::State& state)
{
    static spdlog::logger g_logger("kiln_benchmarks.Benchmark");
    g_logger.set_level(spdlog::level::info);
    for (auto _ : state)
    {
        g_logger.trace("frame {} of 16 acquired in {} s", state.max_iterations, 0.125);
    }
}

void Measure(const std::string& subject, const std::string& role, int threads,
             const std::function<void(benchmark::State&)>& function)
{
    const std::string name = subject + (threads == 1 ? "/1 thread/" : "/4 threads/") + role;
    auto* registered = benchmark::RegisterBenchmark(name.c_str(), function);
    if (threads > 1)
    {
        registered->Threads(threads);
    }
}

const bool g_registered = []
{
    constexpr const char* DebugPattern = "%Y-%m-%dT%H:%M:%S.%e [%-7l] %n %v";
    constexpr const char* DefinitionPattern = "%C-%m-%d\t%T.%f%z\t%L\t%t\t%P\t%n: %v";
    for (const int threads : {1, 4})
    {
        const auto peer = [](const char* pattern, spdlog::level::level_enum level, bool flush)
        { return [=](benchmark::State& state) { LogPeer(state, pattern, level, flush); }; };
        const auto ours = [](SeverityLevel level, int definitions)
        { return [=](benchmark::State& state) { LogOurs(state, level, definitions); }; };

        Measure("Log/DebugRecord", "ours", threads, ours(debug, 0));
        Measure("Log/DebugRecord", "peer", threads, peer(DebugPattern, spdlog::level::debug, false));
        Measure("Log/DebugRecord", "peer:flushed", threads, peer(DebugPattern, spdlog::level::debug, true));
        Measure("Log/DefinitionRecord", "ours", threads, ours(info, 1));
        Measure("Log/DefinitionRecord", "peer", threads, peer(DefinitionPattern, spdlog::level::info, false));
        Measure("Log/WarningRecord", "ours", threads, ours(warning, 1));
        Measure("Log/WarningRecord", "peer:flushed", threads, peer(DefinitionPattern, spdlog::level::warn, true));
        Measure("Log/UnacceptedRecord", "ours", threads, ours(trace, 4));
        // The usual call of each library, with a value in its text: spdlog's has the arguments ready before it looks.
        Measure("Log/UnacceptedRecord", "peer", threads, RefusedByPeer);
    }
    return true;
}();

} // namespace

} // namespace Ardo::Kiln::Logger
