#include "Ardo/Kiln/Exception/ErrorDialogQueue_p.h"

#include "Ardo/Kiln/Platform/Plugin.h"
#include "Ardo/Kiln/Platform/StandardError.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>

namespace Ardo::Kiln::Exception
{

namespace
{

/// Further ones go to the console: nobody would close them all, and their number is not bounded.
constexpr std::size_t MaxWarnings = 16;

std::unique_ptr<ErrorDialogQueue> g_queue; // touched by the user-interface thread only
std::atomic<std::chrono::milliseconds> g_takeUpLimit{std::chrono::seconds(30)};

// Held while posting, so that the application object is not destroyed meanwhile. Timed, because a thread that faults
// never unlocks it.
std::timed_mutex g_applicationMutex;

/// Receives the questions of other threads; lives as long as the application object does. Guarded by
/// g_applicationMutex.
std::unique_ptr<QObject> g_receiver;

/// The event loop has ended, and none has run since. Guarded by g_applicationMutex.
bool g_eventLoopEnded = false;

/// Whether the application has windows. Asked by name: this code does without the libraries for windows.
bool HasWindows()
{
    const QCoreApplication* const application = QCoreApplication::instance();
    return application != nullptr && application->inherits("QApplication");
}

using ShowErrorDialog = decltype(&KilnShowErrorDialog);

/// The function that shows a window; null if its plug-in cannot be loaded, which is said on the console once.
ShowErrorDialog WindowFunction()
{
    static const ShowErrorDialog g_function = []() -> ShowErrorDialog
    {
        try
        {
            return reinterpret_cast<ShowErrorDialog>(Platform::PluginFunction("CommonDialogs", "KilnShowErrorDialog"));
        }
        catch (const std::runtime_error& error)
        {
            Platform::WriteStandardError("Errors are shown on the console: " + std::string(error.what()) + '\n');
            return nullptr;
        }
    }();
    return g_function;
}

void SetEventLoopEnded(bool ended)
{
    const std::lock_guard lock(g_applicationMutex);
    g_eventLoopEnded = ended;
}

void EventLoopEnds()
{
    // From now on this thread may wait for other threads, and they for an answer.
    SetEventLoopEnded(true);
    QCoreApplication::removePostedEvents(g_receiver.get(), QEvent::MetaCall);
    g_queue.reset();
    QMetaObject::invokeMethod( // delivered only if another event loop is started
        g_receiver.get(), [] { SetEventLoopEnded(false); }, Qt::QueuedConnection);
}

void ApplicationEnds()
{
    std::unique_ptr<QObject> receiver;
    {
        const std::lock_guard lock(g_applicationMutex);
        receiver = std::move(g_receiver);
        g_eventLoopEnded = false;
    }
    g_queue.reset();
}

void ApplicationBegins()
{
    auto receiver = std::make_unique<QObject>();
    QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, receiver.get(), EventLoopEnds);
    if (HasWindows())
    {
        // Before anything is at fault, because the loader takes locks; but not while it loads this library.
        QMetaObject::invokeMethod(
            receiver.get(), [] { WindowFunction(); }, Qt::QueuedConnection);
    }
    const std::lock_guard lock(g_applicationMutex);
    g_receiver = std::move(receiver);
    qAddPostRoutine(ApplicationEnds); // Qt forgets it when it has called it
}

/// A question inside an event. If the event is destroyed undelivered, the event loop or the application has ended.
class Delivery
{
public:
    explicit Delivery(std::shared_ptr<ErrorDialogQuestion> question) : m_question(std::move(question)) {}
    ~Delivery()
    {
        if (m_question != nullptr)
        {
            m_question->AnswerOnConsole();
        }
    }
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;

    std::shared_ptr<ErrorDialogQuestion> Take() { return std::exchange(m_question, nullptr); }

private:
    std::shared_ptr<ErrorDialogQuestion> m_question;
};

} // namespace

Q_COREAPP_STARTUP_FUNCTION(ApplicationBegins)

ErrorDialogQueue::ErrorDialogQueue() = default;

ErrorDialogQueue::~ErrorDialogQueue()
{
    m_window.reset();
    delete m_closedWindow.data();
    for (const Entry& entry : m_entries)
    {
        if (entry.loop != nullptr)
        {
            entry.loop->quit();
        }
    }
}

