#pragma once

#include "apps/viewer/Model/Document.h"
#include "Ardo/Kiln/Threading/BackgroundWorker.h"
#include "Ardo/Kiln/Threading/Sender.h"
#include "Ardo/Kiln/Threading/ViewSignal.h"

#include <QString>

#include <atomic>
#include <optional>
#include <string>

namespace Ardo::Kiln::Viewer
{

/// How far a piece of work is.
struct WorkState
{
    QString name;               ///< The file, for a person; may be empty.
    bool isActive = false;      ///< Whether there is work.
    std::optional<double> part; ///< 0 to 1; empty if it is not known.

    bool operator==(const WorkState&) const = default;
};

/// Reads files on a thread of its own. Of several requests the latest counts; it ends the reading of the one before.
/// Belongs to the main thread.
class DocumentPresenter
{
public:
    DocumentPresenter();

    /// Ends the reading.
    ~DocumentPresenter();
    DocumentPresenter(const DocumentPresenter&) = delete;
    DocumentPresenter& operator=(const DocumentPresenter&) = delete;

    Threading::Sender<DocumentPtr> documents; ///< What was read.
    Threading::Sender<std::string> failures;  ///< Why a file cannot be read, for a person, in UTF-8.
    Threading::Sender<WorkState> work;        ///< The reading.

    /// Reads a file.
    void Open(const QString& path);

    /// Reads the file that is \p step files away in the folder of \p path. At the end of the folder nothing happens.
    void Step(const QString& path, int step);

    /// Ends the reading. What is shown stays.
    void Cancel();

    /// Waits until nothing is read any more.
    void Wait() { m_worker.Wait(); }

private:
    struct Request
    {
        QString path;
        int step = 0;
        int number = 0;
    };

    void Send(const QString& path, int step);
    void Read(const Request& request);

    std::atomic<int> m_latest = 0; ///< The number of the latest request; a cancelled one is none.
    Threading::ViewSignal<Request> m_requested;
    Threading::BackgroundWorker m_worker;
    Threading::ScopedConnection m_reading; ///< Last, so that nothing is read when the other members are destroyed.
};

} // namespace Ardo::Kiln::Viewer
