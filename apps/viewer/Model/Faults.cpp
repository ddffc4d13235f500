#include "apps/viewer/Model/Faults.h"

#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/Kiln/Exception/ErrorDialog.h"
#include "Ardo/Kiln/Exception/ErrorInfo.h"
#include "Ardo/Kiln/Exception/ErrorWithCode.h"
#include "Ardo/Kiln/Exception/MiniDumpGenerator.h"
#include "Ardo/Kiln/Exception/Notification.h"
#include "Ardo/Kiln/Exception/NotifyException.h"
#include "Ardo/Kiln/Exception/Warning.h"
#include "Ardo/Kiln/Threading/BackgroundWorker.h"

#include <QDir>
#include <QFile>

#include <functional>
#include <stdexcept>
#include <vector>

namespace Ardo::Kiln::Viewer
{

namespace
{

template <typename Failure>
void Notify(const Failure& failure)
{
    const auto notification = std::make_shared<Exception::Notification>();
    notification->exception = std::make_exception_ptr(failure);
    Exception::NotifyException(notification);
}

void WriteToNowhere()
{
    // Volatile, or the compiler leaves the access out. Not null, which UndefinedBehaviorSanitizer would end.
    volatile int* volatile nowhere = reinterpret_cast<volatile int*>(16);
    *nowhere = 1;
}

/// Runs \p work on a worker of its own, which the fault stops. The workers stay until the end of the process: a worker
/// is not destroyed while its fault is shown.
void OnWorker(const std::function<void()>& work)
{
    static std::vector<std::unique_ptr<Threading::BackgroundWorker>> g_workers;
    g_workers.push_back(std::make_unique<Threading::BackgroundWorker>("Viewer fault"));
    g_workers.back()->Post(work);
}

} // namespace

void Provoke(Fault fault)
{
    switch (fault)
    {
    case Fault::Warning:
        Notify(Exception::Warning("The pressure in the column rises."));
        break;
    case Fault::Error:
        Notify(Exception::Error("The shutter does not open.") << Exception::CategoryInfo("Camera"));
        break;
    case Fault::ErrorWithCode:
        Notify(Exception::ErrorWithCode(4711, "The stage does not answer."));
        break;
    case Fault::UncaughtException:
        OnWorker([] { throw std::runtime_error("The list of detectors is empty."); });
        break;
    case Fault::WorkerFault:
        OnWorker(&WriteToNowhere);
        break;
    case Fault::MainThreadFault:
        WriteToNowhere();
        break;
    }
}

FaultReport LastFaultReport()
{
    constexpr qint64 MaxReport = 4 << 20;
    using Exception::MiniDumpGenerator;
    const QDir folder(QString::fromStdWString(MiniDumpGenerator::GetDumpDirectory()));
    const QString pattern = QString::fromStdWString(MiniDumpGenerator::GetApplicationName()) + QStringLiteral("_*.txt");
    const QFileInfoList reports = folder.entryInfoList({pattern}, QDir::Files, QDir::Time);
    if (reports.isEmpty())
    {
        return {};
    }
    QFile file(reports.constFirst().filePath());
    if (!file.open(QIODevice::ReadOnly))
    {
        return {file.fileName(), file.errorString()};
    }
    return {file.fileName(), QString::fromUtf8(file.read(MaxReport)).remove(QLatin1Char('\r'))};
}

} // namespace Ardo::Kiln::Viewer
