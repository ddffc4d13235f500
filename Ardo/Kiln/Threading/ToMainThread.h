#pragma once

#include "Ardo/Kiln/Threading/MainThreadDispatcher.h"
#include "Ardo/Kiln/Threading/MainThreadDispatchException.h"
#include "Ardo/KilnExport.h"

#include <exception>
#include <future>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace Ardo::Kiln::Threading
{

namespace Private
{

/// A job without a waiting thread.
template <typename Job>
class PostedJob final : public MainThreadJob
{
public:
    /// Takes or copies the job.
    template <typename Argument>
    explicit PostedJob(std::in_place_t /*tag*/, Argument&& job) : m_job(std::forward<Argument>(job))
    {
    }

    void Run() override { m_job(); }

private:
    Job m_job;
};

/// What a waiting thread receives when its job was destroyed without being run. The waiting thread then throws an
/// exception of its own, because an Error records the thread that constructs it.
struct KILN_EXPORT NeverRun
{
};

/// A job with a waiting thread. Its captures are destroyed before the answer is set, because they may refer to the
/// stack of the waiting thread.
template <typename Job, typename Result>
class WaitedJob final : public MainThreadJob
{
public:
    /// Takes or copies the job.
    template <typename Argument>
    explicit WaitedJob(std::in_place_t /*tag*/, Argument&& job) : m_job(std::forward<Argument>(job))
    {
    }

    ~WaitedJob() override
    {
        if (m_job.has_value())
        {
            m_job.reset();
            m_answer.set_exception(std::make_exception_ptr(NeverRun()));
        }
    }

    void Run() override
    {
        try
        {
            if constexpr (std::is_void_v<Result>)
            {
                (*m_job)();
                m_job.reset();
                m_answer.set_value();
            }
            else
            {
                Result result = (*m_job)();
                m_job.reset();
                m_answer.set_value(std::forward<Result>(result));
            }
        }
        catch (...)
        {
            m_job.reset();
            m_answer.set_exception(std::current_exception());
        }
    }

    /// What the job returns or throws, or NeverRun. To be called once, before the job is queued.
    std::future<Result> Answer() { return m_answer.get_future(); }

private:
    std::optional<Job> m_job;
    std::promise<Result> m_answer;
};

/// See ToMainThread.
/// \throws std::runtime_error without a dispatcher.
KILN_EXPORT void Queue(const GuardedQObjectPointer& guard, std::unique_ptr<MainThreadJob> job);

/// See ToMainThreadBlocking.
/// \throws std::runtime_error without a dispatcher, MainThreadDispatchException.
KILN_EXPORT void QueueWaited(const GuardedQObjectPointer& guard, std::unique_ptr<MainThreadJob> job);

/// Whether the caller is on the dispatcher's thread.
/// \throws std::runtime_error without a dispatcher, MainThreadDispatchException if it is and the guard's object is
///         gone.
KILN_EXPORT bool RunsAtOnce(const GuardedQObjectPointer& guard);

} // namespace Private

/// Queues \p job to the event loop of the main thread, behind what is queued there already, and returns at once. Any
/// thread may call it, the main thread too.
///
///     ToMainThread(window, [window, image = std::move(image)] { window->Show(image); });
///
/// \param guard the object that the job belongs to. If it is null, or destroyed when the job's turn comes, the job is
///        dropped. A plain pointer must point to an object that exists while this function runs. A thread that cannot
///        ensure this passes a `QPointer<QObject>` that was made on the object's own thread.
/// \param job anything that can be called without arguments; need not be copyable. It and its captures are destroyed on
///        the main thread, whether it was called or not. An exception that leaves it is logged at error.
/// \throws std::runtime_error if there is no ToMainThreadInitialization, std::bad_alloc; the job is then destroyed
/// here.
template <typename Job>
void ToMainThread(const GuardedQObjectPointer& guard, Job&& job)
{
    Private::Queue(guard,
                   std::make_unique<Private::PostedJob<std::decay_t<Job>>>(std::in_place, std::forward<Job>(job)));
}

/// Runs \p job on the main thread and waits for its result: on the main thread itself at once, from any other thread
/// through the event loop, like ToMainThread.
///
///     const QString name = ToMainThreadBlocking(window, [window] { return window->AskForName(); });
///
/// The main thread must not wait for the calling thread at the same time. There is no time limit. After the event loop
/// of the application has ended, and until another one runs, the function does not wait but throws.
///
/// \param guard as for ToMainThread.
/// \param job as for ToMainThread; destroyed before this function returns.
/// \returns what the job returns.
/// \throws what the job throws. MainThreadDispatchException if the job is not called: because the guard's object is
///         gone, the event loop has ended, or the dispatcher was destroyed. std::runtime_error if there is no
///         ToMainThreadInitialization, std::bad_alloc.
template <typename Job>
auto ToMainThreadBlocking(const GuardedQObjectPointer& guard, Job&& job) -> std::invoke_result_t<std::decay_t<Job>&>
{
    using Result = std::invoke_result_t<std::decay_t<Job>&>;
    if (Private::RunsAtOnce(guard))
    {
        std::decay_t<Job> own(std::forward<Job>(job));
        return own();
    }
    auto waited =
        std::make_unique<Private::WaitedJob<std::decay_t<Job>, Result>>(std::in_place, std::forward<Job>(job));
    std::future<Result> answer = waited->Answer();
    Private::QueueWaited(guard, std::move(waited));
    try
    {
        return answer.get();
    }
    catch (const Private::NeverRun&)
    {
        throw MainThreadDispatchException();
    }
}

} // namespace Ardo::Kiln::Threading
