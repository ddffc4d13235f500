#pragma once

#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"
#include "Ardo/Kiln/Exception/Handler.h"
#include "Ardo/Kiln/Exception/MinidumpActions.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace Ardo::Kiln::Crash
{
class FaultReports;
}

namespace Ardo::Kiln::Exception
{

/// What Handler does not show of itself. Some of it is exported for tests.
struct KILN_NO_EXPORT Handler::Internal
{
    /// The handler's data about one thread, which owns it. Filters reach it through FaultDispatch::ThreadData, because
    /// on Linux they run on another thread.
    struct ThreadState
    {
        std::unique_ptr<Handler> handler;         ///< Made by Initialize.
        int instances = 0;                        ///< Of Handler, made by this thread; one may outlive this object.
        unsigned long long registeredFilters = 0; ///< The flags whose filters are in the thread's chain.
        const Notify* notify = nullptr;           ///< Of the innermost Execute; null outside.
        MinidumpActions lastMinidumpActions;

        // The loop detector's memory.
        unsigned repetitions = 0;
        const EXCEPTION_POINTERS* lastPointers = nullptr;
        std::uint64_t lastAddress = 0;
        std::optional<std::uint64_t> lastTime;

        bool heapCorruptionReported = false;

        /// Of the thread on whose behalf the caller runs; null when there is none.
        static ThreadState* Get() noexcept { return static_cast<ThreadState*>(Crash::FaultDispatch::ThreadData()); }

        /// The same, without acquiring anything for a thread that has never been monitored.
        static ThreadState* Find() noexcept
        {
            return static_cast<ThreadState*>(Crash::FaultDispatch::FindThreadData());
        }
    };

    /// Holds g_alreadyCrashedLock, unless the faulted thread holds it already because its handling has faulted.
    class CrashLock
    {
    public:
        CrashLock();
        ~CrashLock();
        CrashLock(const CrashLock&) = delete;
        CrashLock& operator=(const CrashLock&) = delete;

        /// Whether the thread held the lock before.
        bool IsNested() const { return m_isNested; }

        /// Whether it is held for the thread on whose behalf the caller runs.
        static bool IsHeld() noexcept;

        /// Releases the lock, which the calling thread holds, for an object whose destructor was skipped by a jump.
        static void Unlock() noexcept;

    private:
        bool m_isNested;
    };

    /// Registers the two functions below.
    /// \throws std::bad_alloc.
    static void PrepareProcess();

    /// Resets the state in a forked child, which has the calling thread only.
    static void ResetInChild() noexcept;

    /// At exit: waits for another thread that deals with an exception, until its reports are written.
    static void WaitForReports();

    static void InitializeGlobal();
    static void InitializeThread();
    static void RemoveGlobal();
    static void RemoveThread();

    /// Acquires in advance everything the crash path needs.
    static void Prepare() noexcept;
    static void PrepareOnce();

    /// The object of the thread on whose behalf the caller runs, or null.
    static Handler* GetThreadLocalHandler() noexcept;

    /// The state of the calling thread, which is made if there is none.
    static ThreadState& StateOfCallingThread();

    /// Destroys the state of the calling thread, which ends.
    static void EndThread(void*) noexcept;

    /// Fatal handling, one thread at a time; without \p notify as with an empty one.
    static void HandleException(EXCEPTION_POINTERS* pointers);
    static void HandleException(EXCEPTION_POINTERS* pointers, const Notify& notify);
    static void DefaultExceptionHandler(EXCEPTION_POINTERS* pointers, const Notify& notify);

    /// Reports the fault, after asking whether that is wanted, and then does what the answer asks for. Never throws.
    KILN_EXPORT_FOR_TESTS static void ReportAndDump(EXCEPTION_POINTERS* pointers, std::string_view message,
                                                    const Notify& notify) noexcept;
    static MinidumpActions AskUserForMinidump(const std::exception_ptr& exception, const Notify& notify);
    static std::exception_ptr ConvertToExceptionPtr(std::string_view message, const std::string& report);

    /// Writes the report file and the minidump. Never throws.
    static void CreateReports(EXCEPTION_POINTERS* pointers) noexcept;

    /// The text of the report. Prints the block about the fault and the call stack on the way.
    static std::string GetReport(Crash::FaultReports& reports);

