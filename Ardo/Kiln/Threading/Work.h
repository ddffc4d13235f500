#pragma once

#include "Ardo/Kiln/Threading/WorkBase.h"
#include "Ardo/KilnExport.h"

#include <functional>

namespace Ardo::Kiln::Threading
{

/// Work that is done once. What its function holds is released as soon as it is done or cancelled.
///
/// Any thread may call any method. A worker that stops leaves it Scheduled; see WorkBase.
/// Items may nest: a function may drain a ForegroundWorker. A fault that ends the outermost function fails all of them;
/// one that is caught further in (see Exception::Handler::Execute) fails the inner items when the outer one ends.
class KILN_EXPORT Work : public WorkBase
{
public:
    /// \copydoc WorkBase::WorkBase
    explicit Work(std::function<void()>&& function);
    ~Work() override;

    /// Cancels the item if it has not begun; what its function holds is destroyed before this returns, with the item
    /// locked: a destructor among it must not use the item.
    /// \returns whether the item is cancelled, now or since earlier; false for one that runs or is done.
    bool Cancel() override;

    /// Waits until the item is done or cancelled.
    /// \returns whether its function ran and returned.
    bool Wait() override;

    /// Runs the function unless the item has begun or was cancelled, and releases it.
    /// \throws whatever the function throws, once the item is Failed; std::bad_function_call for an empty one.
    void operator()() override;

private:
    friend class BackgroundWorker; // ends what a fault has interrupted

    /// Fails the items whose functions run on the calling thread, the innermost first, up to but not including \p
    /// outer. For use after a fault, which leaves operator() without running destructors. Null: all of them.
    static void FailInterrupted(const Work* outer = nullptr) noexcept;

    void Succeed() override;
    void Fail() override;
    void End(bool hasReturned) noexcept;
    void Finish(WorkState state);

    Work* m_outer = nullptr; ///< The item in whose function this one runs; null for none. The running thread's alone.
};

} // namespace Ardo::Kiln::Threading
