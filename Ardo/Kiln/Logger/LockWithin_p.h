#pragma once

#include <chrono>
#include <mutex>
#include <thread>

namespace Ardo::Kiln::Logger
{

/// Locks \p mutex if that succeeds within \p limit. Not std::timed_mutex, which is slower for everybody else.
inline std::unique_lock<std::mutex> LockWithin(std::mutex& mutex, std::chrono::milliseconds limit)
{
    constexpr std::chrono::milliseconds PollInterval(5);
    const auto end = std::chrono::steady_clock::now() + limit;
    std::unique_lock lock(mutex, std::try_to_lock);
    while (!lock.owns_lock() && std::chrono::steady_clock::now() < end)
    {
        std::this_thread::sleep_for(PollInterval);
        static_cast<void>(lock.try_lock());
    }
    return lock;
}

} // namespace Ardo::Kiln::Logger
