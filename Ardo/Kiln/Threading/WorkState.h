#pragma once

#include <cstdint>

namespace Ardo::Kiln::Threading
{

/// Where a work item stands. In the order of its life: what waits for the end waits while the state is at most Running.
enum class WorkState : std::uint32_t
{
    Scheduled = 0, ///< Handed over, not begun.
    Running = 1,   ///< Its function is being executed.
    Succeeded = 2, ///< The function returned.
    Failed = 3,    ///< The function was left by an exception.
    Cancelled = 4, ///< Cancelled before it began (periodic work: before its next run).
};

} // namespace Ardo::Kiln::Threading
