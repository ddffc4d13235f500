#pragma once

#include "apps/viewer/Model/LogFeed.h"
#include "apps/viewer/Model/ViewerSettings.h"
#include "apps/viewer/Presenter/AcquisitionPresenter.h"
#include "apps/viewer/Presenter/DisplayPresenter.h"
#include "apps/viewer/Presenter/DocumentPresenter.h"
#include "apps/viewer/Presenter/SavePresenter.h"
#include "apps/viewer/View/MainWindow.h"
#include "Ardo/Kiln/Threading/QBaseTransmitter.h"

#include <QElapsedTimer>
#include <QSettings>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Ardo::Kiln::Viewer
{

/// Connects the presenters with the window: the only place that knows both. Belongs to the main thread, and needs a
/// ToMainThreadInitialization.
class Application
{
public:
    /// Where the application finds its files, and how it tells what has failed.
    struct Environment
    {
        QString settingsFile;                                ///< An INI file.
        QString logFolder;                                   ///< Where the log files are, for the About box.
        std::function<void(const std::string& text)> failed; ///< Shows an error to the person; UTF-8.
    };

    explicit Application(Environment environment);
    ~Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    MainWindow& Window() noexcept { return m_window; }

    /// Reads a file and shows it. A person is asked first if an acquisition would be lost. Does not wait for the file.
    void Open(const QString& path);

    /// Begins a scan with the settings of the panel, whose image replaces what is shown. Nothing happens while another
    /// scan runs.
    void StartScan();

    /// Waits until nothing is read, scanned or written. What came of it is shown by the next events.
    void Wait();

    /// Whether nothing is read, scanned or written, and everything is shown.
    bool IsIdle() const;

    /// What is shown; null if there is nothing yet.
    const DocumentPtr& Document() const noexcept { return m_document; }

    const ViewerSettings& Settings() const noexcept { return m_settings; }

    /// Changes the settings as a dialog does.
    void SetNaming(const FileNaming::FileNamingSettings& naming, bool exportsPicture);

    /// Writes a request, as the commands of the menu do.
    void Save(const QString& path);

    /// The display as it is now.
    const DisplayState& Display() const noexcept { return m_display.State(); }

private:
    struct Live;

    void ConnectFiles();
    void ConnectDisplay();
    void ConnectMeasurement();
    void ConnectAcquisition();
    void ConnectSaving();
    void ConnectHelp();
    void Take(Threading::ScopedConnection connection) { m_connections.push_back(std::move(connection)); }

    void AskForFile();
    /// Calls \p replace, which may remove the present image: at once if nothing would be lost, otherwise when a person
    /// has decided so, and the scan has ended and the acquisition is saved if that was the answer. It is not called if
    /// the person cancels, or saving fails.
    void Replace(std::function<void()> replace);
    void GoOnReplacing();
    bool IsUnsaved() const; ///< An acquisition is shown that is in no file.

    void Show(const DocumentPtr& document, bool keepsPart);
    void ShowRecord();
    void ShowTitle();
    void ShowOffers();
    void ShowLine(const QLineF& line, bool raises);
    void ShowPointer();
    void ExportProfile();
    void ShowLines(const ScanLines& lines);
    void BeginLive(const ScanLines& lines);
    void EndScan(const ScanResult& result);
    SaveRequest MakeRequest() const;
    void SaveAs();
    void ExportPicture();
    void ShowSaved(const SaveResult& result);
    void ShowLastReport();
    void HintAtReport();
    void Remember();

    Environment m_environment;
    QSettings m_file;
    ViewerSettings m_settings;
    MainWindow m_window;
    DocumentPtr m_document;
    std::unique_ptr<Live> m_live;        ///< Of the scan that runs; null otherwise.
    std::optional<QPointF> m_pointer;    ///< Where the pointer is on the image, in pixels of it.
    std::function<void()> m_replacement; ///< What Replace() still has to call; empty otherwise.
    bool m_savesBeforeReplacing = false;
    WorkState m_reading;
    WorkState m_saving;
    bool m_isScanning = false;
    int m_pendingSaves = 0;
    Threading::QBaseTransmitter m_transmitter;
    DisplayPresenter m_display;
    DocumentPresenter m_documents;
    AcquisitionPresenter m_acquisition;
    SavePresenter m_saver;
    std::optional<LogFeed> m_logFeed;
    std::vector<Threading::ScopedConnection> m_connections; ///< Last, so that nothing is called during the destruction.
};

} // namespace Ardo::Kiln::Viewer
