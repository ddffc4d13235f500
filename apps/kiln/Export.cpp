#include "apps/kiln/Export.h"

#include "apps/kiln/Failure.h"
#include "apps/kiln/Streams.h"

#include "Ardo/Kiln/Threading/BackgroundWorker.h"
#include "Ardo/Kiln/Threading/ConsoleInterrupt.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <iostream>
#include <memory>
#include <utility>

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
    Progress(std::string name, bool isShown) : m_name(std::move(name)), m_isShown(isShown) {}
    ~Progress()
    {
        if (m_shown >= 0)
        {
            std::cerr << std::endl;
        }
    }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Show(int percent)
    {
        if (m_isShown && percent > m_shown)
        {
            std::cerr << "\rwriting " << Printable(m_name) << ": " << percent << " %" << std::flush;
            m_shown = percent;
        }
    }

private:
    const std::string m_name;
    const bool m_isShown;
    int m_shown = -1; ///< In percent; negative while there is no line.
};

} // namespace

void RunExport(const ExportSteps& steps, bool showsProgress)
{
    // A function is copied on its way to the worker, a task cannot be. It keeps the exception for this thread.
    std::atomic<int> percent = 0;
    std::atomic<bool> isEnded = false;
    const auto write = std::make_shared<std::packaged_task<void()>>(
        [&]
        {
            steps.write(
                [&](std::uint64_t written, std::uint64_t size)
                {
                    // The last percent is the flush to the disk.
                    percent = static_cast<int>(std::min(written, size) * 99 / std::max<std::uint64_t>(size, 1));
                    return !isEnded.load();
                });
        });
    const auto commit = std::make_shared<std::packaged_task<void()>>(
        [&]
        {
            write->get_future().get(); // is there, for the steps run in order; a failure goes on from here
            steps.commit();
        });
    std::future<void> done = commit->get_future();

    const ConsoleInterrupt interrupt;
    Progress progress(steps.name, showsProgress || ConsoleInterrupt::IsStandardErrorShown());
    BackgroundWorker worker("Export");
    // These wait for the step that runs and cancel the other, whatever ends this function.
    const ScopedScheduledWork writing = worker.Schedule([write] { (*write)(); });
    ScopedScheduledWork committing = worker.Schedule([commit] { (*commit)(); });
    while (done.wait_for(std::chrono::milliseconds(20)) != std::future_status::ready)
    {
        progress.Show(percent);
        if (interrupt.IsRequested() && committing.Cancel())
        {
            isEnded = true;
            throw Interrupted();
        }
    }
    done.get();
    progress.Show(100);
}

} // namespace Ardo::Kiln::Tool
