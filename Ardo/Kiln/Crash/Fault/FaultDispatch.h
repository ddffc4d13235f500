#pragma once

#include "Ardo/Kiln/Platform/StructuredException.h"
#include "Ardo/KilnExport.h"

#include <cstdint>

namespace Ardo::Kiln::Crash
{

/// A fault filter with the signature that Windows gives them.
/// \returns FilterResult.
using FaultFilter = long (*)(EXCEPTION_POINTERS*);

/// The results of a FaultFilter.
namespace FilterResult
{
inline constexpr long ContinueSearch = 0; ///< The next filter is asked.
inline constexpr long ExecuteHandler = 1; ///< It is dealt with.
} // namespace FilterResult

/// Asks filters about the faults of this process, in the order of Windows: the vectored filters of the thread at fault,
/// then the filter of the innermost guarded call of that thread, then the unhandled filter of the process, then the
/// handler that was installed before.
///
/// On Windows the filters run on the thread at fault, after a stack overflow on a thread of the library's own. On Linux
/// faults are signals, and their filters run on a thread of the library's own while the thread at fault waits in its
/// signal handler: they may allocate, lock and wait, whatever the thread at fault was doing. If they do not come to an
/// end within the time limit, or fault themselves, the reports are written without them. Filters see a C++ exception
/// (code FaultCode::CxxException) when it is thrown, on the throwing thread.
///
/// On Windows, besides:
/// - The vectored filters are asked by one vectored handler of the process. What a guarded call does is a frame-based
///   handler (`__except`), so that those further in are asked first. The exceptions of the compiler that the library
/// was   built with pass it.
/// - abort() and std::terminate are no exceptions of the system. The library handles SIGABRT: it asks the vectored
///   filters, then the filter of the guarded call or the unhandled filter, and abort() goes on to end the process.
/// - A stack overflow with so little stack left that no other handler could run is dealt with at once: frame-based
///   handlers further in than the guarded call are not asked.
///
/// On Linux, besides:
/// - A handler of the application that was installed before is called after the filters, with the signal mask that it
///   would have otherwise. It may recover in any way, as often as it likes. If it returns several times and the fault
///   comes again without a single instruction in between, the process ends. One that is installed afterwards and calls
///   its predecessor is served as well. A signal that the application ignores stays ignored; its own faults and abort()
///   cannot be ignored.
/// - abort() ends the process, also if the filter of a guarded call deals with it.
/// - exit(), called by another thread while a fault is being dealt with, waits: the process ends by the fault, or the
///   thread at fault goes on. Neither exit() nor SIGTERM, SIGINT, SIGHUP and SIGQUIT wait for a person: see
///   HasNoUserInterface.
/// - A child of vfork(), or of a system call that goes past the C library's fork(), that faults ends by the signal,
///   without filters. A forked child has no thread for filters until it calls Start; reports are written without them.
class KILN_EXPORT_FOR_TESTS FaultDispatch
{
public:
    FaultDispatch() = delete;

    /// Makes the process ready: on Linux the signal handlers and the thread that runs filters; after a fork() the child
    /// calls it anew. Only the first call does so; later ones see to it that the handlers are still in place.
    static void Start() noexcept;

    /// Makes the calling thread ready: on Linux its alternate stack, its bounds and its place for fault records, and
    /// unblocks its fault signals, because the kernel kills a process for a fault whose signal is blocked. Threads that
    /// never call it are monitored as far as the system allows. Calls Start.
    static void MonitorThread() noexcept;

    /// Adds \p filter to the calling thread's vectored filters, as the first that is asked. At most 8.
    static void AddVectoredFilter(FaultFilter filter) noexcept;

    /// Takes \p filter from the calling thread's vectored filters; nothing happens if it is not there.
    static void RemoveVectoredFilter(FaultFilter filter) noexcept;

    /// Sets the filter that is shown the C++ exceptions of threads without vectored filters; null for none.
    static void SetThrowFilter(FaultFilter filter) noexcept;

    /// Sets the process's filter for faults that nothing else dealt with; null for none.
    /// \returns the one before. On Windows the system's filter, which others may have set.
    static FaultFilter SetUnhandledFilter(FaultFilter filter) noexcept;

    /// Calls \p work with \p argument; a fault in it is shown to \p filter. If that answers ExecuteHandler, the call
    /// ends and the destructors of what the work had on its stack do not run. C++ exceptions pass through. Calls may
    /// nest.
    /// \returns whether the work ended by itself.
    static bool CallGuarded(void (*work)(void*), void* argument, FaultFilter filter);

    /// A pointer kept for the thread on whose behalf the caller runs: inside a filter the thread at fault, otherwise
    /// the calling thread. Null until it is set. The memory it points to belongs to whoever sets it.
    static void*& ThreadData() noexcept;

    /// The same, read only, for a thread that may have none: null then. Nothing is acquired for the thread.
    static void* FindThreadData() noexcept;

    /// Has \p function called with \p argument when the calling thread ends, before ThreadData goes; the last one set.
    /// On Linux also for the thread that calls exit(), before static destructors run; on Windows not when the process
    /// ends.
    static void CallAtThreadEnd(void (*function)(void*), void* argument) noexcept;

    /// Whether the calling thread is in a guarded call that a fault would still come back to.
    static bool IsInGuardedCall() noexcept;

    /// The system's number of the thread on whose behalf the caller runs.
    static std::uint32_t ThreadId() noexcept;

    /// Whether the caller runs, inside a filter, on behalf of the first thread of the process. That thread serves the
    /// user interface, so nobody can answer a question then.
    static bool FirstThreadIsAtFault() noexcept;

    /// While an object exists, the time limit of filters does not count. For waiting for a person.
    class KILN_EXPORT_FOR_TESTS ScopedTimeLimitPause
    {
    public:
        ScopedTimeLimitPause() noexcept;
        ~ScopedTimeLimitPause();
        ScopedTimeLimitPause(const ScopedTimeLimitPause&) = delete;
        ScopedTimeLimitPause& operator=(const ScopedTimeLimitPause&) = delete;
    };

    /// Whether a question that is shown now will not be answered, because the first thread of the process, which
    /// serves the user interface, has faulted too, or because the process has been asked to end meanwhile. May change
    /// at any time: poll it while waiting for an answer. On Linux a wait of filters that goes on for more than 2 s
    /// after the process has been asked to end is given up.
    static bool HasNoUserInterface() noexcept;

    /// Has \p function called when exit() is called, with the other threads still running. The last one set, once; null
    /// for none. On Windows it is never called: exit() has ended the other threads before.
    static void CallAtExit(void (*function)()) noexcept;

    /// Whether the functions of the C and C++ libraries that start threads and throw exceptions go through this library
    /// when other modules call them. False on Linux if this library was loaded after those: by dlopen, or only as a
    /// dependency of another library than the program. Then threads that do not use this library have no alternate
    /// stack, so that a stack overflow of theirs ends the process without a report, and it is not known where
    /// exceptions were thrown. Always true on Windows, and before Start.
    static bool InterposesRuntime() noexcept;

    /// How long filters may take, in milliseconds; 10000 at start. For tests, before the first fault.
    static void SetTimeLimit(int milliseconds) noexcept;
};

} // namespace Ardo::Kiln::Crash
