#include "Ardo/Kiln/Profiling/Registry_p.h"

#include "Ardo/Kiln/Profiling/Recording.h"
#include "Ardo/Kiln/Profiling/Stage.h"

#include <algorithm>
#include <new>
#include <utility>

namespace Ardo::Kiln::Profiling
{

namespace Private
{

std::atomic<std::uint32_t> g_recording = 0;

namespace
{

constexpr std::size_t MaxEndedNodes = 4096;
constexpr std::size_t MaxEndedEvents = 65'536;
constexpr std::size_t MaxEndedThreads = 1000;

} // namespace

Registry& Registry::Instance()
{
    static auto* const g_registry = new Registry;
    return *g_registry;
}

void Registry::Start()
{
    Sums oldSums; // destroyed after the mutex is released
    std::deque<std::shared_ptr<const ThreadRecorder::Events>> oldEvents;
    const std::lock_guard lock(m_mutex);
    std::swap(oldSums, m_endedSums);
    std::swap(oldEvents, m_ended);
    m_endedEvents = 0;
    m_endedDropped = 0;
    m_recording = (g_recording.load() | 1U) + (g_recording.load() & 1U) * 2; // the next odd number
    m_begin = Now();
    m_end = 0;
    g_recording = m_recording;
}

void Registry::Stop() noexcept
{
    const std::lock_guard lock(m_mutex);
    if ((g_recording & 1U) != 0)
    {
        m_end = Now();
        ++g_recording;
    }
}

std::shared_ptr<ThreadRecorder> Registry::Add()
{
    auto recorder = std::make_shared<ThreadRecorder>();
    const std::lock_guard lock(m_mutex);
    m_live.push_back(recorder);
    return recorder;
}

void Registry::Retire(const std::shared_ptr<ThreadRecorder>& recorder) noexcept
{
    const std::lock_guard lock(m_mutex);
    try
    {
        recorder->ReadThreadName();
        Sums sums;
        recorder->AddTo(sums, m_recording);
        m_endedSums.Add(sums, MaxEndedNodes);
        KeepEvents(recorder->Read(m_recording));
    }
    catch (const std::bad_alloc&)
    {
        // A part of what the thread has recorded is lost.
    }
    m_live.erase(std::find(m_live.begin(), m_live.end(), recorder));
}

void Registry::KeepEvents(ThreadRecorder::Events events)
{
    m_endedDropped += std::exchange(events.dropped, 0);
    if (events.events.empty())
    {
        return;
    }
    events.events.shrink_to_fit();
    m_endedEvents += events.events.size();
    m_ended.push_back(std::make_shared<const ThreadRecorder::Events>(std::move(events)));
    while (m_endedEvents > MaxEndedEvents || m_ended.size() > MaxEndedThreads)
    {
        const std::size_t count = m_ended.front()->events.size();
        m_endedEvents -= count;
        m_endedDropped += count;
        m_ended.pop_front();
    }
}

Registry::Totals Registry::ReadSums()
{
    const std::lock_guard lock(m_mutex);
    Totals totals{m_endedSums, std::chrono::nanoseconds((m_end != 0 || m_begin == 0 ? m_end : Now()) - m_begin)};
    for (const auto& recorder : m_live)
    {
        recorder->AddTo(totals.sums, m_recording);
    }
    return totals;
}

Registry::Traced Registry::ReadEvents()
{
    const std::lock_guard lock(m_mutex);
    Traced traced;
    traced.droppedOfEnded = m_endedDropped;
    traced.m_recording = m_recording;
    traced.m_ended.assign(m_ended.begin(), m_ended.end());
    traced.m_live = m_live;
    return traced;
}

} // namespace Private

void StartRecording()
{
    Private::Registry::Instance().Start();
}

void StopRecording() noexcept
{
    Private::Registry::Instance().Stop();
}

bool IsRecording() noexcept
{
    return (Private::g_recording.load(std::memory_order_relaxed) & 1U) != 0;
}

} // namespace Ardo::Kiln::Profiling
