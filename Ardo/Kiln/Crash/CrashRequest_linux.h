#pragma once

#include "Ardo/Kiln/Platform/StructuredException.h"

#include <cstdint>
#include <type_traits>

namespace Ardo::Kiln::Crash
{

/// A request to write reports about one fault, or about the process as it stands. It holds everything that is known
/// about the fault except what the writer reads from the process. Linux only.
///
/// Plain memory without pointers into itself: the signal handler fills it, and a writer in another process copies it
/// out of the faulted one and writes its answers back. Both sides are built together; `size` guards against a mix.
struct CrashRequest
{
    static constexpr std::uint32_t MaxFrames = 32;           ///< Of `throwFrames`.
    static constexpr std::int32_t UnknownOffset = INT32_MIN; ///< The writer asks for the machine's time zone itself.

    /// A job of the writer.
    enum Task : std::uint32_t
    {
        MakeText = 1,  ///< Put the report text into `text`.
        WriteDump = 2, ///< Write the minidump into the descriptor handed over.
        CreateFiles =
            4, ///< Choose the names in `dumpFolder`, create report and minidump, announce them on standard error.
    };

    std::uint32_t size = sizeof(CrashRequest); ///< Differs between builds.
    std::uint32_t tasks = 0;                   ///< Combination of Task.
    std::uint32_t minidumpType = 0;            ///< MINIDUMP_TYPE of WriteDump and CreateFiles.
    std::uint32_t fakesDump = 0;               ///< Not 0: CreateFiles says that it fakes the minidump, and writes none.
    std::int32_t processId = 0;                ///< The process that asks.
    std::int32_t threadId = 0;                 ///< The system's number of the thread at fault, or of the one that asks.
    std::int64_t time = 0;                     ///< When the fault happened, in seconds since 1970-01-01 UTC.
    std::int32_t utcOffset = UnknownOffset;    ///< Seconds that local time is ahead of UTC; see Platform::LocalOffset.

    std::uint32_t hasFault = 0;   ///< 0: a dump on request; record, signal and signalCode mean nothing then.
    std::int32_t signal = 0;      ///< The signal of the fault.
    std::int32_t signalCode = 0;  ///< Its si_code.
    EXCEPTION_RECORD record = {}; ///< The fault.
    CONTEXT context = {};         ///< Registers of `threadId`, from which its stack is walked.

    // Null-terminated UTF-8 on one line; see CopyVisible.
    char abortReason[2048] = {}; ///< The C library's reason for an abort(); empty: none.

    // The C++ exception, for a fault that is one; empty texts otherwise.
    char exceptionType[1024] = {};             ///< As the compiler mangles it; cut without a mark.
    char exceptionMessage[8192] = {};          ///< Its what(), as CopyVisible makes it.
    std::uint32_t throwFrameCount = 0;         ///< 0: where it was thrown is not known.
    std::uint64_t throwFrames[MaxFrames] = {}; ///< Return addresses, the throwing function first.
    std::uint32_t interposesRuntime = 1;       ///< See FaultDispatch::InterposesRuntime.

    // Null-terminated UTF-8.
    char dumpFolder[1024] = {};     ///< Where CreateFiles creates them; empty: nowhere.
    char applicationName[256] = {}; ///< First part of the names of files.
    char fullVersion[128] = {};     ///< Second part; also shown in the text.
    char logFiles[4096] = {};       ///< Paths of the log files, each followed by a line feed; shown in the text.

    // The writer's answers.
    std::uint32_t done = 0;       ///< Tasks that were carried out wholly.
    std::int32_t systemError = 0; ///< Why a task was not carried out.
    std::uint32_t textLength = 0; ///< Of `text`, in bytes.
    char text[64 * 1024] = {};    ///< The report, UTF-8.
};

static_assert(std::is_trivially_copyable_v<CrashRequest>);

} // namespace Ardo::Kiln::Crash
