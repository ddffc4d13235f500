#pragma once

#include "Ardo/KilnExport.h"

#include <atomic>
#include <cstdint>
#include <string_view>

namespace Ardo::Kiln::Profiling
{

namespace Private
{

class StageNode;
class ThreadRecorder;

/// The number of the recording in progress: odd while one is, even otherwise.
extern KILN_EXPORT std::atomic<std::uint32_t> g_recording;

} // namespace Private

/// A stage of work: its time is that from the constructor to the destructor, on one thread. Stages within stages are
/// told apart by their way from the outermost one.
///
///     Profiling::Stage stage("write TIFF");
///     stage.AddBytes(image.size());
///
/// While nothing is recorded (see StartRecording) a stage costs one read of an atomic. A stage counts if it begins and
/// ends during the same recording. When memory is short it is not recorded.
///
/// Thread-safety: any thread may have stages of its own. A stage is used and ends on the thread that began it, after
/// all stages that were begun within it; one that ends on another thread is not recorded.
class KILN_EXPORT Stage
{
public:
    /// Begins the stage.
    /// \param name UTF-8; must stay valid and unchanged until the process ends, as a literal of code that is never
    ///        unloaded does. See InternName for others.
    explicit Stage(const char* name) noexcept : m_recording(Private::g_recording.load(std::memory_order_relaxed))
    {
        if ((m_recording & 1U) != 0)
        {
            Begin(name);
        }
    }

    /// Ends the stage.
    ~Stage()
    {
        if (m_node != nullptr)
        {
            End();
        }
    }
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    /// Adds to the bytes that the stage has moved; the report shows the throughput.
    void AddBytes(std::uint64_t count) noexcept { m_bytes += count; }

    /// Adds to the items that the stage has worked on: frames, strips, particles.
    void AddItems(std::uint64_t count) noexcept { m_items += count; }

private:
    void Begin(const char* name) noexcept;
    void End() noexcept;

    const std::uint32_t m_recording;
    Private::StageNode* m_node = nullptr; ///< Null if the stage is not recorded.
    Private::StageNode* m_parent;         ///< This and what follows is set by Begin().
    Private::ThreadRecorder* m_recorder;
    std::int64_t m_begin; ///< In nanoseconds of the steady clock.
    std::uint64_t m_bytes = 0;
    std::uint64_t m_items = 0;
};

/// Records the value of something that goes up and down: the length of a queue, the free memory. Any thread may call
/// it.
/// \param name as for Stage.
/// \param value not recorded if it is not finite.
KILN_EXPORT void RecordCounter(const char* name, double value) noexcept;

/// A name for stages and counters that is valid until the process ends, for names that are no literals.
/// \param name UTF-8; what is beyond 255 bytes is cut off. The same text gives the same pointer. After 4096 different
///        names it is "(other names)", so that names made from numbers do not fill the memory.
/// \throws std::bad_alloc. Any thread may call it.
KILN_EXPORT const char* InternName(std::string_view name);

} // namespace Ardo::Kiln::Profiling