ErrorDialogQueue& ErrorDialogQueue::OfApplication()
{
    if (g_queue == nullptr)
    {
        g_queue = std::make_unique<ErrorDialogQueue>();
    }
    return *g_queue;
}

void ErrorDialogQueue::SetTakeUpLimit(std::chrono::milliseconds limit) noexcept
{
    g_takeUpLimit = limit;
}

void ErrorDialogQueue::Present(const std::shared_ptr<ErrorDialogQuestion>& question)
{
    switch (Post(question))
    {
    case Place::NoWindows:
        question->AnswerOnConsole();
        break;
    case Place::UiThread:
        ShowAndWait(question);
        break;
    case Place::OtherThread:
        if (!question->Content().isWarning) // nobody waits for an answer to a warning
        {
            question->WaitUntilTaken(g_takeUpLimit);
        }
        break;
    }
}

ErrorDialogQueue::Place ErrorDialogQueue::Post(const std::shared_ptr<ErrorDialogQuestion>& question)
{
    // The wall clock, because ThreadSanitizer does not know the lock that follows the steady one.
    const std::unique_lock lock(g_applicationMutex, std::chrono::system_clock::now() + g_takeUpLimit.load());
    if (!lock.owns_lock() || g_receiver == nullptr || !HasWindows())
    {
        return Place::NoWindows;
    }
    if (g_receiver->thread() == QThread::currentThread())
    {
        return Place::UiThread;
    }
    if (g_eventLoopEnded)
    {
        return Place::NoWindows;
    }
    QMetaObject::invokeMethod(
        g_receiver.get(),
        [delivery = std::make_shared<Delivery>(question)]
        {
            if (const auto delivered = delivery->Take(); delivered->Take())
            {
                OfApplication().Add({delivered, nullptr});
            }
        },
        Qt::QueuedConnection);
    return Place::OtherThread;
}

void ErrorDialogQueue::ShowAndWait(const std::shared_ptr<ErrorDialogQuestion>& question)
{
    QEventLoop loop;
    question->Take();
    OfApplication().Add({question, &loop});
    if (WindowFunction() != nullptr)
    {
        loop.exec(QEventLoop::DialogExec);
    }
    if (g_queue != nullptr)
    {
        g_queue->Remove(question); // still there when the loop ended because the application quits
    }
}

void ErrorDialogQueue::Add(const Entry& entry)
{
    if (WindowFunction() == nullptr)
    {
        entry.question->AnswerOnConsole();
        return;
    }
    const ErrorDialogContent& content = entry.question->Content();
    const auto saysTheSame = [&content](const Entry& other)
    { return other.question->Content().isWarning && other.question->Content().message == content.message; };
    if (content.isWarning && entry.loop == nullptr &&
        (m_entries.size() >= MaxWarnings || std::any_of(m_entries.begin(), m_entries.end(), saysTheSame)))
    {
        entry.question->AnswerOnConsole();
        return;
    }
    m_entries.push_back(entry);
    if (m_window == nullptr)
    {
        ShowFirst();
    }
}

void ErrorDialogQueue::Remove(const std::shared_ptr<ErrorDialogQuestion>& question)
{
    const auto isIt = [&question](const Entry& entry) { return entry.question == question; };
    const bool wasShown = m_window != nullptr && isIt(m_entries.front());
    std::erase_if(m_entries, isIt);
    if (wasShown)
    {
        m_window.reset();
        ShowFirst();
    }
}

void ErrorDialogQueue::ShowFirst()
{
    if (m_entries.empty())
    {
        return;
    }
    const std::shared_ptr<ErrorDialogQuestion> question = m_entries.front().question;
    m_window.reset(WindowFunction()(question->Content(), [this](ErrorDialogDecision decision) { Finish(decision); }));
    question->MarkShown();
}

void ErrorDialogQueue::Finish(ErrorDialogDecision decision)
{
    // The window is still inside its signal.
    delete m_closedWindow.data();
    m_closedWindow = m_window.release();
    m_closedWindow->deleteLater();

    const Entry entry = m_entries.front();
    m_entries.pop_front();
    MinidumpActions actions;
    if (decision != ErrorDialogDecision::Undecided)
    {
        actions.decision = decision == ErrorDialogDecision::Write ? 1 : 0;
    }
    entry.question->Answer(actions);
    if (entry.loop != nullptr)
    {
        entry.loop->quit();
    }
    ShowFirst();
}

} // namespace Ardo::Kiln::Exception
