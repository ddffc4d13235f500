#include "Ardo/Kiln/Profiling/Stage.h"

#include "Ardo/Kiln/Profiling/OwnRecorder_p.h"
#include "Ardo/Kiln/Profiling/Registry_p.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <mutex>
#include <new>
#include <set>
#include <string>

namespace Ardo::Kiln::Profiling
{

namespace
{

using Private::ThreadRecorder;

constexpr std::size_t MaxNames = 4096;
constexpr std::size_t MaxNameBytes = 255;

/// The calling thread's recorder with nothing in it; null if the thread has none.
/// \throws std::bad_alloc.
ThreadRecorder* NewRecorder(std::uint32_t recording)
{
    ThreadRecorder* recorder = Private::OwnRecorder();
    recorder = recorder != nullptr ? recorder : Private::AddOwnRecorder();
    if (recorder != nullptr)
    {
        recorder->BeginRecording(recording);
    }
    return recorder;
}

/// The calling thread's recorder for \p recording, or null.
/// \throws std::bad_alloc.
ThreadRecorder* RecorderFor(std::uint32_t recording)
{
    ThreadRecorder* const recorder = Private::OwnRecorder();
    return recorder != nullptr && recorder->Recording() == recording ? recorder : NewRecorder(recording);
}

} // namespace

void Stage::Begin(const char* name) noexcept
try
{
    m_recorder = RecorderFor(m_recording);
    if (m_recorder != nullptr)
    {
        m_parent = m_recorder->Current();
        m_node = m_recorder->Child(name);
        m_recorder->SetCurrent(m_node);
        m_begin = Private::Now();
    }
}
catch (const std::bad_alloc&)
{
    m_node = nullptr;
}

void Stage::End() noexcept
{
    const std::int64_t end = Private::Now();
    if (m_recorder != Private::OwnRecorder() || m_recorder->Recording() != m_recording)
    {
        return; // on another thread, or the nodes are gone
    }
    const bool isOutermost = m_recorder->IsRoot(m_parent);
    m_recorder->SetCurrent(m_parent);
    if (Private::g_recording.load(std::memory_order_relaxed) == m_recording)
    {
        m_recorder->AddStage(*m_node, isOutermost, m_begin, end - m_begin, m_bytes, m_items);
    }
}

void RecordCounter(const char* name, double value) noexcept
try
{
    const std::uint32_t recording = Private::g_recording.load(std::memory_order_relaxed);
    if ((recording & 1U) == 0 || !std::isfinite(value))
    {
        return;
    }
    if (ThreadRecorder* const recorder = RecorderFor(recording))
    {
        recorder->AddCounter(name, Private::Now(), value);
    }
}
catch (const std::bad_alloc&)
{
    // Not recorded.
}

const char* InternName(std::string_view name)
{
    // Never destroyed: the names are valid for ever. The nodes of a set stay where they are.
    static auto* const g_names = new std::set<std::string, std::less<>>;
    static std::mutex g_mutex;
    if (name.size() > MaxNameBytes)
    {
        std::size_t end = MaxNameBytes;
        while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0U) == 0x80)
        {
            --end; // to the beginning of a character
        }
        name = name.substr(0, end);
    }
    const std::lock_guard lock(g_mutex);
    const auto found = g_names->find(name);
    if (found != g_names->end())
    {
        return found->c_str();
    }
    return g_names->size() < MaxNames ? g_names->emplace(name).first->c_str() : "(other names)";
}

} // namespace Ardo::Kiln::Profiling
