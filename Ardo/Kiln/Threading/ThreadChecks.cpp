#include "Ardo/Kiln/Threading/ThreadChecks.h"

#include "Ardo/Kiln/Logger/ComponentLog.h"
#include "Ardo/Kiln/Threading/BackgroundWorker.h"

#include <boost/format.hpp>

#include <QCoreApplication>
#include <QThread>

#include <locale>

namespace Ardo::Kiln::Threading
{

namespace
{

/// Warns with \p format, filled in with \p arguments, unless \p passed.
///
/// \returns passed.
template <typename... Arguments>
bool Check(bool passed, const char* format, const Arguments&... arguments) noexcept
{
    if (!passed)
    {
        try
        {
            // The global locale might group the digits.
            const std::string text = (boost::format(format, std::locale::classic()) % ... % arguments).str();
            Logger::ComponentLog("Threading").Warning(text);
        }
        catch (...)
        {
            // Out of memory: the record is lost, the answer is not.
        }
    }
    return passed;
}

} // namespace

void AssertMainThread() noexcept
{
    const QCoreApplication* const application = QCoreApplication::instance();
    Check(application == nullptr || application->thread() == QThread::currentThread(),
          "Expected main thread, got thread %d instead",
          reinterpret_cast<quintptr>(QThread::currentThreadId())); // a number whatever the system's type is
}

bool IsOnThread(const BackgroundWorker& worker) noexcept
{
    return Check(worker.IsOnBackgroundThread(), "Not called from expected thread");
}

bool IsOnThread(std::thread::id thread) noexcept
{
    return Check(std::this_thread::get_id() == thread, "Called from wrong thread: expected: %d - actual: %d", thread,
                 std::this_thread::get_id());
}

bool IsNotOnThread(const BackgroundWorker& worker) noexcept
{
    return Check(!worker.IsOnBackgroundThread(), "Unexpectedly called from background thread");
}

bool IsNotOnThread(std::thread::id thread) noexcept
{
    return Check(std::this_thread::get_id() != thread, "Called from thread %d - expected another thread", thread);
}

} // namespace Ardo::Kiln::Threading
