#include "apps/viewer/Application.h"
#include "apps/viewer/Model/FolderImages.h"
#include "apps/viewer/Model/Texts.h"
#include "apps/viewer/View/AcquisitionPanel.h"
#include "apps/viewer/View/Dialogs.h"
#include "apps/viewer/View/LogPanel.h"
#include "apps/viewer/View/MessageBar.h"
#include "apps/viewer/View/ProfilePanel.h"
#include "apps/viewer/View/RecordPanel.h"
#include "Ardo/Kiln/Exception/MiniDumpGenerator.h"
#include "Ardo/Kiln/ImageIO/DataBar.h"

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
    const QString path = AskForNewFile(&m_window, Texts::tr("Save As"), m_settings.folder, ImageIO::ExportType::Data);
    if (!path.isEmpty())
    {
        Save(path);
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
        m_replacement = nullptr; // what could not be saved stays
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
    GoOnReplacing();
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
    const QString path = AskForNewFile(&m_window, Texts::tr("Export Profile"), m_settings.folder,
                                       Texts::tr("Text for spreadsheets (*.csv)"), {QStringLiteral("csv")});
    if (!path.isEmpty())
    {
        ImageIO::WritePlot(path.toStdWString(), m_window.Profile().Plot());
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
    m_settings.display = m_display.State().choice;
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
