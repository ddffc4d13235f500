#pragma once

#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

namespace Ardo::Kiln::Crash
{

/// The vectored filters of one thread. Has no memory of its own, so that a signal handler may use it.
class FilterList
{
public:
    static constexpr std::size_t MaxFilters = 8;

    /// Adds \p filter as the first to be asked; does nothing when there are MaxFilters.
    void Add(FaultFilter filter) noexcept
    {
        if (m_count < MaxFilters)
        {
            m_filters[m_count++] = filter;
        }
    }

    /// Removes the oldest entry of \p filter, if there is one.
    void Remove(FaultFilter filter) noexcept
    {
        const auto end = m_filters.begin() + static_cast<std::ptrdiff_t>(m_count);
        const auto found = std::find(m_filters.begin(), end, filter);
        if (found != end)
        {
            std::copy(found + 1, end, found);
            --m_count;
        }
    }

    bool IsEmpty() const noexcept { return m_count == 0; }

    // The filters in the order in which they are asked.
    auto begin() const noexcept { return std::make_reverse_iterator(m_filters.data() + m_count); }
    auto end() const noexcept { return std::make_reverse_iterator(m_filters.data()); }

private:
    std::array<FaultFilter, MaxFilters> m_filters = {};
    std::size_t m_count = 0;
};

} // namespace Ardo::Kiln::Crash
