#pragma once

#include "Ardo/Kiln/Threading/DeliverOn.h"
#include "Ardo/Kiln/Threading/Delivery.h"
#include "Ardo/KilnExport.h"

#include <concepts>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <utility>

namespace Ardo::Kiln::Threading::Private
{

/// The values on their way to one receiver: the part that does not depend on their type.
///
/// For each value that waits, one job is queued on the receiver's thread. A value that replaces another one uses its
/// job, so that the queue of a blocked thread does not grow with what is sent. Any thread may call any method.
class KILN_EXPORT Mailbox : public std::enable_shared_from_this<Mailbox>
{
public:
    virtual ~Mailbox();
    Mailbox(const Mailbox&) = delete;
    Mailbox& operator=(const Mailbox&) = delete;

    /// Ends the connection: no call of the receiver begins afterwards. Waits for calls that run on other threads, and
    /// then destroys the receiver and the values that wait. Within a call of the receiver it does not wait, and the
    /// receiver is destroyed when its last call returns.
    void Close() noexcept;

    /// Whether Close() was called.
    bool IsClosed() const;

    /// The number of values that were dropped because newer ones came before the receiver took them.
    std::uint64_t DroppedCount() const;

protected:
    /// One call of the receiver that is in progress, on the stack of its thread.
    class KILN_EXPORT Run
    {
    public:
        /// A call that has not begun yet.
        explicit Run(Mailbox& mailbox) noexcept : m_mailbox(mailbox) {}
        ~Run();
        Run(const Run&) = delete;
        Run& operator=(const Run&) = delete;

        /// To be called with m_mutex held.
        void Begin() noexcept;

    private:
        friend class Mailbox;

        Mailbox& m_mailbox;
        const std::thread::id m_thread = std::this_thread::get_id();
        Run* m_next = nullptr;
        bool m_hasBegun = false;
    };

    /// \throws std::invalid_argument if no value may wait.
    Mailbox(DeliverOn thread, Delivery delivery);

    /// Queues a job that takes one value.
    /// \throws what DeliverOn::Queue throws; one value is discarded then.
    void QueueJob();

    /// Calls the receiver with the oldest value.
    virtual void Deliver() = 0;

    /// Destroys the oldest value, whose job will not run.
    virtual void Discard() noexcept = 0;

    /// Destroys receiver and values. The mailbox is closed, m_mutex is not held.
    virtual void Release() noexcept = 0;

    const DeliverOn m_thread;         ///< Where the receiver is called.
    const Delivery m_delivery;        ///< How many values may wait.
    mutable std::mutex m_mutex;       ///< Held for moments only, never while the receiver is called.
    bool m_isClosed = false;          ///< Guarded by m_mutex.
    std::uint64_t m_droppedCount = 0; ///< Guarded by m_mutex.

private:
    class Job;

    std::condition_variable m_ended; ///< Notified when the last call in progress has ended.
    Run* m_runs = nullptr;           ///< The calls in progress. Guarded by m_mutex.
};

/// The values on their way to one receiver.
template <typename... Values>
class MailboxOf final : public Mailbox
{
public:
    /// What is called; see ViewSignal::Connect.
    using Receiver = std::function<void(const Values&...)>;

    /// \throws std::invalid_argument if \p receiver is empty, if no value may wait, or if changes are asked for and the
    ///         values cannot be compared.
    MailboxOf(DeliverOn thread, Receiver receiver, Delivery delivery)
        : Mailbox(std::move(thread), delivery), m_receiver(std::make_shared<const Receiver>(std::move(receiver)))
    {
        if (*m_receiver == nullptr)
        {
            throw std::invalid_argument("The receiver is an empty function");
        }
        if (delivery.changesOnly && !IsComparable)
        {
            throw std::invalid_argument("Delivery::Changes needs values that have an operator==");
        }
    }

    /// Hands the values over.
    /// \returns false if the mailbox is closed.
    /// \throws what DeliverOn::Queue throws, and with DeliverOn::Caller what the receiver throws.
    bool Send(Values... values)
    {
        Tuple sent(std::move(values)...);
        if (m_thread.IsCaller())
        {
            return Call([&] { return std::optional<Tuple>(std::move(sent)); });
        }
        std::optional<Tuple> dropped; // destroyed after the mutexes are released
        const std::lock_guard sending(m_sendMutex);
        {
            const std::lock_guard lock(m_mutex);
            if (m_isClosed)
            {
                return false;
            }
            if (m_pending.empty() ? IsKnown(sent) : AreEqual(m_pending.back(), sent))
            {
                return true;
            }
            m_pending.push_back(std::move(sent));
            if (m_pending.size() > m_delivery.maxPending)
            {
                dropped = TakeOldest();
                ++m_droppedCount;
                return true;
            }
        }
        QueueJob();
        return true;
    }

    /// Whether no value waits. The receiver may still be at work on the last one.
    bool IsTaken() const
    {
        const std::lock_guard lock(m_mutex);
        return m_pending.empty();
    }

private:
    using Tuple = std::tuple<Values...>;

    static constexpr bool IsComparable = (std::equality_comparable<Values> && ...);

    void Deliver() override
    {
        Call([this] { return TakeOldest(); });
    }

    /// Calls the receiver with what \p take, called under the mutex, gives.
    template <typename Take>
    bool Call(const Take& take)
    {
        Run run(*this); // ends after the receiver and the values have been released
        std::shared_ptr<const Receiver> receiver;
        std::optional<Tuple> values;
        {
            const std::lock_guard lock(m_mutex);
            if (m_isClosed)
            {
                return false;
            }
            values = take();
            if (!values || IsKnown(*values))
            {
                return true;
            }
            if constexpr (IsComparable)
            {
                if (m_delivery.changesOnly)
                {
                    m_last = *values;
                }
            }
            receiver = m_receiver;
            run.Begin();
        }
        std::apply(*receiver, *values);
        return true;
    }

    void Discard() noexcept override
    {
        std::optional<Tuple> oldest; // destroyed after the mutex is released
        const std::lock_guard lock(m_mutex);
        oldest = TakeOldest();
    }

    void Release() noexcept override
    {
        std::shared_ptr<const Receiver> receiver;
        std::optional<Tuple> last;
        std::deque<Tuple> pending;
        const std::lock_guard lock(m_mutex);
        receiver.swap(m_receiver);
        last.swap(m_last);
        pending.swap(m_pending);
    }

    std::optional<Tuple> TakeOldest()
    {
        if (m_pending.empty())
        {
            return std::nullopt;
        }
        std::optional<Tuple> oldest(std::move(m_pending.front()));
        m_pending.pop_front();
        return oldest;
    }

    bool IsKnown(const Tuple& values) const { return m_last && AreEqual(*m_last, values); }

    bool AreEqual([[maybe_unused]] const Tuple& first, [[maybe_unused]] const Tuple& second) const
    {
        if constexpr (IsComparable)
        {
            return m_delivery.changesOnly && first == second;
        }
        return false;
    }

    /// Held until the job is queued, so that no value waits for a job that comes after those of later values.
    std::mutex m_sendMutex;
    std::shared_ptr<const Receiver> m_receiver; ///< Guarded by m_mutex.
    std::deque<Tuple> m_pending;                ///< Guarded by m_mutex. One queued job for each.
    std::optional<Tuple> m_last; ///< What the receiver was called with last, if only changes are delivered. Guarded by
                                 ///< m_mutex.
};

} // namespace Ardo::Kiln::Threading::Private
