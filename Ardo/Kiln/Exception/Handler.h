#pragma once

#include "Ardo/Kiln/Platform/StructuredException.h"
#include "Ardo/KilnExport.h"

#include <functional>
#include <memory>

namespace Ardo::Kiln::Exception
{

struct Notification;

/// Reports faults and uncaught exceptions of the process.
///
/// A fault is a bad access, an illegal instruction, a division by zero, a corrupted heap and the like, and a C++
/// exception that leaves Execute's work or a thread. When one is fatal, a report is built, the user is asked where
/// there is one, and the crash report and a minidump are written. After that the process ends if the flag for it is
/// set, or if the system would have ended it anyway; otherwise Execute returns.
///
///     Handler::SetFlags(Handler::CreateDumpFolder | Handler::CatchUncaught | Handler::RememberThrows); // in main
///     Handler::Initialize();                                                             // on each thread
///     Handler::Execute([] { RunTheApplication(); });
///
/// Nothing is installed before SetFlags sets flags or Execute is called. docs/crash-reports.md, "What is installed",
/// describes what these install in the process, how that works with handlers of the application, and how to do without
/// it.
///
/// An object of this class marks the thread that made it as monitored; Initialize makes it, and the thread's end
/// destroys it. Any thread may call the functions, unless they say otherwise.
///
/// The functions that deal with a fault run on the faulted thread (Windows) or on a thread of the library on its
/// behalf, while it is stopped (Linux). They may allocate and lock; locks that the faulted thread holds stay locked. On
/// Linux handling that takes longer than 10 s is abandoned, and the reports are written without it. Only the library's
/// own work counts: a FaultHandler, a Notify and the answer that it leads to take as long as they need.
class KILN_EXPORT Handler
{
public:
    /// Hands a notification to the presenter, which fulfils its promise, and returns. The answer is awaited afterwards,
    /// without a time limit, also on the thread that would present it. A notification that is dropped unanswered counts
    /// as answered by default. The library's own presenter, which stands in for an empty function, gives the default
    /// answer where no user can: without windows, when the user-interface thread is at fault itself, and when it has
    /// not taken the question up within 30 s.
    using Notify = std::function<void(std::shared_ptr<Notification>)>;

    /// Deals with one fatal fault, \p pointers, which are never null and valid during the call only.
    using FaultHandler = std::function<void(EXCEPTION_POINTERS* pointers, const Notify& notify)>;

    /// What is monitored and what is done; bits of SetFlags.
    enum Flag : unsigned long long
    {
        CreateDumpFolder = 0x1, ///< Create the folder of the reports at once, not with the first report.
        CatchUncaught = 0x2,    ///< Report the faults of the process that no other handler deals with.
        DetectLoops = 0x4,      ///< Report a thread that faults again and again at one place.
        RememberThrows =
            0x8, ///< Remember each throw, of all threads, for the reports; announce threads that are terminated.
        EndProcess = 0x10,           ///< End the process, with exit code 0, after a fault was dealt with.
        AlwaysAsk = 0x80,            ///< Ask the user even without a notify callback; so does any greater number.
        DetectHeapCorruption = 0x400 ///< Report a corrupted heap, once a thread.
    };

    /// Monitors the calling thread as the flags say; with flags 0, and on a thread that is monitored already, nothing
    /// happens. To be called by each thread that is to be monitored.
    /// \throws std::bad_alloc only.
    static void Initialize();

    /// Sets what is monitored, for the process and the calling thread, in place of what was set before; the default
    /// handler is in place again afterwards (see SetHandler).
    ///
    /// To be called before other threads are monitored: the flags are read without a lock afterwards.
    /// \param flags combination of Flag; 0, as at start: nothing.
    /// \throws std::runtime_error when a thread other than the calling one is monitored. The text is written to the
    ///         standard error stream before, and with EndProcess set the process ends instead. Nothing has changed.
    static void SetFlags(unsigned long long flags);

    /// Sets whether threads that have not called Initialize are guarded; true at start. With false, Execute on a thread
    /// that is not monitored by Initialize, and so each worker of a process without flags, calls its work without a
    /// guard against faults, and installs nothing: no signal handler, no thread, no alternate stack (see
    /// docs/crash-reports.md, "What is installed"). Exceptions that leave the work are dealt with as before.
    ///
    /// To be called before the first worker is made, in a process with fault handlers of its own such as a language
    /// runtime's or a plug-in host's. What is installed already stays.
    static void SetMonitorAllThread(bool monitor);

    /// Has fatal faults of Execute's work dealt with by \p handler instead of the default handler, which reports them.
    /// Replaced by SetFlags, and by the first Handler that is made in a process without flags. If \p handler throws,
    /// the reports are written. An empty one puts the default handler back.
    static void SetHandler(const FaultHandler& handler);

    /// Puts the default handler back.
    static void ResetHandler();

    /// Calls \p work, and returns when it has ended, in whatever way:
    ///
    /// - A fault is dealt with. The destructors of what the work had on its stack do not run, and what it had locked
    ///   stays locked. After abort() and std::terminate(), and so after a corrupted heap or stack, the process ends
    ///   nevertheless, when the reports are written.
    /// - A Warning that leaves the work is logged; nothing else happens.
    /// - Any other exception that leaves it is dealt with as a fault, whether the flags are set or not.
    ///
    /// With EndProcess set the process ends instead in the first and last case. The first call in a process installs
    /// the fault handlers of the process, unless SetMonitorAllThread(false) was called. On Linux it unblocks the fault
    /// signals of the calling thread, as Initialize does: the kernel kills a process for a fault whose signal is
    /// blocked. The end of the thread that the work asks for (`pthread_exit`, cancellation) passes through. Calls may
    /// nest; the innermost deals with the fault.
    /// \param work an empty one is an exception, too.
    static void Execute(const std::function<void()>& work);

    /// The same, but a Warning, and the question whether reports are wanted, go to \p notify. A warning waits for no
    /// answer; one that cannot be handed over is logged.
    /// \param notify as in Execute if empty.
    static void ExecuteOrNotify(const std::function<void()>& work, const Notify& notify);

    /// Marks the calling thread as monitored and monitors it. The first one in a process without flags puts the default
    /// handler back.
    /// \throws std::bad_alloc only.
    Handler();

    /// By the thread that made it.
    ~Handler();
    Handler(const Handler&) = delete;
    Handler& operator=(const Handler&) = delete;

    struct KILN_NO_EXPORT Internal; ///< The library's own: state and functions that users do not need.
};

} // namespace Ardo::Kiln::Exception
