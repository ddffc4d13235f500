#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Ardo::Kiln::Profiling::Private
{

/// A stage that has ended, or a counter's value.
struct Event
{
    static constexpr std::int64_t IsCounter = -1;

    const char* name;
    std::int64_t begin;    ///< In nanoseconds of the steady clock.
    std::int64_t duration; ///< In nanoseconds, or IsCounter.
    std::uint64_t bytes;   ///< Of a counter: the bits of the value.
    std::uint64_t items;
};

/// The last events of a thread. One thread writes without a lock; another one may read at the same time.
class EventRing
{
public:
    static constexpr std::size_t Capacity = 16'384;

    /// Appends an event, in place of the oldest one if the ring is full. For the writing thread.
    /// \throws std::bad_alloc; the event is then not recorded.
    void Add(const Event& event)
    {
        const std::uint64_t index = m_written.load(std::memory_order_relaxed);
        std::atomic<Slot*>& place = m_chunks[index % Capacity / ChunkSize];
        Slot* chunk = place.load(std::memory_order_relaxed);
        if (chunk == nullptr)
        {
            m_owned.push_back(std::make_unique<Slot[]>(ChunkSize));
            chunk = m_owned.back().get();
            place.store(chunk, std::memory_order_release);
        }
        // Release: a reader that sees one of these values sees also that the slot was reused.
        Slot& slot = chunk[index % ChunkSize];
        slot.name.store(event.name, std::memory_order_release);
        slot.begin.store(event.begin, std::memory_order_release);
        slot.duration.store(event.duration, std::memory_order_release);
        slot.bytes.store(event.bytes, std::memory_order_release);
        slot.items.store(event.items, std::memory_order_release);
        m_written.store(index + 1, std::memory_order_release);
    }

    /// Forgets the events. For the writing thread, while nobody reads.
    void Clear() noexcept { m_written.store(0, std::memory_order_relaxed); }

    /// Appends the events to \p events, the oldest first.
    /// \returns the number of events that were added to the ring and are not among them.
    /// \throws std::bad_alloc.
    std::uint64_t Read(std::vector<Event>& events) const
    {
        const std::uint64_t end = m_written.load(std::memory_order_acquire);
        const std::uint64_t begin = end > Capacity ? end - Capacity : 0;
        const std::size_t before = events.size();
        events.reserve(before + static_cast<std::size_t>(end - begin));
        for (std::uint64_t index = begin; index < end; ++index)
        {
            const Slot& slot =
                m_chunks[index % Capacity / ChunkSize].load(std::memory_order_acquire)[index % ChunkSize];
            events.push_back({slot.name.load(std::memory_order_acquire), slot.begin.load(std::memory_order_acquire),
                              slot.duration.load(std::memory_order_acquire), slot.bytes.load(std::memory_order_acquire),
                              slot.items.load(std::memory_order_acquire)});
        }
        // Events whose slots were reused meanwhile may be mixed with their successors, as may the one whose slot is
        // being reused.
        const std::uint64_t now = m_written.load(std::memory_order_acquire);
        const std::uint64_t whole = now >= Capacity ? now - Capacity + 1 : 0;
        const std::uint64_t mixed = whole > begin ? std::min(whole, end) - begin : 0;
        const auto first = events.begin() + static_cast<std::ptrdiff_t>(before);
        events.erase(first, first + static_cast<std::ptrdiff_t>(mixed));
        return begin + mixed;
    }

private:
    static constexpr std::size_t ChunkSize = 256;

    /// Event, field by field.
    struct Slot
    {
        std::atomic<const char*> name;
        std::atomic<std::int64_t> begin;
        std::atomic<std::int64_t> duration;
        std::atomic<std::uint64_t> bytes;
        std::atomic<std::uint64_t> items;
    };

    std::atomic<std::uint64_t> m_written = 0;                        ///< The events that were added so far.
    std::array<std::atomic<Slot*>, Capacity / ChunkSize> m_chunks{}; ///< Null until needed.
    std::vector<std::unique_ptr<Slot[]>> m_owned;                    ///< The writing thread's.
};

} // namespace Ardo::Kiln::Profiling::Private
