#include "Ardo/Kiln/Threading/ScopedConnection.h"

#include "Ardo/Kiln/Threading/Mailbox.h"

#include <utility>

namespace Ardo::Kiln::Threading
{

ScopedConnection::ScopedConnection() noexcept = default;

ScopedConnection::ScopedConnection(std::shared_ptr<Private::Mailbox> mailbox) noexcept : m_mailbox(std::move(mailbox))
{
}

ScopedConnection::~ScopedConnection()
{
    Disconnect();
}

ScopedConnection::ScopedConnection(ScopedConnection&& other) noexcept = default;

ScopedConnection& ScopedConnection::operator=(ScopedConnection&& other) noexcept
{
    if (this != &other)
    {
        Disconnect();
        m_mailbox = std::move(other.m_mailbox);
    }
    return *this;
}

void ScopedConnection::Disconnect() noexcept
{
    // Moved out first: the receiver, which is destroyed here, may own this object.
    if (const std::shared_ptr<Private::Mailbox> mailbox = std::move(m_mailbox))
    {
        mailbox->Close();
    }
}

} // namespace Ardo::Kiln::Threading
