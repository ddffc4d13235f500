#include "Ardo/Kiln/Threading/Mailbox.h"

namespace Ardo::Kiln::Threading::Private
{

/// Takes one value of a mailbox: delivers it when it runs, and discards it when it is destroyed without having run, as
/// the queue of a stopped worker or of a destroyed dispatcher does.
class Mailbox::Job
{
public:
    explicit Job(std::shared_ptr<Mailbox> mailbox) noexcept : m_mailbox(std::move(mailbox)) {}
    ~Job()
    {
        if (m_mailbox != nullptr)
        {
            m_mailbox->Discard();
        }
    }
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    void Run()
    {
        const std::shared_ptr<Mailbox> mailbox = std::exchange(m_mailbox, nullptr);
        mailbox->Deliver();
    }

private:
    std::shared_ptr<Mailbox> m_mailbox; ///< Null after the run.
};

Mailbox::Run::~Run()
{
    if (!m_hasBegun)
    {
        return;
    }
    const std::lock_guard lock(m_mailbox.m_mutex);
    Run** place = &m_mailbox.m_runs;
    while (*place != this)
    {
        place = &(*place)->m_next;
    }
    *place = m_next;
    if (m_mailbox.m_runs == nullptr)
    {
        m_mailbox.m_ended.notify_all();
    }
}

void Mailbox::Run::Begin() noexcept
{
    m_next = std::exchange(m_mailbox.m_runs, this);
    m_hasBegun = true;
}

Mailbox::Mailbox(DeliverOn thread, Delivery delivery) : m_thread(std::move(thread)), m_delivery(delivery)
{
    if (delivery.maxPending == 0)
    {
        throw std::invalid_argument("Delivery::maxPending is 0");
    }
}

Mailbox::~Mailbox() = default;

void Mailbox::Close() noexcept
{
    {
        std::unique_lock lock(m_mutex);
        m_isClosed = true;
        bool isCalledHere = false;
        for (const Run* run = m_runs; run != nullptr; run = run->m_next)
        {
            isCalledHere = isCalledHere || run->m_thread == std::this_thread::get_id();
        }
        if (!isCalledHere)
        {
            m_ended.wait(lock, [this] { return m_runs == nullptr; });
        }
    }
    Release();
}

bool Mailbox::IsClosed() const
{
    const std::lock_guard lock(m_mutex);
    return m_isClosed;
}

std::uint64_t Mailbox::DroppedCount() const
{
    const std::lock_guard lock(m_mutex);
    return m_droppedCount;
}

void Mailbox::QueueJob()
{
    // Queues copy their functions, and a job must run once.
    m_thread.Queue([job = std::make_shared<Job>(shared_from_this())] { job->Run(); });
}

} // namespace Ardo::Kiln::Threading::Private
