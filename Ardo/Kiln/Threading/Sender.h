#pragma once

#include "Ardo/Kiln/Threading/Mailbox.h"

#include <cstdint>
#include <memory>
#include <utility>

namespace Ardo::Kiln::Threading
{

class QBaseTransmitter;

/// The model's end of a channel that a QBaseTransmitter has opened. Knows nothing of Qt.
///
/// A handle: copies send into the same channel, and it may outlive the transmitter. Any thread may call any method.
template <typename Value>
class Sender
{
public:
    /// A handle without a channel: what is sent reaches nobody.
    Sender() = default;

    /// Hands \p value over for the main thread and returns at once.
    /// \returns false if nobody gets it, because the transmitter is gone or closed.
    /// \throws std::runtime_error if there is no ToMainThreadInitialization, std::bad_alloc.
    bool Send(Value value) const { return m_mailbox != nullptr && m_mailbox->Send(std::move(value)); }

    /// Whether the main thread has taken everything that was sent. A producer that asks before it makes the next value
    /// makes none that would only replace another one.
    bool IsTaken() const { return m_mailbox == nullptr || m_mailbox->IsTaken(); }

    /// The number of values that were never shown because newer ones came before the main thread took them.
    std::uint64_t DroppedCount() const { return m_mailbox == nullptr ? 0 : m_mailbox->DroppedCount(); }

private:
    friend QBaseTransmitter;

    explicit Sender(std::shared_ptr<Private::MailboxOf<Value>> mailbox) : m_mailbox(std::move(mailbox)) {}

    std::shared_ptr<Private::MailboxOf<Value>> m_mailbox;
};

} // namespace Ardo::Kiln::Threading
