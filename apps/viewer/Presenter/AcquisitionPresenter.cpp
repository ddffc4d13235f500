#include "apps/viewer/Presenter/AcquisitionPresenter.h"

#include "Ardo/Kiln/Exception/ErrorDialog.h"
#include "Ardo/Kiln/Logger/CreateLogger.h"
#include "Ardo/Kiln/Profiling/Stage.h"
#include "Ardo/Kiln/Time/Ticks.h"

#include <boost/log/sources/record_ostream.hpp>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <utility>
#include <vector>

namespace Ardo::Kiln::Viewer
{

namespace
{

using Clock = std::chrono::steady_clock;
using Imaging::const_raw_image;

MetadataLib::TimePoint Now()
{
    return Time::ToTimePoint(std::chrono::system_clock::now());
}

} // namespace

/// The frame that is being scanned, and which of its lines the main thread does not have yet.
class AcquisitionPresenter::Scan
{
public:
    Scan(const ScanSettings& settings, const Threading::Sender<ScanLines>& lines)
        : m_settings(settings),
          m_lines(lines),
          m_detector(EmbeddedMicrograph(), settings),
          m_frame(std::make_shared<std::vector<std::uint16_t>>(std::size_t{settings.side} * settings.side))
    {
    }

    void NextLine()
    {
        m_detector.Scan(m_line, m_frame->data() + std::size_t{m_settings.side} * m_line);
        m_waiting = std::min(m_waiting + 1, m_settings.side);
        ++m_count;
        m_line = (m_line + 1) % m_settings.side;
    }

    /// Sends the lines that wait, in the order of scanning; those at the end of the frame before come first.
    void Send()
    {
        const std::uint32_t inFrame = m_line == 0 ? m_settings.side : m_line;
        const std::uint32_t before = m_waiting > inFrame ? m_waiting - inFrame : 0;
        if (before > 0)
        {
            SendRows(m_settings.side - before, before);
        }
        SendRows(inFrame - (m_waiting - before), m_waiting - before);
        m_waiting = 0;
    }

    std::uint64_t LineCount() const { return m_count; }
    std::uint32_t FrameCount() const { return static_cast<std::uint32_t>(m_count / m_settings.side); }
    std::uint32_t Waiting() const { return m_waiting; }

    /// What was scanned: of the first frame the lines that there are.
    const_raw_image Image() const
    {
        const std::uint32_t height = FrameCount() == 0 ? m_line : m_settings.side;
        return {std::shared_ptr<const void>(m_frame, m_frame->data()),
                {m_settings.side, height},
                Imaging::PixelKind::UInt16};
    }

private:
    void SendRows(std::uint32_t first, std::uint32_t count)
    {
        if (count > 0)
        {
            const auto begin = m_frame->begin() + static_cast<std::ptrdiff_t>(std::size_t{m_settings.side} * first);
            const auto rows = std::make_shared<std::vector<std::uint16_t>>(
                begin, begin + static_cast<std::ptrdiff_t>(std::size_t{m_settings.side} * count));
            m_lines.Send({m_settings, FrameCount(), first,
                          const_raw_image(std::shared_ptr<const void>(rows, rows->data()), {m_settings.side, count},
                                          Imaging::PixelKind::UInt16)});
        }
    }

    const ScanSettings m_settings;
    const Threading::Sender<ScanLines>& m_lines;
    ScanSimulation m_detector;
    std::shared_ptr<std::vector<std::uint16_t>> m_frame;
    std::uint32_t m_line = 0;    ///< The next one.
    std::uint32_t m_waiting = 0; ///< The latest lines that were not sent.
    std::uint64_t m_count = 0;
};

AcquisitionPresenter::AcquisitionPresenter() : m_worker("Viewer detector", Exception::ErrorDialog::ShowWarningDialog)
{
    m_running = m_started.Connect(Threading::DeliverOn::Worker(m_worker),
                                  [this](const ScanSettings& settings) { Run(settings); });
}

AcquisitionPresenter::~AcquisitionPresenter()
{
    Stop();
}

void AcquisitionPresenter::Start(const ScanSettings& settings)
{
    {
        const std::lock_guard lock(m_mutex);
        m_isStopped = false;
    }
    m_started.Emit(settings);
}

void AcquisitionPresenter::Stop()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isStopped = true;
    }
    m_changed.notify_all();
}

bool AcquisitionPresenter::WaitUntil(Clock::time_point time)
{
    std::unique_lock lock(m_mutex);
    return !m_changed.wait_until(lock, time, [this] { return m_isStopped; });
}

void AcquisitionPresenter::Run(const ScanSettings& settings)
try
{
    auto logger = Logger::CreateLogger("Detector");
    BOOST_LOG_SEV(logger, Logger::info) << "scan of " << settings.side << " lines begins";
    constexpr auto Interval = std::chrono::milliseconds(30); // between two updates of the live view
    const MetadataLib::TimePoint begin = Now();
    const auto start = Clock::now();
    auto lastSent = start;
    Scan scan(settings, lines);
    bool isRunning = true;
    while (isRunning && (settings.isContinuous || scan.FrameCount() == 0))
    {
        const Profiling::Stage stage("scan line");
        scan.NextLine();
        const std::chrono::duration<double> planned(settings.LineTime() * static_cast<double>(scan.LineCount()));
        isRunning = WaitUntil(start + std::chrono::duration_cast<Clock::duration>(planned));
        if (Clock::now() - lastSent >= Interval && lines.IsTaken())
        {
            scan.Send();
            lastSent = Clock::now();
        }
    }
    scan.Send();
    const const_raw_image image = scan.Image();
    BOOST_LOG_SEV(logger, Logger::info) << "scan ends after " << scan.LineCount() << " lines";
    results.Send({std::make_shared<const Document>(
                      MakeDocument(image, MakeScanRecord(settings, image, begin, Now(), scan.FrameCount()))),
                  {}});
}
catch (const std::exception& failure)
{
    results.Send({nullptr, failure.what()});
}

} // namespace Ardo::Kiln::Viewer
