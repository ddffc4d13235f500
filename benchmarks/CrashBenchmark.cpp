#include "Ardo/Kiln/Exception/Handler.h"
#include "Ardo/Kiln/Exception/MiniDumpGenerator.h"

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace Ardo::Kiln
{

namespace
{

using Exception::MiniDumpGenerator;

/// Threads that wait, as most threads of a program do.
class WaitingThreads
{
public:
    explicit WaitingThreads(int count)
    {
        for (int i = 0; i < count; ++i)
        {
            m_threads.emplace_back([this] { Wait(); });
        }
        std::unique_lock lock(m_mutex);
        m_condition.wait(lock, [&] { return m_waiting == count; });
    }
    ~WaitingThreads()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_end = true;
        }
        m_condition.notify_all();
        for (std::thread& thread : m_threads)
        {
            thread.join();
        }
    }
    WaitingThreads(const WaitingThreads&) = delete;
    WaitingThreads& operator=(const WaitingThreads&) = delete;

private:
    void Wait()
    {
        std::unique_lock lock(m_mutex);
        ++m_waiting;
        m_condition.notify_all();
        m_condition.wait(lock, [this] { return m_end; });
    }

    std::mutex m_mutex;
    std::condition_variable m_condition;
    int m_waiting = 0;
    bool m_end = false;
    std::vector<std::thread> m_threads;
};

/// Has \p write make a dump of this process with so many threads, again and again.
void Measure(benchmark::State& state, int threads, const std::function<void(const std::string&)>& write)
{
    ::prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY, 0, 0, 0); // the peers look into this process
    const WaitingThreads waiting(threads - 1);
    const std::string file = (std::filesystem::temp_directory_path() / "kiln-benchmark.dmp").string();
    for (auto _ : state)
    {
        std::filesystem::remove(file);
        write(file);
    }
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    if (error || size == 0)
    {
        state.SkipWithError("no dump was written");
    }
    state.counters["size_MiB"] = static_cast<double>(size) / (1 << 20);
    std::filesystem::remove(file, error);
}

void Ours(const std::string& file, MINIDUMP_TYPE type)
{
    const int descriptor = ::open(file.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
    MiniDumpGenerator::WriteMinidump(reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor)), nullptr, type);
    ::close(descriptor);
}

int* volatile g_nowhere = nullptr;

/// From the instruction at fault until report and dump stand on the disk and the work's caller goes on.
void MeasureFault(benchmark::State& state, int threads)
{
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "kiln-benchmark-reports";
    ::setenv("XDG_DATA_HOME", folder.c_str(), 1);
    const auto type = MiniDumpGenerator::GetDefaultMinidumpType();
    MiniDumpGenerator::SetDefaultMinidumpType(MiniDumpGenerator::GetSmallSizeMinidumpType());
    MiniDumpGenerator::CreateDumpDirectory();
    const WaitingThreads waiting(threads - 1);
    for (auto _ : state)
    {
        Exception::Handler::Execute([] { *g_nowhere = 1; });
    }
    const auto files = std::distance(std::filesystem::directory_iterator(MiniDumpGenerator::GetDumpDirectory()),
                                     std::filesystem::directory_iterator());
    if (static_cast<benchmark::IterationCount>(files) < 2 * state.iterations())
    {
        state.SkipWithError("reports are missing");
    }
    std::filesystem::remove_all(folder);
    MiniDumpGenerator::SetDefaultMinidumpType(type);
}

/// A line of the shell in which "PID" and "FILE" stand for the process and the file.
void ByCommand(std::string line, const std::string& file)
{
    const auto replace = [&line](const std::string& what, const std::string& by)
    { line.replace(line.find(what), what.size(), by); };
    replace("PID", std::to_string(::getpid()));
    replace("FILE", file);
    benchmark::DoNotOptimize(std::system((line + " >/dev/null 2>&1").c_str()));
}

const bool Registered = []
{
    const auto add = [](const std::string& name, int threads, const std::function<void(const std::string&)>& write)
    {
        benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) { Measure(state, threads, write); })
            ->UseRealTime();
    };
    const auto ours = [](MINIDUMP_TYPE type) { return [type](const std::string& file) { Ours(file, type); }; };
    const auto command = [](const char* line) { return [line](const std::string& file) { ByCommand(line, file); }; };
    const auto small = ours(MiniDumpGenerator::GetSmallSizeMinidumpType());
    const auto gdb = command("gdb -batch -nx -p PID -ex 'generate-core-file FILE'");
    const char* const stackDump =
        "lldb-14 -p PID --batch -o 'process save-core --plugin-name=minidump --style=stack FILE'";
    add("Minidump/Small/3 threads/ours", 3, small);
    add("Minidump/Small/3 threads/peer:lldb", 3, command(stackDump));
    benchmark::RegisterBenchmark("Fault/ReportAndSmallDump/ours",
                                 [](benchmark::State& state) { MeasureFault(state, 3); })
        ->UseRealTime();
    add("Fault/ReportAndSmallDump/peer:lldb's dump alone", 3, command(stackDump));
    // The other debugger's dump, which holds whole stacks, would have 2 GiB here.
    add("Minidump/Small/200 threads/ours", 200, small);
    add("Minidump/Small/200 threads/peer:gdb", 200, gdb);
    add("Minidump/Full/3 threads/ours", 3, ours(MiniDumpGenerator::GetLargeSizeMinidumpType()));
    add("Minidump/Full/3 threads/peer:gdb", 3, gdb);
    return true;
}();

} // namespace

} // namespace Ardo::Kiln
