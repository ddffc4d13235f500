#include "apps/kiln/Export.h"

#include "apps/kiln/ConsoleInterrupt.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Streams.h"

#include "Ardo/Kiln/Threading/BackgroundWorker.h"

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
using Threading::ScopedScheduledWork;

/// One line on standard error that is overwritten with each update.
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
    // A packaged_task keeps the exception for this thread. It is shared, because it cannot be copied as functions of a
    // worker are.
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
            write->get_future().get(); // ready, because the steps run in order; throws the failure of the step
            steps.commit();
        });
    std::future<void> done = commit->get_future();

    const ConsoleInterrupt interrupt;
    Progress progress(steps.name, showsProgress || ConsoleInterrupt::IsStandardErrorShown());
    BackgroundWorker worker("Export");
    // Their destructors wait for the running step and cancel the other, also when this function throws.
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
