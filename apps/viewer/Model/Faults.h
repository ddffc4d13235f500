#pragma once

#include <QString>

#include <memory>

namespace Ardo::Kiln::Viewer
{

/// What can go wrong in an application, on purpose.
enum class Fault
{
    Warning,           ///< A warning.
    Error,             ///< An error.
    ErrorWithCode,     ///< An error with the number of an instrument.
    UncaughtException, ///< An exception that nobody catches, on a worker.
    WorkerFault,       ///< A bad access on a worker.
    MainThreadFault    ///< A bad access on the calling thread.
};

/// Lets something go wrong, as it would in earnest: warnings and errors reach the dialog by the handler of exceptions,
/// faults are reported by the handler of faults.
void Provoke(Fault fault);

/// The text of the newest report of a fault, and where it stands.
struct FaultReport
{
    QString path; ///< Empty: there is none.
    QString text;
};

/// Looks for the newest report of this application.
FaultReport LastFaultReport();

} // namespace Ardo::Kiln::Viewer
