#include "Ardo/Kiln/Logger/LogFileRegistry.h"

#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Logger/LockWithin_p.h"
#include "Ardo/Kiln/Platform/ProcessEnd.h"
#include "Ardo/Kiln/Platform/ProcessFork.h"

#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace Ardo::Kiln::Logger::LogFileRegistry
{

namespace
{

void SyncAll();

/// Calls SyncAll periodically on a thread of its own, until it is destroyed.
class Flusher
{
public:
    Flusher() : m_thread([this] { Run(); }) {}
    ~Flusher()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_isStopped = true;
        }
        m_stopped.notify_one();
        m_thread.join();
    }
    Flusher(const Flusher&) = delete;
    Flusher& operator=(const Flusher&) = delete;

private:
    void Run()
    {
        std::unique_lock lock(m_mutex);
        while (!m_stopped.wait_for(lock, FlushInterval, [this] { return m_isStopped; }))
        {
            try
            {
                SyncAll();
            }
            catch (const std::exception&)
            {
                // No memory: the records stay for the next time.
            }
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_stopped;
    bool m_isStopped = false; ///< Guarded by m_mutex.
    std::thread m_thread;     ///< The last: it uses the others.
};

// Not spdlog's registry: that belongs to the application if it uses spdlog itself.
struct Registry
{
    std::mutex mutex;
    std::vector<std::shared_ptr<LogFile>> files; ///< Guarded by mutex.
    std::unique_ptr<Flusher> flusher;            ///< Guarded by mutex.
    Flusher* ofParent = nullptr;                 ///< Never destroyed: a forked child does not have this thread.
};

/// Never destroyed: static objects may log at their end.
Registry& TheRegistry()
{
    static Registry& g_registry = *new Registry;
    return g_registry;
}

/// Writes what is logged until the process exits, also without a Logging object or after its destruction.
struct ShutdownAtExit
{
    ~ShutdownAtExit() { Platform::AreOtherThreadsGone() ? FlushWithoutThreads() : Shutdown(); }

private:
    /// The flusher's thread is gone, and other threads may have ended while they held a lock.
    static void FlushWithoutThreads() noexcept
    {
        Registry& registry = TheRegistry();
        const std::unique_lock lock(registry.mutex, std::try_to_lock);
        if (lock.owns_lock())
        {
            for (const auto& file : registry.files)
            {
                file->FlushAfterFault(std::chrono::milliseconds(100));
            }
        }
    }
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

void CheckNames(const std::filesystem::path& path, unsigned fileCount)
{
    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    for (const auto& file : registry.files)
    {
        if (file->ConflictsWith(path, fileCount))
        {
            throw std::runtime_error("Log file " + FileSystem::ToDisplayText(path) + " cannot be used: it and " +
                                     FileSystem::ToDisplayText(file->Path()) +
                                     " would overwrite each other when they are rotated.");
        }
    }
}

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
        registry.flusher = std::make_unique<Flusher>();
    }
}

std::string FlushAfterFault() noexcept
{
    constexpr std::chrono::milliseconds LockLimit(100);
    try
    {
        std::vector<std::shared_ptr<LogFile>> files;
        {
            Registry& registry = TheRegistry();
            const auto lock = LockWithin(registry.mutex, LockLimit);
            if (!lock.owns_lock())
            {
                return {};
            }
            files = registry.files;
        }
        std::string paths;
        for (const auto& file : files)
        {
            paths += FileSystem::ToDisplayText(file->Path()) + '\n';
            file->FlushAfterFault(LockLimit);
        }
        return paths;
    }
    catch (...)
    {
        return {};
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
