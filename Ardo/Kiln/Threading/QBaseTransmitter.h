#pragma once

#include "Ardo/Kiln/Threading/DeliverOn.h"
#include "Ardo/Kiln/Threading/Delivery.h"
#include "Ardo/Kiln/Threading/Mailbox.h"
#include "Ardo/Kiln/Threading/ScopedConnection.h"
#include "Ardo/Kiln/Threading/Sender.h"
#include "Ardo/KilnExport.h"

#include <QObject>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace Ardo::Kiln::Threading
{

/// Brings what a model sends from its threads to the main thread, for a window to show.
///
/// It opens a channel for each kind of value: frames, progress, capabilities. The model has the senders and knows
/// neither Qt nor the window. While the main thread is blocked, a channel keeps the last value (or as many as its
/// Delivery says), so that a fast detector costs no more memory than a slow one, and the last frame is shown when the
/// main thread is back. Used as it is or as a base class that passes the values on as Qt signals:
///
///     class AcquisitionTransmitter : public QBaseTransmitter
///     {
///         Q_OBJECT
///     public:
///         const Sender<Frame> frames = Open<Frame>([this](const Frame& frame) { Q_EMIT FrameArrived(frame); });
///     Q_SIGNALS:
///         void FrameArrived(const Frame& frame);
///     };
///
/// Order: a value is never delivered after one that was sent later through another channel of a transmitter.
///
/// Lifetime: after Close() or the destructor no function is called. A function may destroy the transmitter. Needs a
/// ToMainThreadInitialization, and the event loop of the main thread.
///
/// Thread-safety: belongs to the main thread; the senders may be used on any thread.
class KILN_EXPORT QBaseTransmitter : public QObject
{
    Q_OBJECT

public:
    /// \param parent owns this object; may be null.
    /// \throws std::runtime_error if there is no ToMainThreadInitialization.
    explicit QBaseTransmitter(QObject* parent = nullptr);

    /// Closes the channels.
    ~QBaseTransmitter() override;

    /// Opens a channel.
    /// \param show called on the main thread. If it runs an event loop, it may be called again within the call. An
    ///        exception that leaves it is logged at error.
    /// \param delivery which values reach a main thread that is slower than the model.
    /// \throws std::invalid_argument if \p show is empty, Delivery::maxPending is 0, or changes are asked for and
    ///         \p Value has no operator==.
    template <typename Value>
    Sender<Value> Open(std::function<void(const Value&)> show, Delivery delivery = Delivery::Latest())
    {
        auto mailbox = std::make_shared<Private::MailboxOf<Value>>(DeliverOn::MainThread(), std::move(show), delivery);
        m_channels.emplace_back(mailbox);
        return Sender<Value>(std::move(mailbox));
    }

    /// Closes the channels: what is sent from now on, and what is on its way, is not delivered. A derived class whose
    /// destructor runs an event loop calls it there first.
    void Close();

private:
    std::vector<ScopedConnection> m_channels;
};

} // namespace Ardo::Kiln::Threading
