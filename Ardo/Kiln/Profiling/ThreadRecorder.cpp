#include "Ardo/Kiln/Profiling/ThreadRecorder_p.h"

#include "Ardo/Kiln/Platform/ProcessId.h"
#include "Ardo/Kiln/Platform/ThreadName.h"

#include <bit>
#include <new>
#include <unordered_map>
#include <utility>

namespace Ardo::Kiln::Profiling::Private
{

namespace
{

constexpr std::size_t MaxNodes = 256;
constexpr std::size_t MaxCounters = 64;

} // namespace

ThreadRecorder::ThreadRecorder() : m_threadId(Platform::OwnThreadId()), m_threadName(Platform::OwnThreadName()) {}

void ThreadRecorder::BeginRecording(std::uint32_t recording) noexcept
{
    const std::lock_guard lock(m_mutex);
    m_recording = recording;
    m_root.m_firstChild = nullptr;
    m_current = &m_root;
    m_other = nullptr;
    m_nodes.clear();
    m_counters.clear();
    m_outermost.Set(0);
    m_ring.Clear();
}

StageNode* ThreadRecorder::Child(const char* name)
{
    if (m_current == m_other)
    {
        return m_other; // or deep recursion would have no limit
    }
    StageNode** place = &m_current->m_firstChild;
    while (*place != nullptr)
    {
        StageNode* const child = *place;
        if (child->m_name == name)
        {
            // To the front, because it is likely to be the next one, too.
            *place = child->m_nextSibling;
            child->m_nextSibling = std::exchange(m_current->m_firstChild, child);
            return child;
        }
        place = &child->m_nextSibling;
    }
    if (m_nodes.size() < MaxNodes)
    {
        return AddChild(*m_current, name);
    }
    if (m_other == nullptr)
    {
        m_other = AddChild(m_root, OtherStages);
    }
    return m_other;
}

StageNode* ThreadRecorder::AddChild(StageNode& parent, const char* name)
{
    const std::lock_guard lock(m_mutex);
    StageNode& child = m_nodes.emplace_back(name, &parent);
    child.m_nextSibling = std::exchange(parent.m_firstChild, &child);
    return &child;
}

void ThreadRecorder::AddStage(StageNode& node, bool isOutermost, std::int64_t begin, std::int64_t duration,
                              std::uint64_t bytes, std::uint64_t items) noexcept
{
    const auto time = static_cast<std::uint64_t>(duration);
    node.Count(time, bytes, items);
    if (isOutermost)
    {
        m_outermost.Add(time);
    }
    try
    {
        m_ring.Add({node.m_name, begin, duration, bytes, items});
    }
    catch (const std::bad_alloc&)
    {
        // The figures have it.
    }
}

ThreadRecorder::Counter* ThreadRecorder::CounterOf(const char* name)
{
    for (Counter& counter : m_counters)
    {
        if (counter.name == name)
        {
            return &counter;
        }
    }
    if (m_counters.size() == MaxCounters)
    {
        return nullptr;
    }
    const std::lock_guard lock(m_mutex);
    return &m_counters.emplace_back(name);
}

void ThreadRecorder::AddCounter(const char* name, std::int64_t time, double value)
{
    if (Counter* const counter = CounterOf(name))
    {
        counter->count.Add(1);
        counter->sum.Add(value);
        counter->least.Lower(value);
        counter->most.Raise(value);
    }
    m_ring.Add({name, time, Event::IsCounter, std::bit_cast<std::uint64_t>(value), 0});
}

void ThreadRecorder::ReadThreadName()
{
    std::string name = Platform::OwnThreadName();
    const std::lock_guard lock(m_mutex);
    m_threadName = std::move(name);
}

void ThreadRecorder::AddTo(Sums& sums, std::uint32_t recording)
{
    const std::lock_guard lock(m_mutex);
    if (m_recording != recording)
    {
        return;
    }
    sums.outermost += m_outermost.Get();
    // A parent stands before its children.
    std::unordered_map<const StageNode*, Sums::Node*> found{{&m_root, &sums.root}};
    for (const StageNode& node : m_nodes)
    {
        Sums::Node& own = sums.Child(*found.at(node.m_parent), node.m_name);
        own.sums.Add(node.Read());
        found[&node] = &own;
    }
    for (const Counter& counter : m_counters)
    {
        sums.counters[counter.name].Add(
            {counter.count.Get(), counter.sum.Get(), counter.least.Get(), counter.most.Get()});
    }
}

ThreadRecorder::Events ThreadRecorder::Read(std::uint32_t recording)
{
    const std::lock_guard lock(m_mutex);
    Events events{m_threadId, m_threadName, {}, 0};
    if (m_recording == recording)
    {
        events.dropped = m_ring.Read(events.events);
    }
    return events;
}

} // namespace Ardo::Kiln::Profiling::Private
