#pragma once

#include "Ardo/Kiln/Crash/Process/StackWalk.h"
#include "Ardo/Kiln/Crash/Report/FaultFacts.h"
#include "Ardo/Kiln/Crash/Report/TextSink.h"
#include "Ardo/Kiln/System/SystemInformation.h"
#include "Ardo/KilnExport.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Ardo::Kiln::Crash
{

// The texts about a fault. This is also part of the program that reports from outside the faulted process: standard
// library only, no streams, no locale, and nothing throws but std::bad_alloc. The functions that append to a sink
// allocate nothing themselves. Any thread may call the functions.

/// Calendar fields of a local time.
struct ReportTime
{
    unsigned day, month, year, hour, minute, second;
};

/// Splits \p secondsSinceEpoch (UTC), in a zone that is \p utcOffset seconds ahead of UTC. Asks no time zone database:
/// the C library's functions for that lock.
KILN_EXPORT_FOR_TESTS ReportTime ReportTimeOf(std::int64_t secondsSinceEpoch, std::int32_t utcOffset) noexcept;

/// Appends the base name of a dump: application, version, and day, month, hour, minute and second of \p time, unpadded:
/// "App_V_[5-3_9-7-3]". UTF-8. Characters that a file name cannot hold become "_".
KILN_EXPORT_FOR_TESTS void AppendTaggedName(TextSink& name, std::string_view applicationName,
                                            std::string_view fullVersion, const ReportTime& time);

/// The name of an exception code, as the status is named without "EXCEPTION_"; "Unknown exception" for others.
KILN_EXPORT_FOR_TESTS std::string_view ExceptionName(std::uint32_t code) noexcept;

/// Appends the names of the bits of a record's flags, each followed by a blank.
KILN_EXPORT_FOR_TESTS void AppendFlagNames(TextSink& names, std::uint32_t flags);

/// \p frames a line each, "\r\n" at the ends:
///
///     "  FUNCTION at FILE line LINE"         with a source line
///     "  [inlined] FUNCTION at FILE line LINE" when the compiler put it into the function of the next line
///     "  FUNCTION in MODULE + 0xOFFSET"      without
///     "  0xADDRESS in MODULE + 0xOFFSET"     without a name; "in unknown module" outside every module
KILN_EXPORT_FOR_TESTS std::string StackText(const std::vector<StackFrame>& frames);

/// A fault and everything that its report shows.
struct CrashDetails
{
    FaultFacts facts;
    std::string exceptionType;          ///< As the source has it.
    std::optional<LoadedModule> module; ///< That holds the address of the fault.
    StackEnds callStack;
    std::vector<StackFrame> throwStack; ///< Where the C++ exception was thrown.
    System::SystemInformation system;
};

/// Adds to \p facts the details that are read from its process and from the system: the symbolised call stack (the
/// innermost 32 frames, and the outermost 16 of a deeper one) and the stack of the throw (32 frames). Details that are
/// not available stay empty.
KILN_EXPORT_FOR_TESTS CrashDetails GatherCrashDetails(const FaultFacts& facts);

/// The text of the report file, UTF-8.
KILN_EXPORT_FOR_TESTS std::string ReportText(const CrashDetails& details);

/// Appends the text of the report file without stacks and system, for the case that neither can be read. A signal
/// handler may call it with a BufferSink.
/// \param moduleFile that holds the address of the fault, empty if not known.
/// \param moduleBase where it begins.
/// \param hasDump whether a minidump is written beside it.
KILN_EXPORT_FOR_TESTS void AppendShortReport(TextSink& text, const FaultFacts& facts, std::string_view moduleFile,
                                             std::uint64_t moduleBase, bool hasDump);

/// The block about a fault that is shown on a console, UTF-8, lines ended by "\n". Stacks and system are not used.
KILN_EXPORT_FOR_TESTS std::string ConsoleText(const CrashDetails& details);

} // namespace Ardo::Kiln::Crash
