#pragma once

#include "Ardo/Kiln/Profiling/ThreadRecorder_p.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

namespace Ardo::Kiln::Profiling::Private
{

/// Nanoseconds of the steady clock.
inline std::int64_t Now() noexcept
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

/// The threads of the process that have recorded something. Any thread may call any method.
class Registry
{
public:
    /// The only one. It is never destroyed, because threads may end after static objects.
    static Registry& Instance();

    /// See Profiling::StartRecording.
    void Start();

    /// See Profiling::StopRecording.
    void Stop() noexcept;

    /// A new recorder for the calling thread.
    /// \throws std::bad_alloc.
    std::shared_ptr<ThreadRecorder> Add();

    /// Keeps what \p recorder has, whose thread ends, within limits.
    void Retire(const std::shared_ptr<ThreadRecorder>& recorder) noexcept;

    /// The sums of the last recording.
    struct Totals
    {
        Sums sums;
        std::chrono::nanoseconds duration{};
    };

    /// \throws std::bad_alloc.
    Totals ReadSums();

    /// The events of the last recording: a thread that is still running is read when its turn comes.
    class Traced
    {
    public:
        /// Calls \p use for each thread.
        template <typename Use>
        void ForEach(const Use& use) const
        {
            for (const auto& events : m_ended)
            {
                use(*events);
            }
            for (const auto& recorder : m_live)
            {
                use(recorder->Read(m_recording));
            }
        }

        std::uint64_t droppedOfEnded = 0; ///< Events of ended threads that were not kept.

    private:
        friend class Registry;

        std::uint32_t m_recording = 0;
        std::vector<std::shared_ptr<const ThreadRecorder::Events>> m_ended;
        std::vector<std::shared_ptr<ThreadRecorder>> m_live;
    };

    /// \throws std::bad_alloc.
    Traced ReadEvents();

private:
    Registry() = default;
    void KeepEvents(ThreadRecorder::Events events);

    std::mutex m_mutex;
    std::vector<std::shared_ptr<ThreadRecorder>> m_live; ///< Guarded by m_mutex, as all that follows.
    std::uint32_t m_recording = 0;                       ///< The last one.
    std::int64_t m_begin = 0;                            ///< Of that; this and the next as Now().
    std::int64_t m_end = 0;                              ///< 0 while it goes on.
    Sums m_endedSums;
    std::deque<std::shared_ptr<const ThreadRecorder::Events>> m_ended; ///< The thread that ended first in front.
    std::size_t m_endedEvents = 0;                                     ///< The events in m_ended.
    std::uint64_t m_endedDropped = 0; ///< The events of ended threads that are not there.
};

} // namespace Ardo::Kiln::Profiling::Private
