#include "Ardo/Kiln/Exception/ErrorDialogQuestion_p.h"

#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"
#include "Ardo/Kiln/Exception/Notification.h"
#include "Ardo/Kiln/Platform/StandardError.h"

#include <utility>

namespace Ardo::Kiln::Exception
{

ErrorDialogQuestion::ErrorDialogQuestion(ErrorDialogContent content, std::shared_ptr<Notification> notification)
    : m_content(std::move(content)), m_notification(std::move(notification))
{
}

ErrorDialogQuestion::~ErrorDialogQuestion()
{
    try
    {
        AnswerOnConsole();
        Answer({});
    }
    catch (...)
    {
        // Out of memory. The notification goes with its last owner, which counts as the default answer.
    }
}

void ErrorDialogQuestion::WaitUntilTaken(std::chrono::milliseconds limit)
{
    using Crash::FaultDispatch;
    const auto end = std::chrono::steady_clock::now() + limit;
    std::unique_lock lock(m_mutex);
    while (!m_changed.wait_for(lock, std::chrono::milliseconds(100), [this] { return m_state != State::Queued; }))
    {
        if (std::chrono::steady_clock::now() >= end || FaultDispatch::HasNoUserInterface())
        {
            m_state = State::Settled; // Take() answers false from now on
            lock.unlock();
            PrintAndAnswer();
            return;
        }
    }
}

bool ErrorDialogQuestion::Take()
{
    const std::lock_guard lock(m_mutex);
    if (m_state != State::Queued)
    {
        return false;
    }
    m_state = State::Taken;
    m_changed.notify_all();
    return true;
}

void ErrorDialogQuestion::MarkShown()
{
    const std::lock_guard lock(m_mutex);
    m_state = State::Settled;
}

void ErrorDialogQuestion::Answer(const MinidumpActions& actions)
{
    if (m_notification != nullptr)
    {
        m_notification->Answer(actions);
    }
}

void ErrorDialogQuestion::AnswerOnConsole()
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_state == State::Settled)
        {
            return;
        }
        m_state = State::Settled;
        m_changed.notify_all();
    }
    PrintAndAnswer();
}

void ErrorDialogQuestion::PrintAndAnswer()
{
    // As one piece: other threads write there too. Not through a stream, whose lock a faulted thread may hold.
    Platform::WriteStandardError(m_content.console + '\n');
    Answer({});
}

} // namespace Ardo::Kiln::Exception
