#pragma once

#include "Ardo/Kiln/Profiling/EventRing_p.h"
#include "Ardo/Kiln/Profiling/Figures_p.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

namespace Ardo::Kiln::Profiling::Private
{

/// One way of nesting on one thread. The links belong to that thread, the figures are read by others.
class StageNode
{
public:
    /// \param name the pointer that its stages are made with. Two pointers to the same text are two nodes here and one
    ///        in the sums.
    StageNode(const char* name, StageNode* parent) noexcept : m_name(name), m_parent(parent) {}

    /// Counts a stage that has ended. For the owning thread.
    void Count(std::uint64_t duration, std::uint64_t bytes, std::uint64_t items) noexcept
    {
        m_count.Add(1);
        m_total.Add(duration);
        m_shortest.Lower(duration);
        m_longest.Raise(duration);
        m_bytes.Add(bytes);
        m_items.Add(items);
        m_bins[BinOf(duration)].Add(1);
    }

    /// The figures so far.
    StageSums Read() const
    {
        StageSums sums{
            m_count.Get(), m_total.Get(), m_shortest.Get(), m_longest.Get(), m_bytes.Get(), m_items.Get(), {}};
        for (std::size_t bin = 0; bin < BinCount; ++bin)
        {
            sums.bins[bin] = m_bins[bin].Get();
        }
        return sums;
    }

    const char* Name() const noexcept { return m_name; }

private:
    friend class ThreadRecorder;

    const char* const m_name;
    StageNode* const m_parent; ///< Null for the root.
    StageNode* m_firstChild = nullptr;
    StageNode* m_nextSibling = nullptr;

    OwnNumber<std::uint64_t> m_count;
    OwnNumber<std::uint64_t> m_total; ///< This and the next two in nanoseconds.
    OwnNumber<std::uint64_t> m_shortest{std::numeric_limits<std::uint64_t>::max()};
    OwnNumber<std::uint64_t> m_longest;
    OwnNumber<std::uint64_t> m_bytes;
    OwnNumber<std::uint64_t> m_items;
    std::array<OwnNumber<std::uint64_t>, BinCount> m_bins;
};

/// What is recorded on one thread. That thread writes without a lock, except when it adds something to a list; others
/// read at the same time.
class ThreadRecorder
{
public:
    /// For the thread that calls it. It has no recording yet.
    ThreadRecorder();
    ThreadRecorder(const ThreadRecorder&) = delete;
    ThreadRecorder& operator=(const ThreadRecorder&) = delete;

    // For the owning thread:

    /// The recording to which all that is here belongs.
    std::uint32_t Recording() const noexcept { return m_recording; }

    /// Forgets what was recorded.
    void BeginRecording(std::uint32_t recording) noexcept;

    /// The stage in which the thread is.
    StageNode* Current() noexcept { return m_current; }

    /// Whether \p node stands for no stage.
    bool IsRoot(const StageNode* node) const noexcept { return node == &m_root; }

    /// Sets the stage in which the thread is.
    void SetCurrent(StageNode* node) noexcept { m_current = node; }

    /// The stage of that name within the current one.
    /// \throws std::bad_alloc.
    StageNode* Child(const char* name);

    /// Records a stage that has ended.
    void AddStage(StageNode& node, bool isOutermost, std::int64_t begin, std::int64_t duration, std::uint64_t bytes,
                  std::uint64_t items) noexcept;

    /// Records the value of a counter.
    /// \throws std::bad_alloc.
    void AddCounter(const char* name, std::int64_t time, double value);

    /// Takes the thread's name as it is now.
    /// \throws std::bad_alloc.
    void ReadThreadName();

    // For any thread:

    /// Adds the figures to \p sums if they belong to \p recording.
    void AddTo(Sums& sums, std::uint32_t recording);

    /// What a trace shows of a thread.
    struct Events
    {
        std::uint32_t threadId = 0;
        std::string threadName;
        std::vector<Event> events; ///< In the order of their ends.
        std::uint64_t dropped = 0; ///< The number of earlier events that were not kept.
    };

    /// The events, none if they belong to another recording.
    Events Read(std::uint32_t recording);

private:
    struct Counter
    {
        explicit Counter(const char* theName) noexcept : name(theName) {}

        const char* const name;
        OwnNumber<std::uint64_t> count;
        OwnNumber<double> sum;
        OwnNumber<double> least{std::numeric_limits<double>::infinity()};
        OwnNumber<double> most{-std::numeric_limits<double>::infinity()};
    };

    StageNode* AddChild(StageNode& parent, const char* name);
    Counter* CounterOf(const char* name);

    const std::uint32_t m_threadId;
    StageNode m_root{nullptr, nullptr};
    StageNode* m_current = &m_root;
    StageNode* m_other = nullptr; ///< Counts what is beyond the limit; null until then.

    std::mutex m_mutex;                   ///< Guards changes of the following and of the ring's beginning.
    std::uint32_t m_recording = 0;        ///< Written under m_mutex by the owning thread.
    std::deque<StageNode> m_nodes;        ///< Likewise.
    std::deque<Counter> m_counters;       ///< Likewise.
    std::string m_threadName;             ///< Likewise.
    OwnNumber<std::uint64_t> m_outermost; ///< The time in outermost stages, in nanoseconds.
    EventRing m_ring;
};

} // namespace Ardo::Kiln::Profiling::Private
