#include "Ardo/Kiln/Platform/LocalOffset.h"

#include "Ardo/Kiln/Platform/CalendarFields.h"

#include <array>
#include <atomic>
#include <chrono>
#include <limits>
#include <mutex>
#include <optional>

namespace Ardo::Kiln::Platform
{

namespace
{

using namespace std::chrono_literals;

/// How far ahead changes of the offset are looked for: two changes of daylight saving time at least.
constexpr std::int64_t Horizon = std::chrono::seconds(400 * 24h).count();

/// Shorter than any time that a zone keeps between two changes.
constexpr std::int64_t Step = std::chrono::seconds(14 * 24h).count();

/// The offsets of the coming time, one after another. Atomic, because a signal handler may read while a thread writes.
struct Offsets
{
    struct Period
    {
        std::atomic<std::int64_t> begin = std::numeric_limits<std::int64_t>::max();
        std::atomic<std::int32_t> offset = 0;
    };
    std::array<Period, 6> periods;
};

std::mutex g_mutex;                  ///< Held by the writer.
std::array<Offsets, 2> g_offsets;    ///< One is read, the other is written.
std::atomic<std::size_t> g_read = 0; ///< Which one is read.

std::int64_t Now() noexcept
{
    return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

std::optional<std::int32_t> OffsetAt(std::int64_t time) noexcept
{
    const auto local = LocalCalendarTime(time);
    return local ? std::optional(static_cast<std::int32_t>(SecondsOf(*local) - time)) : std::nullopt;
}

/// The first second with another offset than at \p low, where \p high has another one.
std::int64_t ChangeBetween(std::int64_t low, std::int64_t high) noexcept
{
    for (const auto before = OffsetAt(low); high - low > 1;)
    {
        const std::int64_t middle = low + (high - low) / 2;
        if (OffsetAt(middle) == before)
        {
            low = middle;
        }
        else
        {
            high = middle;
        }
    }
    return high;
}

/// Found out before anything can go wrong.
[[maybe_unused]] const bool g_known = (RefreshLocalOffset(), true);

} // namespace

void RefreshLocalOffset() noexcept
{
    const std::lock_guard lock(g_mutex);
    const std::int64_t now = Now();
    auto offset = OffsetAt(now);
    if (!offset)
    {
        return;
    }
    const std::size_t written = 1 - g_read;
    auto period = g_offsets[written].periods.begin();
    const auto end = g_offsets[written].periods.end();
    const auto add = [&period](std::int64_t begin, std::int32_t value)
    {
        period->begin = begin;
        period->offset = value;
        ++period;
    };
    add(std::numeric_limits<std::int64_t>::min(), *offset);
    for (std::int64_t time = now; time < now + Horizon && period != end; time += Step)
    {
        const auto next = OffsetAt(time + Step);
        if (next && next != offset)
        {
            add(ChangeBetween(time, time + Step), *next);
            offset = next;
        }
    }
    while (period != end)
    {
        add(std::numeric_limits<std::int64_t>::max(), *offset);
    }
    g_read = written;
}

std::int32_t LocalOffset() noexcept
{
    return LocalOffsetAt(Now());
}

std::int32_t LocalOffsetAt(std::int64_t time) noexcept
{
    std::int32_t offset = 0;
    for (const Offsets::Period& period : g_offsets[g_read].periods)
    {
        if (period.begin <= time)
        {
            offset = period.offset;
        }
    }
    return offset;
}

} // namespace Ardo::Kiln::Platform
