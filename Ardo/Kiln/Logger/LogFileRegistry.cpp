#include "Ardo/Kiln/Logger/LogFileRegistry_p.h"

#include "Ardo/Kiln/Platform/ProcessFork.h"

#include <spdlog/common.h> // the next header needs it
#include <spdlog/details/periodic_worker.h>

#include <mutex>
#include <utility>
#include <vector>

namespace Ardo::Kiln::Logger::LogFileRegistry
{

namespace
{

// Our own and not spdlog's, which belongs to the application where that uses spdlog itself.
struct Registry
{
    std::mutex mutex;
    std::vector<std::shared_ptr<LogFile>> files;               ///< Guarded by mutex.
    std::unique_ptr<spdlog::details::periodic_worker> flusher; ///< Guarded by mutex.
    spdlog::details::periodic_worker* ofParent = nullptr;      ///< Never destroyed: a child does not have its thread.
};

/// Never destroyed: static objects may log at their end.
Registry& TheRegistry()
{
    static Registry& g_registry = *new Registry;
    return g_registry;
}

/// Writes what is logged until the process exits, with or without a Logging object that goes before.
struct ShutdownAtExit
{
    ~ShutdownAtExit() { Shutdown(); }
};
const ShutdownAtExit g_shutdownAtExit;

void BeforeFork()
{
    Registry& registry = TheRegistry();
    registry.mutex.lock();
    for (const auto& file : registry.files)
    {
        file->BeforeFork();
    }
}

void AfterFork(bool inChild)
{
    Registry& registry = TheRegistry();
    for (const auto& file : registry.files)
    {
        file->AfterFork(inChild);
    }
    if (inChild && registry.flusher != nullptr)
    {
        registry.ofParent = registry.flusher.release();
    }
    registry.mutex.unlock();
}

void SyncAll()
{
    std::vector<std::shared_ptr<LogFile>> files;
    {
        Registry& registry = TheRegistry();
        const std::lock_guard lock(registry.mutex);
        files = registry.files;
    }
    for (const auto& file : files)
    {
        file->Sync();
    }
}

} // namespace

void Add(std::shared_ptr<LogFile> file)
{
    static const bool g_forkIsHandled = []
    {
        Platform::OnFork(
            BeforeFork, [] { AfterFork(false); }, [] { AfterFork(true); });
        return true;
    }();
    static_cast<void>(g_forkIsHandled);

    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    registry.files.push_back(std::move(file));
}

void StartPeriodicFlush()
{
    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    if (registry.flusher == nullptr)
    {
        registry.flusher = std::make_unique<spdlog::details::periodic_worker>(SyncAll, std::chrono::seconds(1));
    }
}

void Shutdown()
{
    Registry& registry = TheRegistry();
    std::unique_lock lock(registry.mutex);
    const auto files = std::exchange(registry.files, {});
    auto flusher = std::exchange(registry.flusher, nullptr);
    lock.unlock(); // the flusher's last round may be waiting for it
    flusher.reset();
    for (const auto& file : files)
    {
        file->Flush();
    }
}

} // namespace Ardo::Kiln::Logger::LogFileRegistry
