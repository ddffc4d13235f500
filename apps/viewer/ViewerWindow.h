#pragma once

#include "apps/viewer/FileModel.h"
#include "Ardo/Kiln/Threading/BackgroundWorker.h"
#include "Ardo/Kiln/Threading/QBaseTransmitter.h"
#include "Ardo/Kiln/Threading/ViewSignal.h"

#include <QMainWindow>

#include <functional>
#include <string>

class QAction;
class QLabel;
class QPlainTextEdit;

namespace Ardo::Kiln::Viewer
{

/// Shows an image file and its metadata. Belongs to the main thread; files are read on a worker thread.
class ViewerWindow : public QMainWindow
{
public:
    /// \param failed called on the main thread with the reason when a file cannot be shown.
    explicit ViewerWindow(std::function<void(const std::string&)> failed);

    /// Reads \p path and shows it. Returns at once; of several requests the latest counts.
    void Open(const QString& path);

    /// Waits until the file of the latest request is read; the next events show it.
    void WaitForFile() { m_worker.Wait(); }

private:
    void AskForFile();
    void ConnectModel();
    void Show(const FileOutcome& outcome);

    std::function<void(const std::string&)> m_failed;
    QAction* m_reload;
    QLabel* m_picture;
    QPlainTextEdit* m_facts;
    QString m_path; ///< The file of the latest request.
    Threading::ViewSignal<QString> m_fileChosen;
    FileModel m_model;
    Threading::QBaseTransmitter m_transmitter;
    Threading::BackgroundWorker m_worker;
    Threading::ScopedConnection m_reading; ///< Last, so that nothing is read when the other members are destroyed.
};

} // namespace Ardo::Kiln::Viewer
