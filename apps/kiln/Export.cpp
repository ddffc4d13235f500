#include "apps/kiln/Export.h"

#include "apps/kiln/Failure.h"
#include "apps/kiln/Streams.h"

#include "Ardo/Kiln/Threading/BackgroundWorker.h"
#include "Ardo/Kiln/Threading/ConsoleInterrupt.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <iostream>
#include <memory>
#include <system_error>

namespace Ardo::Kiln::Tool
{

namespace
{

using Threading::BackgroundWorker;
using Threading::ConsoleInterrupt;
using Threading::ScopedScheduledWork;

/// One line of standard error that is written over and over.
class Progress
{
public:
    Progress(const ExportSteps& steps, bool isShown) : m_steps(steps), m_isShown(isShown) {}
    ~Progress()
    {
        if (m_shown >= 0)
        {
            std::cerr << std::endl;
        }
    }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void ShowFile()
    {
        std::error_code error;
        const std::uintmax_t length = std::filesystem::file_size(m_steps.file, error);
        // The last percent is the flush to the disk.
        Show(error || m_steps.size == 0 ? 0
                                        : static_cast<int>(std::min<std::uintmax_t>(length * 99 / m_steps.size, 99)));
    }

    void Show(int percent)
    {
        if (m_isShown && percent > m_shown)
        {
            std::cerr << "\rwriting " << Printable(m_steps.name) << ": " << percent << " %" << std::flush;
            m_shown = percent;
        }
    }

private:
    const ExportSteps& m_steps;
    const bool m_isShown;
    int m_shown = -1; ///< In percent; negative while there is no line.
};

} // namespace

void RunExport(const ExportSteps& steps, bool showsProgress)
{
    // A function is copied on its way to the worker, a task cannot be. It keeps the exception for this thread.
    const auto write = std::make_shared<std::packaged_task<void()>>(steps.write);
    const auto commit = std::make_shared<std::packaged_task<void()>>(
        [&]
        {
            write->get_future().get(); // is there, for the steps run in order; a failure goes on from here
            steps.commit();
        });
    std::future<void> done = commit->get_future();

    const ConsoleInterrupt interrupt;
    Progress progress(steps, showsProgress || ConsoleInterrupt::IsStandardErrorShown());
    BackgroundWorker worker("Export");
    // These wait for the step that runs and cancel the other, whatever ends this function.
    const ScopedScheduledWork writing = worker.Schedule([write] { (*write)(); });
    ScopedScheduledWork committing = worker.Schedule([commit] { (*commit)(); });
    while (done.wait_for(std::chrono::milliseconds(20)) != std::future_status::ready)
    {
        progress.ShowFile();
        if (interrupt.IsRequested() && committing.Cancel())
        {
            throw Interrupted();
        }
    }
    done.get();
    progress.Show(100);
}

} // namespace Ardo::Kiln::Tool
