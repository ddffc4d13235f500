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

/// Something to be shown to a person, on its way to the user-interface thread, and the answer's way back.
///
/// The notification, if there is one, is answered once whatever becomes of the question: it answers at the latest in
/// its destructor. What no person saw goes to the console.
class ErrorDialogQuestion
{
public:
    /// \param notification may be null.
    ErrorDialogQuestion(ErrorDialogContent content, std::shared_ptr<Notification> notification);
    ~ErrorDialogQuestion();
    ErrorDialogQuestion(const ErrorDialogQuestion&) = delete;
    ErrorDialogQuestion& operator=(const ErrorDialogQuestion&) = delete;

    const ErrorDialogContent& Content() const { return m_content; }

    /// Waits until the user-interface thread takes the question, at most \p limit. Then nobody will show it: it is
    /// answered on the console.
    void WaitUntilTaken(std::chrono::milliseconds limit);

    /// The user-interface thread takes the question, to show it when its turn comes.
    /// \returns false when nobody waits for that any more.
    bool Take();

    /// A person sees it, and the console need not.
    void MarkShown();

    /// Says what was decided. Only the first answer counts.
    void Answer(const MinidumpActions& actions);

    /// Writes the console's form to the standard error stream and answers for nobody; unless that has happened, or a
    /// person has seen the question.
    void AnswerOnConsole();

private:
    enum class State
    {
        Queued, ///< On its way to the user-interface thread.
        Taken,  ///< There, waiting for its turn.
        Settled ///< Seen by a person, or written to the console.
    };

    void PrintAndAnswer();

    const ErrorDialogContent m_content;
    const std::shared_ptr<Notification> m_notification;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    State m_state = State::Queued; ///< Guarded by m_mutex.
};

} // namespace Ardo::Kiln::Exception
