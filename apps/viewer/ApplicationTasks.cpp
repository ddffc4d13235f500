#include "apps/viewer/Application.h"
#include "apps/viewer/Live.h"
#include "apps/viewer/Model/FolderImages.h"
#include "apps/viewer/Model/Texts.h"
#include "apps/viewer/View/AcquisitionPanel.h"
#include "apps/viewer/View/Dialogs.h"
#include "apps/viewer/View/DisplayPanel.h"
#include "apps/viewer/View/LogPanel.h"
#include "apps/viewer/View/MessageBar.h"
#include "apps/viewer/View/ProfilePanel.h"
#include "apps/viewer/View/RecordPanel.h"
#include "Ardo/Kiln/Exception/MiniDumpGenerator.h"
#include "Ardo/Kiln/ImageIO/DataBar.h"
#include "Ardo/Kiln/Profiling/Stage.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QStatusBar>

#include <exception>
#include <utility>

namespace Ardo::Kiln::Viewer
{

using Threading::DeliverOn;
using Threading::Delivery;

void Application::ConnectAcquisition()
{
    constexpr std::size_t WaitingBlocks = 8;
    m_acquisition.lines = m_transmitter.Open<ScanLines>([this](const ScanLines& lines) { ShowLines(lines); },
                                                        Delivery::Every(WaitingBlocks));
    m_acquisition.results =
        m_transmitter.Open<ScanResult>([this](const ScanResult& result) { EndScan(result); }, Delivery::Every());
    Take(m_window.startRequested.Connect(DeliverOn::Caller(), [this] { StartScan(); }));
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
        m_live = std::make_unique<Live>(lines.settings);
        const auto [width, height] = m_live->pyramid->Size();
        MetadataLib::Metadata scale; // a live image has a scale bar, too
        scale = MakeScanRecord(lines.settings, lines.rows, {}, {}, 0);
        m_window.Image().ShowPicture(m_live->pyramid, Calibration(scale), false);
        m_window.Profile().Clear({});
        m_window.Record().Show({}, Texts::tr("The record is made when the scan ends."), false);
        m_window.ShowImageFacts(QStringLiteral("%1 x %2, %3").arg(width).arg(height).arg(Texts::tr("16 bit")));
        ShowTitle();
        ShowOffers();
    }
    if (lines.first == 0 ||
        m_live->next == nullptr) // a new frame is counted anew; until it is complete the one before is shown
    {
        m_live->histogram = m_live->next != nullptr ? std::exchange(m_live->next, nullptr) : m_live->histogram;
        m_live->next = std::make_shared<Imaging::Histogram>(Imaging::PixelKind::UInt16);
    }
    const std::uint32_t count = lines.rows.Size().height;
    m_live->pyramid->SetRows(lines.first, lines.rows);
    m_live->next->Add(lines.rows.Row(0), std::size_t{lines.rows.Size().width} * count);
    m_display.ShowValues(Imaging::PixelKind::UInt16, lines.frame == 0 ? m_live->next : m_live->histogram);
    m_window.Image().RowsChanged(lines.first, count);
    m_window.Acquisition().ShowCourse(Texts::tr("Frame %1, line %2").arg(lines.frame + 1).arg(lines.first + count));
}

void Application::EndScan(const ScanResult& result)
{
    m_isScanning = false;
    m_live.reset();
    m_window.Acquisition().ShowCourse({});
    if (result.document == nullptr)
    {
        ShowOffers();
        m_environment.failed(result.failure);
        return;
    }
    Show(result.document, true);
    if (m_window.Acquisition().SavesEach())
    {
        Save({});
    }
}

void Application::ConnectSaving()
{
    m_saver.results =
        m_transmitter.Open<SaveResult>([this](const SaveResult& result) { ShowSaved(result); }, Delivery::Every());
    m_saver.work = m_transmitter.Open<WorkState>(
        [this](const WorkState& work)
        {
            m_saving = work;
            m_window.ShowWork(work, Texts::tr("Writing"));
            ShowOffers();
        },
        Delivery::Changes());
    Take(m_window.saveRequested.Connect(DeliverOn::Caller(), [this] { Save({}); }));
    Take(m_window.saveAsRequested.Connect(DeliverOn::Caller(), [this] { SaveAs(); }));
    Take(m_window.exportRequested.Connect(DeliverOn::Caller(), [this] { ExportPicture(); }));
    Take(m_window.fileNamesRequested.Connect(
        DeliverOn::Caller(),
        [this]
        {
            if (const auto choice = AskForFileNames(&m_window, {m_settings.naming, m_settings.exportsPicture}))
            {
                SetNaming(choice->settings, choice->exportsPicture);
            }
        }));
}

void Application::SetNaming(const FileNaming::FileNamingSettings& naming, bool exportsPicture)
{
    m_settings.naming = naming;
    m_settings.exportsPicture = exportsPicture;
    Remember();
}

SaveRequest Application::MakeRequest() const
{
    SaveRequest request;
    request.document = m_document;
    request.naming = m_settings.naming;
    request.exportsPicture = m_settings.exportsPicture;
    request.presentation.display = m_display.State().settings;
    request.presentation.hasScaleBar = m_document->calibration.PixelSize().has_value();
    if (m_document->metadata)
    {
        request.presentation.dataBar = ImageIO::MakeDataBar(*m_document->metadata, ImageIO::UsualDataBar());
    }
    return request;
}

