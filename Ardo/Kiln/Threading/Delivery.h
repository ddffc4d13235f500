#pragma once

#include <cstddef>

namespace Ardo::Kiln::Threading
{

/// Which of the values that are sent while a receiver is busy it gets later.
///
/// The number of values that wait for a receiver is limited in every case, and so is memory: when the limit is reached,
/// the oldest one makes room for the new one. The last value that was sent is therefore always delivered. Time plays no
/// part: what is kept depends only on what the receiver has taken.
struct Delivery
{
    std::size_t maxPending = 1000; ///< The number of values that may wait; at least 1.
    bool changesOnly = false;      ///< Whether a value that equals the one before it is not delivered.

    /// Every value, in the order of sending. For commands of a person.
    /// \param maxPending beyond it the oldest value is dropped.
    static constexpr Delivery Every(std::size_t maxPending = 1000) { return {maxPending, false}; }

    /// Only the latest value. For frames, positions, progress.
    static constexpr Delivery Latest() { return {1, false}; }

    /// Only the latest value, and only if it differs from the one that the receiver got last. For states. The values
    /// need an operator==.
    static constexpr Delivery Changes() { return {1, true}; }
};

} // namespace Ardo::Kiln::Threading
