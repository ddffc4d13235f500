#pragma once

#include "Ardo/Kiln/Profiling/Histogram_p.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <string_view>

namespace Ardo::Kiln::Profiling::Private
{

/// What counts for what has too many names, or too many ways of nesting.
inline constexpr const char* OtherStages = "(other stages)";

/// An atomic that one thread changes without a lock and others read.
template <typename Number>
class OwnNumber
{
public:
    explicit OwnNumber(Number value = {}) noexcept : m_value(value) {}

    Number Get() const noexcept { return m_value.load(std::memory_order_relaxed); }
    void Set(Number value) noexcept { m_value.store(value, std::memory_order_relaxed); }
    void Add(Number value) noexcept { Set(Get() + value); }
    void Lower(Number value) noexcept { Set(std::min(Get(), value)); }
    void Raise(Number value) noexcept { Set(std::max(Get(), value)); }

private:
    std::atomic<Number> m_value;
};

/// Sums of one stage of several threads.
struct StageSums
{
    std::uint64_t count = 0;
    std::uint64_t total = 0; ///< This and the next two in nanoseconds.
    std::uint64_t shortest = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t longest = 0;
    std::uint64_t bytes = 0;
    std::uint64_t items = 0;
    Bins bins{};

    /// Adds those of others.
    void Add(const StageSums& other)
    {
        count += other.count;
        total += other.total;
        shortest = std::min(shortest, other.shortest);
        longest = std::max(longest, other.longest);
        bytes += other.bytes;
        items += other.items;
        for (std::size_t bin = 0; bin < BinCount; ++bin)
        {
            bins[bin] += other.bins[bin];
        }
    }
};

/// Sums of one counter.
struct CounterSums
{
    std::uint64_t count = 0;
    double sum = 0;
    double least = std::numeric_limits<double>::infinity();
    double most = -std::numeric_limits<double>::infinity();

    /// Adds those of others.
    void Add(const CounterSums& other)
    {
        count += other.count;
        sum += other.sum;
        least = std::min(least, other.least);
        most = std::max(most, other.most);
    }
};

/// The sums of a recording: the stages as a tree, by name.
struct Sums
{
    /// A stage and those within it.
    struct Node
    {
        StageSums sums;
        std::map<std::string, Node, std::less<>> children;
    };

    Node root;                   ///< Its own sums are empty.
    std::size_t nodeCount = 0;   ///< Of all nodes below the root.
    std::uint64_t outermost = 0; ///< The time in outermost stages, in nanoseconds.
    std::map<std::string, CounterSums, std::less<>> counters;

    /// The child of that name, made if there is none.
    Node& Child(Node& parent, std::string_view name)
    {
        const auto found = parent.children.find(name);
        if (found != parent.children.end())
        {
            return found->second;
        }
        ++nodeCount;
        return parent.children[std::string(name)];
    }

    /// Adds those of others. A way of nesting that is new counts as OtherStages when there are \p mostNodes.
    void Add(const Sums& other, std::size_t mostNodes)
    {
        outermost += other.outermost;
        for (const auto& [name, sums] : other.counters)
        {
            counters[name].Add(sums);
        }
        Add(root, other.root, mostNodes);
    }

private:
    void Add(Node& own, const Node& other, std::size_t mostNodes)
    {
        for (const auto& [name, child] : other.children)
        {
            const bool isKept = nodeCount < mostNodes || own.children.contains(name);
            Node& target = isKept ? Child(own, name) : Child(root, OtherStages);
            target.sums.Add(child.sums);
            Add(target, child, mostNodes);
        }
    }
};

} // namespace Ardo::Kiln::Profiling::Private
