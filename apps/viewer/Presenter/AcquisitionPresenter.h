#pragma once

#include "apps/viewer/Model/Document.h"
#include "apps/viewer/Model/ScanSimulation.h"
#include "Ardo/Kiln/Threading/BackgroundWorker.h"
#include "Ardo/Kiln/Threading/Sender.h"
#include "Ardo/Kiln/Threading/ViewSignal.h"

#include <condition_variable>
#include <mutex>
#include <string>

namespace Ardo::Kiln::Viewer
{

/// Lines that a detector has delivered.
struct ScanLines
{
    ScanSettings settings;   ///< Of the scan.
    std::uint32_t frame = 0; ///< The number of the frame, from 0.
    std::uint32_t first = 0; ///< The row of the first line.
    Imaging::const_raw_image rows;
};

/// What came of a scan.
struct ScanResult
{
    DocumentPtr document; ///< Null if it failed, or was stopped before the first line.
    std::string failure;  ///< UTF-8.
};

/// Scans with a simulated detector on a thread of its own. Belongs to the main thread.
class AcquisitionPresenter
{
public:
    AcquisitionPresenter();

    /// Stops the scan.
    ~AcquisitionPresenter();
    AcquisitionPresenter(const AcquisitionPresenter&) = delete;
    AcquisitionPresenter& operator=(const AcquisitionPresenter&) = delete;

    /// Every line once, several together. Lines are kept until the main thread has taken the ones before. Two values
    /// may wait.
    Threading::Sender<ScanLines> lines;
    Threading::Sender<ScanResult> results; ///< Of each scan one.

    /// Begins a scan. Another one must have ended.
    void Start(const ScanSettings& settings);

    /// Ends the scan at the next line.
    void Stop();

    /// Waits until no scan runs.
    void Wait() { m_worker.Wait(); }

private:
    class Scan;

    /// Waits until \p time.
    /// \returns false at once if the scan is stopped.
    bool WaitUntil(std::chrono::steady_clock::time_point time);
    void Run(const ScanSettings& settings);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isStopped = true; ///< Guarded by m_mutex.
    Threading::ViewSignal<ScanSettings> m_started;
    Threading::BackgroundWorker m_worker;
    Threading::ScopedConnection m_running; ///< Last, so that no scan runs when the other members are destroyed.
};

} // namespace Ardo::Kiln::Viewer
