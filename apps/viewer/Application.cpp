#include "apps/viewer/Application.h"

#include "apps/viewer/Live.h"
#include "apps/viewer/Model/RecordTree.h"
#include "apps/viewer/Model/Samples.h"
#include "apps/viewer/Model/Texts.h"
#include "apps/viewer/View/AcquisitionPanel.h"
#include "apps/viewer/View/Dialogs.h"
#include "apps/viewer/View/DisplayPanel.h"
#include "apps/viewer/View/LogPanel.h"
#include "apps/viewer/View/MessageBar.h"
#include "apps/viewer/View/ProfilePanel.h"
#include "apps/viewer/View/RecordPanel.h"
#include "Ardo/Kiln/Logger/CreateLogger.h"

#include <boost/log/sources/record_ostream.hpp>
#include <QFileInfo>

#include <exception>
#include <utility>

namespace Ardo::Kiln::Viewer
{

using Threading::DeliverOn;
using Threading::Delivery;

namespace
{

QString KindText(Imaging::PixelKind kind)
{
    switch (kind)
    {
    case Imaging::PixelKind::UInt16:
        return Texts::tr("16 bit");
    case Imaging::PixelKind::Float32:
        return Texts::tr("32 bit float");
    case Imaging::PixelKind::Rgb8:
        return Texts::tr("RGB");
    case Imaging::PixelKind::Rgba8:
        return Texts::tr("RGBA");
    case Imaging::PixelKind::UInt8:
        break;
    }
    return Texts::tr("8 bit");
}

/// What is unusual about a document, for a person; empty if nothing is.
QString ProblemOf(const Document& document)
{
    if (document.picture == nullptr)
    {
        return Texts::tr("The image cannot be read: %1. Its record is shown.")
            .arg(QString::fromStdString(document.imageProblem));
    }
    if (!document.recordProblem.empty())
    {
        return Texts::tr("The record cannot be read: %1").arg(QString::fromStdString(document.recordProblem));
    }
    if (!document.metadata)
    {
        return Texts::tr("This file has no acquisition record: positions and lengths are in pixels.");
    }
    if (!document.calibration.PixelSize())
    {
        return Texts::tr("The record has no pixel size: positions and lengths are in pixels.");
    }
    return {};
}

} // namespace

Application::Application(Environment environment)
    : m_environment(std::move(environment)),
      m_file(m_environment.settingsFile, QSettings::IniFormat),
      m_settings(LoadViewerSettings(m_file)),
      m_display(m_settings.display)
{
    m_window.restoreGeometry(m_settings.geometry);
    m_window.restoreState(m_settings.state);
    m_window.Acquisition().Show(m_settings.scan);
    m_window.Acquisition().SetSavesEach(m_settings.savesEachScan);
    m_window.ShowRecentFiles(m_settings.recentFiles);
    ConnectFiles();
    ConnectDisplay();
    ConnectMeasurement();
    ConnectAcquisition();
    ConnectSaving();
    ConnectHelp();
    ShowTitle();
    ShowOffers();
    m_display.ShowNothing();
    m_window.Image().SetMessage(Texts::tr("Drop an image here, or open one with Ctrl+O.\n"
                                          "F9 acquires one with the simulated detector."));
    HintAtReport();
}

Application::~Application() = default;

void Application::Open(const QString& path)
{
    Replace([this, path = QFileInfo(path).absoluteFilePath()] { m_documents.Open(path); });
}

void Application::Wait()
{
    m_documents.Wait();
    m_acquisition.Wait();
    m_saver.Wait();
}

bool Application::IsIdle() const
{
    return !m_reading.isActive && !m_saving.isActive && !m_isScanning && m_pendingSaves == 0;
}

void Application::ConnectFiles()
{
    m_documents.documents = m_transmitter.Open<DocumentPtr>(
        [this](const DocumentPtr& document)
        {
            m_settings.AddRecentFile(document->path);
            m_settings.folder = QFileInfo(document->path).path();
            m_window.ShowRecentFiles(m_settings.recentFiles);
            Show(document, false);
        });
    m_documents.failures = m_transmitter.Open<std::string>(
        [this](const std::string& text)
        {
            auto logger = Logger::CreateLogger("Files");
            BOOST_LOG_SEV(logger, Logger::warning) << "not read: " << text;
            m_environment.failed(text);
        },
        Delivery::Every());
    m_documents.work = m_transmitter.Open<WorkState>(
        [this](const WorkState& work)
        {
            m_reading = work;
            m_window.ShowWork(work, Texts::tr("Reading"));
            ShowOffers();
        },
        Delivery::Changes());
    const auto caller = DeliverOn::Caller();
    Take(m_window.openRequested.Connect(caller, [this](const QString& path) { Open(path); }));
    Take(m_window.openDialogRequested.Connect(caller, [this] { AskForFile(); }));
    Take(m_window.reloadRequested.Connect(caller, [this] { Open(m_document->path); }));
    Take(m_window.stepRequested.Connect(caller, [this](int step)
                                        { Replace([this, step] { m_documents.Step(m_document->path, step); }); }));
    Take(m_window.cancelRequested.Connect(caller,
                                          [this]
                                          {
                                              m_documents.Cancel();
                                              m_saver.Cancel();
                                          }));
    Take(m_window.closeRequested.Connect(caller,
                                         [this]
                                         {
                                             Replace(
                                                 [this]
                                                 {
                                                     Remember();
                                                     m_window.CloseNow();
                                                 });
                                         }));
}

void Application::ConnectDisplay()
{
    m_display.states = m_transmitter.Open<DisplayState>(
        [this](const DisplayState& state)
        {
            m_window.Image().SetSettings(state.settings);
            m_window.Display().Show(state);
        });
    Take(m_window.Display().chosen.Connect(DeliverOn::Caller(),
                                           [this](const DisplayChoice& choice) { m_display.Choose(choice); }));
}

void Application::ConnectMeasurement()
{
    ImageView& image = m_window.Image();
    Take(image.lineDrawn.Connect(
        DeliverOn::MainThread(), [this](Tool tool, const QLineF& line) { ShowLine(line, tool == Tool::Profile); },
        Delivery::Latest()));
    Take(image.pointed.Connect(
        DeliverOn::MainThread(),
        [this](const QPointF& position)
        {
            m_pointer = position;
            ShowPointer();
        },
        Delivery::Latest()));
    Take(image.pointerLeft.Connect(DeliverOn::MainThread(),
                                   [this]
                                   {
                                       m_pointer.reset();
                                       ShowPointer();
                                   }));
    ProfilePanel& profile = m_window.Profile();
    Take(profile.lineTyped.Connect(DeliverOn::Caller(),
                                   [this](const QLineF& line)
                                   {
                                       m_window.Image().SetLine(line);
                                       ShowLine(line, false);
                                   }));
    Take(profile.exportRequested.Connect(DeliverOn::Caller(), [this] { ExportProfile(); }));
}

void Application::Show(const DocumentPtr& document, bool keepsPart)
{
    m_document = document;
    const bool hasPicture = document->picture != nullptr;
    const Imaging::size_2d size = hasPicture ? document->picture->image.Size() : Imaging::size_2d{};
    m_window.Image().ShowPicture(hasPicture ? document->picture->pyramid : nullptr, document->calibration, keepsPart);
    m_window.Profile().Clear(QSizeF(size.width, size.height));
    if (hasPicture)
    {
        m_display.ShowValues(document->picture->image.Kind(), document->picture->histogram);
        m_window.Image().SetSettings(m_display.State().settings); // not first with those of the image before
        QString facts = QStringLiteral("%1 x %2, %3")
                            .arg(size.width)
                            .arg(size.height)
                            .arg(KindText(document->picture->image.Kind()));
        if (document->pageCount > 1)
        {
            facts += Texts::tr(", the first of %1").arg(document->pageCount);
        }
        m_window.ShowImageFacts(facts);
    }
    else
    {
        m_display.ShowNothing();
        m_window.ShowImageFacts({});
        m_window.Image().SetMessage(ProblemOf(*document));
    }
    m_window.Message().Show(ProblemOf(*document));
    ShowPointer();
    ShowRecord();
    ShowTitle();
    ShowOffers();
}

void Application::ShowRecord()
{
    std::vector<RecordNode> nodes;
    QString problem = m_document->recordProblem.empty()
                          ? QString()
                          : Texts::tr("Damaged: %1").arg(QString::fromStdString(m_document->recordProblem));
    if (m_document->metadata)
    {
        try
        {
            nodes = MakeRecordTree(*m_document->metadata);
        }
        catch (const std::exception& failure) // a record that can be read but not written
        {
            problem = QString::fromStdString(failure.what());
        }
    }
    else if (problem.isEmpty())
    {
        problem = Texts::tr("There is no record.");
    }
    m_window.Record().Show(nodes, problem, !m_document->recordText.empty());
}

void Application::ShowTitle()
{
    const QString name = m_live != nullptr       ? Texts::tr("Live")
                         : m_document == nullptr ? Texts::tr("Viewer")
                         : IsUnsaved()           ? Texts::tr("Acquired, not saved")
                                                 : QFileInfo(m_document->path).fileName();
    m_window.setWindowTitle(name);
}

void Application::ShowOffers()
{
    Abilities abilities;
    const bool hasDocument = m_document != nullptr && m_live == nullptr;
    abilities.Set(Ability::ShowImage, hasDocument && m_document->picture != nullptr);
    abilities.Set(Ability::ShowRecord, hasDocument && !m_document->recordText.empty());
    abilities.Set(Ability::ReadAgain, hasDocument && !m_document->path.isEmpty());
    abilities.Set(Ability::EndReading, m_reading.isActive);
    abilities.Set(Ability::EndSaving, m_saving.isActive);
    abilities.Set(Ability::BeginSaving, m_pendingSaves == 0);
    abilities.Set(Ability::BeginScan, !m_isScanning);
    abilities.Set(Ability::EndScan, m_isScanning);
    m_window.ShowOffers(OffersOf(abilities));
}

void Application::ShowLine(const QLineF& line, bool raises)
{
    if (m_document == nullptr || m_document->picture == nullptr || m_live != nullptr)
    {
        return;
    }
    m_window.Profile().Show(line, m_document->calibration.LengthText(line),
                            MakeLineProfile(m_document->picture->image, line, m_document->calibration));
    if (raises)
    {
        m_window.Raise(m_window.Profile());
    }
}

void Application::ShowPointer()
{
    const bool isLive = m_live != nullptr;
    const bool hasImage = isLive || (m_document != nullptr && m_document->picture != nullptr);
    const ImagePyramid* const pyramid = !hasImage ? nullptr
                                        : isLive  ? m_live->pyramid.get()
                                                  : m_document->picture->pyramid.get();
    if (pyramid == nullptr || !m_pointer ||
        !QRectF(0, 0, pyramid->Size().width, pyramid->Size().height).contains(*m_pointer))
    {
        m_window.ShowPointer({}, {});
        return;
    }
    const Calibration& calibration = isLive ? m_live->calibration : m_document->calibration;
    const auto x = static_cast<std::uint32_t>(m_pointer->x());
    const auto y = static_cast<std::uint32_t>(m_pointer->y());
    m_window.ShowPointer(calibration.PositionText(*m_pointer),
                         calibration.ValueText(SamplesAt(pyramid->Image(), x, y)));
}

} // namespace Ardo::Kiln::Viewer
