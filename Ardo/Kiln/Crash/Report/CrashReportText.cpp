#include "Ardo/Kiln/Crash/Report/CrashReportText.h"

#include "Ardo/Kiln/Crash/FaultCode.h"

#include <algorithm>
#include <chrono>

namespace Ardo::Kiln::Crash
{

namespace
{

constexpr std::size_t MaxFrames = 32;
constexpr std::size_t MaxOutermost = 16; ///< Beyond those, of a deeper stack.

Hexadecimal Address(std::uint64_t address) noexcept
{
    return {address, 16};
}

/// The name of a file without its folder. Reports may be about either system's paths.
std::string_view FileName(std::string_view path) noexcept
{
    return path.substr(path.find_last_of("/\\") + 1);
}

/// Whether Windows refuses the unit in a file name. Linux allows more, but the files are also read on Windows.
bool IsRefused(char unit) noexcept
{
    constexpr std::string_view Refused = "<>:\"/\\|?*";
    return (unit >= 0 && unit < 32) || Refused.find(unit) != std::string_view::npos;
}

/// The text for the information words of an access violation or an in-page error.
std::string_view InvalidOperation(const FaultFacts& facts) noexcept
{
    if (!facts.information.empty())
    {
        switch (facts.information.front())
        {
        case FaultAccess::Read:
            return "The thread attempted to READ inaccessible data";
        case FaultAccess::Write:
            return "The thread attempted to WRITE to inaccessible data";
        case FaultAccess::Execute:
            return "The thread causes a user-mode data execution prevention (DEP) violation";
        default:
            break;
        }
    }
    return "Unknown";
}

/// The file that holds the address of a fault.
struct FaultingModule
{
    std::string_view file; ///< With its folder; empty: not known.
    std::uint64_t base;
};

FaultingModule ModuleOf(const CrashDetails& details) noexcept
{
    return details.module ? FaultingModule{details.module->file, details.module->base} : FaultingModule{};
}

/// Appends the lines about the fault itself, each ended by \p end.
void AddFault(TextSink& text, const FaultFacts& facts, std::string_view exceptionType, const FaultingModule& module,
              std::string_view end)
{
    text << "Error code (" << Hexadecimal{facts.code, 8} << ") : " << ExceptionName(facts.code) << end;
    text << "At address 0x" << Address(facts.address) << " inside "
         << (module.file.empty() ? "unknown module" : module.file) << " loaded at base address 0x"
         << Address(module.base) << end;
    text << "ExceptionFlag: ";
    AppendFlagNames(text, facts.flags);
    text << end;
    if (facts.code == FaultCode::AccessViolation || facts.code == FaultCode::InPageError)
    {
        // All ones stand for an address that the processor cannot form and therefore does not tell.
        constexpr auto UnknownAddress = ~std::uint64_t{0};
        text << "Invalid operation: " << InvalidOperation(facts);
        if (facts.information.size() > 1 && facts.information[1] != UnknownAddress)
        {
            text << " at address 0x" << Address(facts.information[1]) << end;
        }
        else
        {
            text << " at address unknown" << end;
        }
    }
    if (facts.code == FaultCode::InPageError && facts.information.size() > 2)
    {
        text << "Underlying NTSTATUS code that resulted in the exception " << Hexadecimal{facts.information[2], 8}
             << end;
    }
    if (!facts.abortReason.empty())
    {
        text << "Reason of the abort: " << facts.abortReason << end;
    }
    if (!exceptionType.empty())
    {
        text << "Exception thrown is of type " << exceptionType << end;
    }
    if (!facts.exceptionMessage.empty())
    {
        text << "Exception message: " << facts.exceptionMessage << end;
    }
}

void AddSystem(TextSink& text, const System::SystemInformation& system)
{
    constexpr std::uint64_t MiB = 1U << 20U;
    const auto known = [](const std::string& name) { return name.empty() ? std::string_view("unknown") : name; };
    text << "\r\n Hardware \r\n"
         << "Processor: " << known(system.processor) << "\r\n"
         << "Number Of Processors: " << system.processors << "\r\n"
         << "Physical Memory: " << system.physicalMemory / MiB << " MiB, available " << system.availableMemory / MiB
         << " MiB\r\n"
         << "Swap Memory: " << system.swapMemory / MiB << " MiB, available " << system.freeSwapMemory / MiB
         << " MiB\r\n"
         << "Process Memory: " << system.processMemory / MiB << " MiB, peak " << system.peakProcessMemory / MiB
         << " MiB, address space " << system.processAddresses / MiB << " MiB\r\n"
         << "\r\n Operation System\r\n"
         << known(system.systemName) << " " << system.systemVersion << "\r\n";
}

/// Appends everything down to the line of the faulting module.
void AddHead(TextSink& text, const FaultFacts& facts, const FaultingModule& module)
{
    constexpr std::string_view Rule = "//=====================================================\r\n";
    const auto time = ReportTimeOf(facts.time, facts.utcOffset);
    text << Rule << "Date " << time.day << ":" << time.month << ":" << time.year << ". Time " << time.hour << ":"
         << time.minute << " \r\n"
         << "Revision: " << facts.applicationVersion << " \r\n"
         << "Release mode \r\n"
         << "\r\n"
         << Rule << "Exception code: " << Hexadecimal{facts.code, 8} << " " << ExceptionName(facts.code) << "\r\n";
    if (!facts.exceptionMessage.empty())
    {
        text << "Exception message: " << facts.exceptionMessage
             << " \r"; // without "\n": readers of old reports know it
    }
    text << "Faulting module: " << (module.file.empty() ? "unknown" : FileName(module.file)) << "\r\n";
}

/// Appends the section with process, thread, the fault itself and the log files.
void AddFaultSection(TextSink& text, const FaultFacts& facts, std::string_view exceptionType,
                     const FaultingModule& module)
{
    text << "\r\n Fault \r\n"
         << "Process: " << facts.processId << ", thread: " << facts.threadId << "\r\n";
    AddFault(text, facts, exceptionType, module, "\r\n");
    if (!facts.interposesRuntime)
    {
        text
            << "Loaded after the C library: stack overflows of other threads and places of throws are not reported\r\n";
    }
    std::string_view files = facts.logFiles;
    text << (files.empty() ? "" : "\r\n Log files \r\n");
    while (!files.empty())
    {
        const std::string_view file = files.substr(0, files.find('\n'));
        text << file << "\r\n";
        files.remove_prefix(std::min(files.size(), file.size() + 1));
    }
}

} // namespace

ReportTime ReportTimeOf(std::int64_t secondsSinceEpoch, std::int32_t utcOffset) noexcept
{
    using namespace std::chrono;
    const sys_seconds local(seconds(secondsSinceEpoch + utcOffset));
    const auto midnight = floor<days>(local);
    const year_month_day date(midnight);
    const hh_mm_ss time(local - midnight);
    return {unsigned(date.day()),
            unsigned(date.month()),
            static_cast<unsigned>(int(date.year())),
            static_cast<unsigned>(time.hours().count()),
            static_cast<unsigned>(time.minutes().count()),
            static_cast<unsigned>(time.seconds().count())};
}

void AppendTaggedName(TextSink& name, std::string_view applicationName, std::string_view fullVersion,
                      const ReportTime& time)
{
    const auto append = [&name](std::string_view part)
    {
        while (!part.empty())
        {
            const auto refused = std::find_if(part.begin(), part.end(), IsRefused);
            const auto count = static_cast<std::size_t>(refused - part.begin());
            name << part.substr(0, count) << (count < part.size() ? "_" : "");
            part.remove_prefix(std::min(part.size(), count + 1));
        }
    };
    append(applicationName);
    name << "_";
    append(fullVersion);
    name << "_[" << time.day << "-" << time.month << "_" << time.hour << "-" << time.minute << "-" << time.second
         << "]";
}

std::string_view ExceptionName(std::uint32_t code) noexcept
{
    struct Row
    {
        std::uint32_t code;
        const char* name;
    };
    constexpr Row Names[] = {{FaultCode::AccessViolation, "ACCESS_VIOLATION"},
                             {FaultCode::GuardPage, "GUARD_PAGE"},
                             {FaultCode::DatatypeMisalignment, "DATATYPE_MISALIGNMENT"},
                             {FaultCode::Breakpoint, "BREAKPOINT"},
                             {FaultCode::SingleStep, "SINGLE_STEP"},
                             {FaultCode::CxxException, "CXX_EXCEPTION"},
                             {FaultCode::GccException, "CXX_EXCEPTION"},
                             {FaultCode::InPageError, "IN_PAGE_ERROR"},
                             {FaultCode::InvalidHandle, "INVALID_HANDLE"},
                             {FaultCode::IllegalInstruction, "ILLEGAL_INSTRUCTION"},
                             {FaultCode::NoncontinuableException, "NONCONTINUABLE_EXCEPTION"},
                             {FaultCode::InvalidDisposition, "INVALID_DISPOSITION"},
                             {FaultCode::ArrayBoundsExceeded, "ARRAY_BOUNDS_EXCEEDED"},
                             {FaultCode::FltDenormalOperand, "FLT_DENORMAL_OPERAND"},
                             {FaultCode::FltDivideByZero, "FLT_DIVIDE_BY_ZERO"},
                             {FaultCode::FltInexactResult, "FLT_INEXACT_RESULT"},
                             {FaultCode::FltInvalidOperation, "FLT_INVALID_OPERATION"},
                             {FaultCode::FltOverflow, "FLT_OVERFLOW"},
                             {FaultCode::FltStackCheck, "FLT_STACK_CHECK"},
                             {FaultCode::FltUnderflow, "FLT_UNDERFLOW"},
                             {FaultCode::IntDivideByZero, "INT_DIVIDE_BY_ZERO"},
                             {FaultCode::IntOverflow, "INT_OVERFLOW"},
                             {FaultCode::PrivInstruction, "PRIV_INSTRUCTION"},
                             {FaultCode::StackOverflow, "STACK_OVERFLOW"}};
    for (const auto& row : Names)
    {
        if (row.code == code)
        {
            return row.name;
        }
    }
    return "Unknown exception";
}

void AppendFlagNames(TextSink& names, std::uint32_t flags)
{
    // Unwinding also shows in the bits of its kinds: while leaving, towards a target, through another unwinding. A
    // record without any of them is on its way to a handler (winnt.h, IS_UNWINDING and IS_DISPATCHING).
    constexpr std::uint32_t AnyUnwind = FaultFlag::Unwinding | 0x4 | FaultFlag::TargetUnwind | 0x40;
    names << ((flags & AnyUnwind) != 0 ? "IS_UNWINDING " : "") << ((flags & AnyUnwind) == 0 ? "IS_DISPATCHING " : "")
          << ((flags & FaultFlag::TargetUnwind) != 0 ? "IS_TARGET_UNWIND " : "")
          << ((flags & FaultFlag::Noncontinuable) != 0 ? "EXCEPTION_NONCONTINUABLE " : "")
          << ((flags & FaultFlag::StackInvalid) != 0 ? "EXCEPTION_STACK_INVALID " : "")
          << ((flags & FaultFlag::NestedCall) != 0 ? "EXCEPTION_NESTED_CALL " : "");
}

std::string StackText(const std::vector<StackFrame>& frames)
{
    StringSink text;
    for (const auto& frame : frames)
    {
        text << "  " << (frame.inlined ? "[inlined] " : "");
        if (frame.function.empty())
        {
            text << "0x" << Address(frame.address);
        }
        text << frame.function;
        if (frame.line != 0)
        {
            text << " at " << frame.sourceFile << " line " << frame.line;
        }
        else if (!frame.module.empty())
        {
            text << " in " << FileName(frame.module) << " + 0x" << Hexadecimal{frame.address - frame.moduleBase};
        }
        else
        {
            text << " in unknown module";
        }
        text << "\r\n";
    }
    return text.Take();
}

CrashDetails GatherCrashDetails(const FaultFacts& facts)
{
    CrashDetails details;
    details.facts = facts;
    details.exceptionType = ExceptionTypeName(facts);
    details.module = Crash::ModuleOf(facts.processId, facts.address);
    details.system = System::ReadSystemInformation(facts.processId);
    ProcessSymbols symbols(facts.processId);
    if (facts.context != nullptr)
    {
        details.callStack = symbols.Walk(facts.threadId, *facts.context, MaxFrames, MaxOutermost);
    }
    details.throwStack = symbols.Describe(facts.throwFrames.first(std::min(facts.throwFrames.size(), MaxFrames)));
    return details;
}

std::string ReportText(const CrashDetails& details)
{
    const auto module = ModuleOf(details);
    StringSink text;
    AddHead(text, details.facts, module);
    text << StackText(details.callStack.innermost);
    if (!details.callStack.outermost.empty())
    {
        text << "\r\n Outermost calls, after " << details.callStack.omitted << " others \r\n"
             << StackText(details.callStack.outermost);
    }
    if (!details.throwStack.empty())
    {
        text << "\r\n Thrown at \r\n" << StackText(details.throwStack);
    }
    AddFaultSection(text, details.facts, details.exceptionType, module);
    AddSystem(text, details.system);
    return text.Take();
}

void AppendShortReport(TextSink& text, const FaultFacts& facts, std::string_view moduleFile, std::uint64_t moduleBase,
                       bool hasDump)
{
    const FaultingModule module = {moduleFile, moduleBase};
    AddHead(text, facts, module);
    text << "  0x" << Address(facts.address);
    if (moduleFile.empty())
    {
        text << " in unknown module\r\n";
    }
    else
    {
        text << " in " << FileName(moduleFile) << " + 0x" << Hexadecimal{facts.address - moduleBase} << "\r\n";
    }
    text << "\r\nThis is a short report: the usual ways to make one did not come to an end."
         << (hasDump ? " The call stacks are in the minidump.\r\n" : "\r\n");
    AddFaultSection(text, facts, facts.exceptionType, module);
}

std::string ConsoleText(const CrashDetails& details)
{
    StringSink text;
    text << "(EEE) ------------ ERROR ------------ (EEE)\n";
    AddFault(text, details.facts, details.exceptionType, ModuleOf(details), "\n");
    return text.Take();
}

} // namespace Ardo::Kiln::Crash
