#pragma once

#include "Ardo/Kiln/Exception/ErrorDialogContent_p.h"
#include "Ardo/Kiln/Exception/MinidumpActions.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

namespace Ardo::Kiln::Exception
{

struct Notification;

/// A warning or an error that is to be shown by the user-interface thread, and the answer to it.
///
/// The notification, if there is one, is answered exactly once, at the latest in the destructor. A question that was
/// not shown goes to the console.
class ErrorDialogQuestion
{
public:
    /// \param notification may be null.
    ErrorDialogQuestion(ErrorDialogContent content, std::shared_ptr<Notification> notification);
    ~ErrorDialogQuestion();
    ErrorDialogQuestion(const ErrorDialogQuestion&) = delete;
    ErrorDialogQuestion& operator=(const ErrorDialogQuestion&) = delete;

    const ErrorDialogContent& Content() const { return m_content; }

    /// Waits until the user-interface thread takes the question, at most \p limit. After the limit the question is
    /// answered on the console and Take() answers false.
    void WaitUntilTaken(std::chrono::milliseconds limit);

    /// Called by the user-interface thread to take the question, which it shows in its turn.
    /// \returns false when the question has been answered on the console.
    bool Take();

    /// Notes that the window shows the question, so that it does not go to the console.
    void MarkShown();

    /// Answers the notification. Only the first answer counts.
    void Answer(const MinidumpActions& actions);

    /// Writes the text for the console to the standard error stream and gives the default answer. Does nothing when
    /// this has happened before, or when the question was shown.
    void AnswerOnConsole();

private:
    enum class State
    {
        Queued, ///< On its way to the user-interface thread.
        Taken,  ///< In the queue of the user-interface thread.
        Settled ///< Shown, or written to the console.
    };

    void PrintAndAnswer();

    const ErrorDialogContent m_content;
    const std::shared_ptr<Notification> m_notification;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    State m_state = State::Queued; ///< Guarded by m_mutex.
};

} // namespace Ardo::Kiln::Exception
