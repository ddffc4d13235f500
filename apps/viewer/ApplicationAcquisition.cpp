#include "apps/viewer/Application.h"
#include "apps/viewer/Live.h"
#include "apps/viewer/Model/Texts.h"
#include "apps/viewer/View/AcquisitionPanel.h"
#include "apps/viewer/View/Dialogs.h"
#include "apps/viewer/View/MessageBar.h"
#include "apps/viewer/View/ProfilePanel.h"
#include "apps/viewer/View/RecordPanel.h"
#include "Ardo/Kiln/Profiling/Stage.h"

#include <utility>

namespace Ardo::Kiln::Viewer
{

using Threading::DeliverOn;
using Threading::Delivery;

Application::Live::Live(const ScanLines& lines)
    : pyramid(std::make_shared<ImagePyramid>(Imaging::size_2d{lines.settings.side, lines.settings.side},
                                             lines.rows.Kind())),
      calibration(MakeScanRecord(lines.settings, lines.rows, {}, {}, 0))
{
}

void Application::Live::Add(const ScanLines& lines)
{
    if (lines.first == 0 || present == nullptr)
    {
        before = std::exchange(present, std::make_shared<Imaging::Histogram>(lines.rows.Kind()));
    }
    pyramid->SetRows(lines.first, lines.rows);
    present->Add(lines.rows.Row(0), std::size_t{lines.rows.Size().width} * lines.rows.Size().height);
}

void Application::ConnectAcquisition()
{
    constexpr std::size_t WaitingBlocks = 8;
    m_acquisition.lines = m_transmitter.Open<ScanLines>([this](const ScanLines& lines) { ShowLines(lines); },
                                                        Delivery::Every(WaitingBlocks));
    m_acquisition.results =
        m_transmitter.Open<ScanResult>([this](const ScanResult& result) { EndScan(result); }, Delivery::Every());
    Take(m_window.startRequested.Connect(DeliverOn::Caller(), [this] { Replace([this] { StartScan(); }); }));
    Take(m_window.stopRequested.Connect(DeliverOn::Caller(), [this] { m_acquisition.Stop(); }));
}

void Application::StartScan()
{
    if (m_isScanning)
    {
        return;
    }
    m_documents.Cancel(); // what is still being read must not replace the live image
    m_isScanning = true;
    m_settings.scan = m_window.Acquisition().Settings();
    m_window.Message().Show({});
    m_window.Raise(m_window.Acquisition());
    m_acquisition.Start(m_settings.scan);
    ShowOffers();
}

void Application::ShowLines(const ScanLines& lines)
{
    const Profiling::Stage stage("show lines");
    if (!m_isScanning)
    {
        return;
    }
    if (m_live == nullptr)
    {
        BeginLive(lines);
    }
    m_live->Add(lines);
    m_display.ShowValues(Imaging::PixelKind::UInt16, m_live->before != nullptr ? m_live->before : m_live->present);
    const std::uint32_t count = lines.rows.Size().height;
    m_window.Image().RowsChanged(lines.first, count);
    m_window.Acquisition().ShowCourse(Texts::tr("Frame %1, line %2").arg(lines.frame + 1).arg(lines.first + count));
    ShowPointer();
}

void Application::BeginLive(const ScanLines& lines)
{
    m_live = std::make_unique<Live>(lines);
    const auto [width, height] = m_live->pyramid->Size();
    m_window.Image().ShowPicture(m_live->pyramid, m_live->calibration, false);
    m_window.Profile().Clear({});
    m_window.Record().Show({}, Texts::tr("The record is made when the scan ends."), false);
    m_window.ShowImageFacts(QStringLiteral("%1 x %2, %3").arg(width).arg(height).arg(Texts::tr("16 bit")));
    ShowTitle();
    ShowOffers();
}

void Application::EndScan(const ScanResult& result)
{
    m_isScanning = false;
    m_live.reset();
    m_window.Acquisition().ShowCourse({});
    if (result.document == nullptr)
    {
        m_replacement = nullptr;
        ShowOffers();
        m_environment.failed(result.failure);
        return;
    }
    Show(result.document, true);
    if (m_replacement == nullptr && m_window.Acquisition().SavesEach())
    {
        Save({});
    }
    GoOnReplacing();
}

bool Application::IsUnsaved() const
{
    return m_document != nullptr && m_document->path.isEmpty();
}

void Application::Replace(std::function<void()> replace)
{
    if (!m_isScanning && !IsUnsaved())
    {
        replace();
        return;
    }
    const UnsavedAnswer answer = AskAboutUnsaved(&m_window, m_isScanning);
    if (answer != UnsavedAnswer::Cancel)
    {
        m_replacement = std::move(replace);
        m_savesBeforeReplacing = answer == UnsavedAnswer::Save;
        m_acquisition.Stop();
        GoOnReplacing();
    }
}

void Application::GoOnReplacing()
{
    if (m_replacement == nullptr || m_isScanning || m_pendingSaves > 0)
    {
        return;
    }
    if (m_savesBeforeReplacing && IsUnsaved())
    {
        Save({});
        return;
    }
    std::exchange(m_replacement, nullptr)();
}

} // namespace Ardo::Kiln::Viewer