    /// The console block about the fault, which is also written to the standard error stream.
    static std::string GetAndPrintExceptionInfo(const Crash::FaultReports& reports);

    /// Writes the call stack in a report's text to the standard error stream.
    static void PrintStack(std::string_view report);

    /// Whether HandleHeapCorruption has reported this fault, or one before it on the same thread.
    static bool IsReportedHeapCorruption(const EXCEPTION_POINTERS* pointers);

    /// ReportAndDump for the filters that are asked before HandleException is.
    static void ReportUnderLock(EXCEPTION_POINTERS* pointers, std::string_view message);

    /// Announces the thread, and goes on with the terminate handler that was set before.
    [[noreturn]] static void TerminateHandler();

    /// With EndProcess set ends the process with exit code 0; otherwise does nothing.
    KILN_EXPORT_FOR_TESTS static void KillCurrentProcess();

    // The filters, called by the system. They return 0 to ask the next filter, and 1 if the fault has been dealt with.
    KILN_EXPORT_FOR_TESTS static long HandleHeapCorruption(EXCEPTION_POINTERS* pointers);
    KILN_EXPORT_FOR_TESTS static long HandleSuspiciousExceptionLoop(EXCEPTION_POINTERS* pointers);
    KILN_EXPORT_FOR_TESTS static long HandleUncaughtExceptions(EXCEPTION_POINTERS* pointers);
    static long RegisterLastExceptionOnThread(EXCEPTION_POINTERS* pointers);
    static long HandleFaultOfWork(EXCEPTION_POINTERS* pointers); ///< Of the work of Execute.

    /// A vectored filter and the flag that adds it to the chain of a thread.
    struct VectoredFilter
    {
        Flag flag;
        Crash::FaultFilter filter;
    };

    /// In the order in which they are added, each as the first of the chain: at a fault they run in the reverse order.
    static constexpr std::array<VectoredFilter, 3> VectoredFilters = {{{RememberThrows, &RegisterLastExceptionOnThread},
                                                                       {DetectLoops, &HandleSuspiciousExceptionLoop},
                                                                       {DetectHeapCorruption, &HandleHeapCorruption}}};

    /// One call of Execute or ExecuteOrNotify.
    struct GuardedCall
    {
        const std::function<void()>& work;
        const Notify& notify;
    };

    /// Calls the work of a GuardedCall, and deals with an exception that leaves it.
    static void CallCatching(void* guardedCall);
    static void HandleExceptionOfWork(GuardedCall& call);

    /// Calls \p work, and logs a Warning that leaves it.
    /// \throws whatever else leaves it.
    static void FilterWarnings(const std::function<void()>& work);

    /// The same, but hands the Warning to \p notify; one that cannot be handed over is logged.
    static void FilterWarnings(const std::function<void()>& work, const Notify& notify);

    KILN_EXPORT_FOR_TESTS static std::uint64_t SystemClock() noexcept;

    static std::atomic<unsigned long long> g_handlerFlags;
    static std::atomic<bool> g_globalInitialized;
    static std::atomic<bool> g_monitorThreadExceptions;
    KILN_EXPORT_FOR_TESTS static bool g_alreadyCrashed; ///< Guarded by g_alreadyCrashedLock.
    static std::mutex g_alreadyCrashedLock;
    static std::atomic<const FaultHandler*> g_defaultExceptionHandler; ///< Null: DefaultExceptionHandler.
    static std::atomic<std::uint32_t> g_crashedThread; ///< Whose fault g_alreadyCrashedLock is held for; 0: free.
    static std::atomic<bool> g_answerIsAwaited; ///< Whether the holder of the lock waits for the application or a user.
    static std::atomic<bool> g_unhandledFilterInstalled;
    static std::atomic<Crash::FaultFilter> g_previousUnhandledFilter;
    static std::atomic<std::terminate_handler> g_previousTerminateHandler;
    KILN_EXPORT_FOR_TESTS static std::atomic<int> g_instances;
    KILN_EXPORT_FOR_TESTS static std::atomic<std::uint64_t (*)()> g_clock; ///< In ticks of 100 ns.
};

} // namespace Ardo::Kiln::Exception
