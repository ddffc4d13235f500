#pragma once

#include "Ardo/KilnExport.h"

#include <memory>

namespace Ardo::Kiln::Threading
{

namespace Private
{
class Mailbox;
}

/// Owns the connection of a receiver; the destructor ends it.
///
/// A presenter keeps it as a member behind everything that its functions use. The sending side may be destroyed
/// before. One thread at a time uses an object.
///
///     ScopedConnection m_started = view.started.Connect(DeliverOn::Worker(m_worker), [this] { Start(); });
class KILN_EXPORT ScopedConnection
{
public:
    ScopedConnection() noexcept;

    /// For the senders.
    explicit ScopedConnection(std::shared_ptr<Private::Mailbox> mailbox) noexcept;

    /// Disconnects.
    ~ScopedConnection();
    ScopedConnection(ScopedConnection&& other) noexcept;

    /// Disconnects, and takes over the connection of \p other.
    ScopedConnection& operator=(ScopedConnection&& other) noexcept;
    ScopedConnection(const ScopedConnection&) = delete;
    ScopedConnection& operator=(const ScopedConnection&) = delete;

    /// Ends the connection. Afterwards no call of the receiver begins or runs, the receiver is destroyed, and values
    /// that wait for it are gone: this function waits for calls that run on other threads. The receiver itself may
    /// call it, too; then it does not wait, and the receiver is destroyed when its last call returns.
    /// \warning Do not call it where the receiver may wait for this thread, or with a mutex held that the receiver
    ///          takes.
    void Disconnect() noexcept;

private:
    std::shared_ptr<Private::Mailbox> m_mailbox; ///< Null without a connection.
};

} // namespace Ardo::Kiln::Threading
