#pragma once

#include "Ardo/Kiln/Threading/Work.h"
#include "Ardo/KilnExport.h"

#include <cstdint>
#include <functional>

namespace Ardo::Kiln::Threading
{

/// Work that is done again and again until it is cancelled or fails. What its function holds is destroyed with the
/// item, or by a Cancel() between two runs.
///
/// Any thread may call any method. A worker that stops leaves it Scheduled; see WorkBase.
class KILN_EXPORT PeriodicWork : public Work
{
public:
    /// \copydoc WorkBase::WorkBase
    explicit PeriodicWork(std::function<void()>&& function);
    ~PeriodicWork() override;

    /// Ends the series: at once between two runs, else after the run in progress.
    /// \returns whether it has ended so, now or earlier; false during a run and after a failure.
    bool Cancel() override;

    /// Waits until the series has ended, by cancellation or failure.
    /// \returns true.
    bool Wait() override;

private:
    void Succeed() override;
    void Fail() override;

    std::uint32_t m_cancelRequested = 0; ///< Not 0: the run in progress is the last. Guarded by m_mutex.
};

} // namespace Ardo::Kiln::Threading
