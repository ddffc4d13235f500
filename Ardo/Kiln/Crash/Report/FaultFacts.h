#pragma once

#include "Ardo/Kiln/Platform/StructuredException.h"
#include "Ardo/KilnExport.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Ardo::Kiln::Crash
{

struct CrashRequest;

/// What is known about a fault besides what is read from the process. One form for both systems.
struct FaultFacts
{
    std::uint32_t processId = 0; ///< The system's number of the faulted process.
    std::uint32_t threadId = 0;  ///< The system's number of the thread at fault.
    std::int64_t time = 0;       ///< When it happened, in seconds since 1970-01-01 UTC.
    std::int32_t utcOffset = 0;  ///< Seconds that the local time of the process is ahead of UTC.

    std::uint32_t code = 0;                 ///< See FaultCode.
    std::uint32_t flags = 0;                ///< See FaultFlag.
    std::uint64_t address = 0;              ///< The instruction at fault.
    std::vector<std::uint64_t> information; ///< The information words of the record, at most 15.
    const CONTEXT* context = nullptr;       ///< Registers at the fault; null: not known. Not owned.

    std::string exceptionType;              ///< Of a C++ exception, demangled; empty: not known.
    std::string exceptionMessage;           ///< Its message; empty: none.
    std::vector<std::uint64_t> throwFrames; ///< Return addresses of where it was thrown; empty: not known.

    std::string applicationVersion; ///< Only from a request; empty from pointers.
};

/// Facts about \p pointers, a fault of the calling process with which a filter was called, at this moment. Not null.
/// What is returned refers to \p pointers' registers.
/// \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS FaultFacts FactsOf(const EXCEPTION_POINTERS* pointers);

/// The same from a request, to whose registers the result refers. Linux only.
KILN_EXPORT_FOR_TESTS FaultFacts FactsOf(const CrashRequest& request);

} // namespace Ardo::Kiln::Crash
