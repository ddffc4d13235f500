#include "Ardo/Kiln/Threading/PeriodicScheduledWork.h"

#include "Ardo/Kiln/Threading/PeriodicWork.h"

#include <boost/asio/basic_deadline_timer.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/date_time/posix_time/posix_time_duration.hpp>

#include <cstdint>
#include <mutex>
#include <optional>
#include <utility>

namespace Ardo::Kiln::Threading
{

namespace
{

/// The traits of a deadline timer for the steady clock.
struct SteadyTime
{
    using Clock = std::chrono::steady_clock;
    using time_type = Clock::time_point;                    // NOLINT(readability-identifier-naming)
    using duration_type = boost::posix_time::time_duration; // NOLINT(readability-identifier-naming)

    static time_type now() { return Clock::now(); } // NOLINT(readability-identifier-naming)

    static time_type add(time_type time, duration_type duration) // NOLINT(readability-identifier-naming)
    {
        return time + std::chrono::microseconds(duration.total_microseconds());
    }

    static duration_type subtract(time_type left, time_type right) // NOLINT(readability-identifier-naming)
    {
        using namespace std::chrono;
        return boost::posix_time::microseconds(duration_cast<microseconds>(left - right).count());
    }

    static bool less_than(time_type left, time_type right) // NOLINT(readability-identifier-naming)
    {
        return left < right;
    }

    static duration_type to_posix_duration(duration_type duration) // NOLINT(readability-identifier-naming)
    {
        return duration;
    }
};

} // namespace

/// The timer and the period. Any thread may stop it; the thread that runs the context arms it. The asio timer exists
/// until the handle stops it, the series ends or the context is destroyed, whichever comes first.
class PeriodicScheduledWork::Timer
{
public:
    Timer(boost::asio::io_context& context, std::chrono::microseconds period) : m_timer(context), m_period(period) {}

    /// Sets off \p work one period from now, and so on. Does nothing once stopped.
    static void Arm(const std::shared_ptr<Timer>& timer, std::shared_ptr<PeriodicWork> work)
    {
        const std::lock_guard lock(timer->m_mutex);
        if (!timer->m_timer)
        {
            return;
        }
        timer->m_isArming = true;
        try
        {
            timer->m_timer->expires_from_now(
                boost::posix_time::microseconds(static_cast<std::int32_t>(timer->m_period.count())));
            timer->m_timer->async_wait(Expiry(timer, std::move(work)));
            timer->m_isArming = false;
        }
        catch (...)
        {
            timer->m_isArming = false;
            timer->m_timer.reset();
            throw;
        }
    }

    void Stop()
    {
        const std::lock_guard lock(m_mutex);
        if (!m_isArming) // else called by the destructor of an Expiry inside async_wait(), which has failed
        {
            m_timer.reset(); // a pending wait completes with operation_aborted
        }
    }

private:
    /// The handler of the timer's wait. If the context is destroyed first, this destructor also destroys the timer,
    /// which must not outlive the context.
    class Expiry
    {
    public:
        Expiry(std::shared_ptr<Timer> timer, std::shared_ptr<PeriodicWork> work)
            : m_timer(std::move(timer)), m_work(std::move(work))
        {
        }
        Expiry(Expiry&&) noexcept = default;
        Expiry& operator=(Expiry&&) = delete;
        ~Expiry()
        {
            if (m_timer)
            {
                m_timer->Stop();
            }
        }

        void operator()(const boost::system::error_code& error)
        {
            if (error == boost::asio::error::operation_aborted || !m_work->IsScheduled())
            {
                return;
            }
            const auto work = m_work;
            Arm(std::exchange(m_timer, nullptr), work); // before the run: the period is measured from its begin
            (*work)();
        }

    private:
        std::shared_ptr<Timer> m_timer; ///< Null once the next wait has taken over.
        std::shared_ptr<PeriodicWork> m_work;
    };

    std::recursive_mutex m_mutex; ///< Recursive: a failing async_wait() destroys its Expiry, which calls Stop().
    bool m_isArming = false;      ///< Guarded by m_mutex.
    std::optional<boost::asio::basic_deadline_timer<SteadyTime::time_type, SteadyTime>>
        m_timer; ///< Guarded by m_mutex.
    const std::chrono::microseconds m_period;
};

PeriodicScheduledWork::PeriodicScheduledWork() = default;

PeriodicScheduledWork::PeriodicScheduledWork(boost::asio::io_context& context, std::shared_ptr<PeriodicWork> work,
                                             std::chrono::microseconds period)
    : ScheduledWork(work), m_timer(std::make_shared<Timer>(context, period))
{
    Timer::Arm(m_timer, std::move(work));
}

PeriodicScheduledWork::~PeriodicScheduledWork()
{
    if (m_timer)
    {
        m_timer->Stop();
    }
}

PeriodicScheduledWork::PeriodicScheduledWork(PeriodicScheduledWork&& other) noexcept = default;

PeriodicScheduledWork& PeriodicScheduledWork::operator=(PeriodicScheduledWork&& other) noexcept
{
    if (this != &other)
    {
        if (m_timer)
        {
            m_timer->Stop();
        }
        ScheduledWork::operator=(std::move(other));
        m_timer = std::move(other.m_timer);
    }
    return *this;
}

} // namespace Ardo::Kiln::Threading
