#pragma once

#include "Ardo/Kiln/Platform/StructuredException.h"
#include "Ardo/KilnExport.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Ardo::Kiln::Crash
{

struct CrashRequest;

/// The facts about a fault that are not read from its process, in one form for both systems. A view: texts and spans
/// refer to the memory that it was made from.
struct FaultFacts
{
    std::uint32_t processId = 0; ///< The system's number of the faulted process.
    std::uint32_t threadId = 0;  ///< The system's number of the thread at fault.
    std::int64_t time = 0;       ///< When it happened, in seconds since 1970-01-01 UTC.
    std::int32_t utcOffset = 0;  ///< Seconds that the local time of the process is ahead of UTC.

    std::uint32_t code = 0;                     ///< See FaultCode.
    std::uint32_t flags = 0;                    ///< See FaultFlag.
    std::uint64_t address = 0;                  ///< The instruction at fault.
    std::span<const std::uint64_t> information; ///< The information words of the record, at most 15.
    const CONTEXT* context = nullptr;           ///< Registers at the fault; null: not known.

    std::string_view abortReason;               ///< The C library's reason for an abort(); empty: none.
    std::string_view exceptionType;             ///< Of a C++ exception, as the compiler mangles it; empty: not known.
    std::string_view exceptionMessage;          ///< Its message; empty: none.
    std::span<const std::uint64_t> throwFrames; ///< Return addresses of where it was thrown; empty: not known.

    bool interposesRuntime = true; ///< See FaultDispatch::InterposesRuntime.

    std::string_view applicationVersion;
    std::string_view logFiles; ///< Paths of the process's log files, each followed by a line feed.
};

/// The facts of \p request, to which the result refers. Linux only. No allocation; a signal handler may call it unless
/// the request leaves the offset of the local time open.
KILN_EXPORT_FOR_TESTS FaultFacts FactsOf(const CrashRequest& request) noexcept;

/// The name of the exception's type as the source has it.
/// \throws std::bad_alloc only.
std::string ExceptionTypeName(const FaultFacts& facts);

} // namespace Ardo::Kiln::Crash
