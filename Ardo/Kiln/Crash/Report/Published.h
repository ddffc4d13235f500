#pragma once

#include <atomic>
#include <utility>

namespace Ardo::Kiln::Crash
{

/// A value that is read after a fault, too: without a lock, and also while the process's statics are destroyed. Old
/// values are never freed, because a reader may still use them. So it is not for values that change often. Any thread
/// may call any method.
template <class Value>
class Published
{
public:
    constexpr Published() noexcept = default;
    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;

    /// The value last set, or null.
    const Value* Get() const noexcept
    {
        const auto* const newest = m_newest.load(std::memory_order_acquire);
        return newest != nullptr ? &newest->value : nullptr;
    }

    /// Sets the value and returns it.
    /// \throws std::bad_alloc only; then the former one stays.
    const Value& Set(Value value)
    {
        auto* const entry = new Entry{std::move(value), m_newest.load(std::memory_order_acquire)};
        while (!m_newest.compare_exchange_weak(entry->former, entry, std::memory_order_acq_rel))
        {
        }
        return entry->value;
    }

private:
    struct Entry
    {
        Value value;
        const Entry* former; ///< Keeps old values reachable, so that leak checkers do not report them.
    };

    std::atomic<const Entry*> m_newest = nullptr;
};

} // namespace Ardo::Kiln::Crash
