#pragma once

#include "Ardo/Kiln/Threading/DeliverOn.h"
#include "Ardo/Kiln/Threading/Delivery.h"
#include "Ardo/Kiln/Threading/Mailbox.h"
#include "Ardo/Kiln/Threading/ScopedConnection.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace Ardo::Kiln::Threading
{

/// What a view tells its presenters: that a button was pressed, that a slider moved to a position. A public member of
/// the view. Each presenter chooses the thread on which it is called and what happens to signals that come faster than
/// it takes them.
///
///     struct View { ViewSignal<double> exposureChosen; };
///     m_exposure = view.exposureChosen.Connect(DeliverOn::Worker(worker), [this](double time) { Expose(time); },
///                                              Delivery::Latest());
///     view.exposureChosen.Emit(0.1);
///
/// Each receiver is called in the order of the emissions. A connection that is ended gets no call, also not one that
/// was emitted before; a signal that is destroyed leaves what was emitted to be delivered.
///
/// Exceptions of a receiver: on the main thread logged at error, on a worker as for BackgroundWorker::Post, on the
/// caller's thread they leave Emit().
///
/// Thread-safety: any thread may call any method, receivers included, also during an Emit(); nothing may be in progress
/// when the signal is destroyed.
///
/// \tparam Arguments values; they are copied for each receiver.
template <typename... Arguments>
class ViewSignal
{
public:
    ViewSignal() = default;
    ~ViewSignal() = default;
    ViewSignal(const ViewSignal&) = delete;
    ViewSignal& operator=(const ViewSignal&) = delete;

    /// Connects a receiver.
    /// \param thread where \p receiver is called.
    /// \param receiver destroyed when the connection ends.
    /// \param delivery which emissions reach a receiver that is slower than the view.
    /// \returns the owner of the connection.
    /// \throws std::invalid_argument if \p receiver is empty, Delivery::maxPending is 0, or changes are asked for and
    ///         the arguments have no operator==. std::bad_alloc.
    [[nodiscard]] ScopedConnection Connect(DeliverOn thread, std::function<void(const Arguments&...)> receiver,
                                           Delivery delivery = Delivery::Every())
    {
        auto mailbox = std::make_shared<Mailbox>(std::move(thread), std::move(receiver), delivery);
        ScopedConnection connection(mailbox);
        auto mailboxes = std::make_shared<Mailboxes>();
        const std::lock_guard lock(m_mutex);
        std::copy_if(m_mailboxes->begin(), m_mailboxes->end(), std::back_inserter(*mailboxes),
                     [](const auto& other) { return !other->IsClosed(); });
        mailboxes->push_back(std::move(mailbox));
        m_mailboxes = std::move(mailboxes);
        return connection;
    }

    /// Sends the arguments to every receiver that is connected now. Returns without waiting for other threads.
    /// \throws what keeps a receiver's thread from taking the arguments (see DeliverOn), and what receivers on the
    ///         calling thread throw: the first of several such exceptions, after all receivers had their turn.
    void Emit(const Arguments&... arguments)
    {
        std::shared_ptr<const Mailboxes> mailboxes;
        {
            const std::lock_guard lock(m_mutex);
            mailboxes = m_mailboxes;
        }
        std::exception_ptr first;
        for (const auto& mailbox : *mailboxes)
        {
            try
            {
                mailbox->Send(arguments...);
            }
            catch (...)
            {
                first = first != nullptr ? first : std::current_exception();
            }
        }
        if (first != nullptr)
        {
            std::rethrow_exception(first);
        }
    }

    /// The number of receivers.
    std::size_t ReceiverCount() const
    {
        const std::lock_guard lock(m_mutex);
        return static_cast<std::size_t>(std::count_if(m_mailboxes->begin(), m_mailboxes->end(),
                                                      [](const auto& mailbox) { return !mailbox->IsClosed(); }));
    }

private:
    using Mailbox = Private::MailboxOf<Arguments...>;
    using Mailboxes = std::vector<std::shared_ptr<Mailbox>>;

    mutable std::mutex m_mutex;
    /// Never changed, only replaced, so that an emission goes on while receivers come and go. Closed ones are left out
    /// at the next Connect(). Guarded by m_mutex.
    std::shared_ptr<const Mailboxes> m_mailboxes = std::make_shared<Mailboxes>();
};

} // namespace Ardo::Kiln::Threading