void Application::Save(const QString& path)
{
    SaveRequest request = MakeRequest();
    request.path = path;
    ++m_pendingSaves;
    m_saver.Save(request);
    ShowOffers();
}

void Application::SaveAs()
{
    const QString filter = QString::fromStdString(ImageIO::FilterText(ImageIO::ExportType::Data));
    const QString path = QFileDialog::getSaveFileName(&m_window, Texts::tr("Save As"), m_settings.folder, filter);
    if (!path.isEmpty())
    {
        Save(QFileInfo(path).suffix().isEmpty() ? path + QStringLiteral(".tif") : path);
    }
}

void Application::ExportPicture()
{
    SaveRequest request = MakeRequest();
    const auto choice =
        AskForExport(&m_window, m_settings.folder, request.presentation.hasScaleBar, m_document->metadata.has_value());
    if (!choice)
    {
        return;
    }
    request.path = choice->path;
    request.type = choice->type;
    request.presentation.size = choice->size;
    request.presentation.hasScaleBar = choice->hasScaleBar;
    if (!choice->hasDataBar)
    {
        request.presentation.dataBar.clear();
    }
    ++m_pendingSaves;
    m_saver.Save(request);
    ShowOffers();
}

void Application::ShowSaved(const SaveResult& result)
{
    --m_pendingSaves;
    ShowOffers();
    if (!result.failure.empty() || result.isCancelled)
    {
        ShowTitle(); // the window stays open
    }
    if (!result.failure.empty())
    {
        m_environment.failed(result.failure);
        return;
    }
    if (result.isCancelled)
    {
        m_window.statusBar()->showMessage(Texts::tr("Cancelled; nothing was written."), 5000);
        return;
    }
    m_settings.folder = QFileInfo(result.files.path).path();
    m_window.statusBar()->showMessage(Texts::tr("Written: %1").arg(QDir::toNativeSeparators(result.files.path)), 10000);
    if (result.request.type == ImageIO::ExportType::Data)
    {
        m_settings.AddRecentFile(result.files.path);
        m_window.ShowRecentFiles(m_settings.recentFiles);
        if (result.request.document == m_document) // else another one is shown meanwhile
        {
            auto saved = std::make_shared<Viewer::Document>(*m_document);
            saved->path = result.files.path;
            m_document = std::move(saved);
            ShowTitle();
            ShowOffers();
        }
    }
}

void Application::AskForFile()
{
    const QString filter =
        Texts::tr("Images (%1)").arg(ImageNameFilter()) + QStringLiteral(";;") + Texts::tr("All files (*)");
    const QString path = QFileDialog::getOpenFileName(&m_window, Texts::tr("Open an Image"), m_settings.folder, filter);
    if (!path.isEmpty())
    {
        Open(path);
    }
}

void Application::ExportProfile()
try
{
    const QString path = QFileDialog::getSaveFileName(&m_window, Texts::tr("Export Profile"), m_settings.folder,
                                                      Texts::tr("Text for spreadsheets (*.csv)"));
    if (!path.isEmpty())
    {
        ImageIO::WritePlot((QFileInfo(path).suffix().isEmpty() ? path + QStringLiteral(".csv") : path).toStdWString(),
                           m_window.Profile().Plot());
    }
}
catch (const std::exception& failure)
{
    m_environment.failed(failure.what());
}

void Application::ConnectHelp()
{
    m_logFeed.emplace(
        m_transmitter.Open<LogLine>([this](const LogLine& line) { m_window.Log().Add(line); }, Delivery::Every()));
    const auto caller = DeliverOn::Caller();
    Take(m_window.faultRequested.Connect(caller, [](Fault fault) { Provoke(fault); }));
    Take(m_window.lastReportRequested.Connect(caller, [this] { ShowLastReport(); }));
    Take(m_window.Record().rawTextRequested.Connect(
        caller,
        [this] { ShowText(&m_window, Texts::tr("Record as XML"), QString::fromStdString(m_document->recordText)); }));
    Take(m_window.aboutRequested.Connect(caller,
                                         [this]
                                         {
                                             ShowAbout(&m_window, m_environment.logFolder,
                                                       QString::fromStdWString(
                                                           Exception::MiniDumpGenerator::GetDumpDirectory()));
                                         }));
}

void Application::ShowLastReport()
{
    const FaultReport report = LastFaultReport();
    if (report.path.isEmpty())
    {
        m_window.Message().Show(Texts::tr("There is no report of a fault."));
        return;
    }
    m_settings.seenReport = report.path;
    Remember();
    ShowText(&m_window, QFileInfo(report.path).fileName(), report.text, QFileInfo(report.path).path());
}

void Application::HintAtReport()
{
    const QString path = LastFaultReport().path;
    if (!path.isEmpty() && path != m_settings.seenReport)
    {
        m_settings.seenReport = path;
        m_window.Message().Show(Texts::tr("The application has written a report of a fault."),
                                Texts::tr("Show the &Report"), [this] { ShowLastReport(); });
    }
}

void Application::Remember()
try
{
    m_settings.display = m_display.Choice();
    m_settings.scan = m_window.Acquisition().Settings();
    m_settings.savesEachScan = m_window.Acquisition().SavesEach();
    m_settings.geometry = m_window.saveGeometry();
    m_settings.state = m_window.saveState();
    SaveViewerSettings(m_file, m_settings);
}
catch (const std::exception& failure)
{
    m_environment.failed(failure.what());
}

} // namespace Ardo::Kiln::Viewer
