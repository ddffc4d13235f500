#pragma once

#include "Ardo/Kiln/Exception/ErrorDialogQuestion_p.h"
#include "Ardo/Kiln/Exception/ErrorDialogWindow_p.h"
#include "Ardo/KilnExport.h"

#include <QObject>
#include <QPointer>

#include <chrono>
#include <deque>
#include <memory>

class QEventLoop;

namespace Ardo::Kiln::Exception
{

/// The queue of questions of the user-interface thread, the thread of the Qt application object, and the window of the
/// first of them. It exists from the first question to the end of the event loop or of the application object.
class ErrorDialogQueue
{
public:
    ErrorDialogQueue();
    ~ErrorDialogQueue();
    ErrorDialogQueue(const ErrorDialogQueue&) = delete;
    ErrorDialogQueue& operator=(const ErrorDialogQueue&) = delete;

    /// Queues \p question to be shown. On the user-interface thread, returns when it is answered; on any other, when
    /// the user-interface thread has taken it. Where there are no windows, where the user-interface thread does not
    /// take it in time or its event loop ends, the question goes to the console.
    static void Present(const std::shared_ptr<ErrorDialogQuestion>& question);

    /// Sets how long the user-interface thread may take to take a question: 30 seconds at start. For tests.
    KILN_EXPORT_FOR_TESTS static void SetTakeUpLimit(std::chrono::milliseconds limit) noexcept;

private:
    enum class Place
    {
        NoWindows,
        UiThread,
        OtherThread
    };

    struct Entry
    {
        std::shared_ptr<ErrorDialogQuestion> question;
        QEventLoop* loop; ///< Runs until the question is answered; null when nobody waits here.
    };

    static ErrorDialogQueue& OfApplication();
    static Place Post(const std::shared_ptr<ErrorDialogQuestion>& question);
    static void ShowAndWait(const std::shared_ptr<ErrorDialogQuestion>& question);

    void Add(const Entry& entry);
    void Remove(const std::shared_ptr<ErrorDialogQuestion>& question);
    void ShowFirst();
    void Finish(ErrorDialogDecision decision);

    std::deque<Entry> m_entries;       ///< The first one is shown.
    std::unique_ptr<QObject> m_window; ///< That of the first question.
    QPointer<QObject> m_closedWindow;  ///< Deleted after its signal has returned.
};

} // namespace Ardo::Kiln::Exception
