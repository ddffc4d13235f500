#pragma once

#include "Ardo/Kiln/Threading/BackgroundWorker.h"
#include "Ardo/Kiln/Threading/ScopedScheduledWork.h"
#include "Ardo/KilnExport.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace Ardo::Kiln::Threading
{

/// Carries out the latest of several requests: one that has not begun when the next comes is cancelled.
///
/// The destructor cancels what has not begun and waits for what runs; then it destroys its own worker, if it has one.
/// A request that is pending when the worker stops is never run; the destructor does not wait for it.
/// What a request's function holds is destroyed with its run, or by the Post() or the destructor that cancels it; it
/// may Post() from its destructor. Thread-safety: any thread may call Post() and Wait(). A request's function may
/// Post(), also while this object is destroyed, which ignores it. It must not Wait(), nor Post() while another thread
/// waits.
///
///     Asynchronizer preview(worker);
///     void OnSliderMoved(double value) { preview.Post([=] { Render(value); }); }
class KILN_EXPORT Asynchronizer
{
public:
    /// \param worker borrowed; it must outlive this.
    explicit Asynchronizer(BackgroundWorker& worker);

    /// Owns a worker made with these.
    /// \param warningHandler may be empty.
    /// \param threadName see BackgroundWorker.
    Asynchronizer(std::function<void(const Exception::Warning&)> warningHandler, const std::string& threadName);
    ~Asynchronizer();
    Asynchronizer(const Asynchronizer&) = delete;
    Asynchronizer& operator=(const Asynchronizer&) = delete;

    /// Hands over a request in place of the one that has not begun.
    /// \throws BackgroundWorkerException "Background Worker is not running" on a stopped worker.
    void Post(std::function<void()>&& function);

    /// Waits until the latest request is done. \warning Never returns if the worker is stopped before.
    void Wait();

private:
    std::unique_ptr<BackgroundWorker> m_ownedWorker; ///< Null when the worker is borrowed.
    BackgroundWorker* m_worker;
    std::atomic<bool> m_isShuttingDown = false;
    std::mutex m_postMutex; ///< Held from the check of m_isShuttingDown until m_pending has the request.
    std::shared_ptr<std::function<void()>> m_request; ///< The latest; empty once it has begun. Guarded by m_postMutex.
    ScopedScheduledWork m_pending; ///< Destroyed first: a request that it waits for may use the other members.
};

} // namespace Ardo::Kiln::Threading
