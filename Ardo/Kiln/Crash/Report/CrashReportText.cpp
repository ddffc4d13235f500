#include "Ardo/Kiln/Crash/Report/CrashReportText.h"

#include "Ardo/Kiln/Crash/FaultCode.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <concepts>

namespace Ardo::Kiln::Crash
{

namespace
{

constexpr std::size_t MostFrames = 32;
constexpr std::size_t MostOutermost = 16; ///< Beyond those, of a deeper stack.

/// A number that is written with eight or sixteen upper-case hexadecimal digits, or with as many as it needs.
struct Hexadecimal
{
    std::uint64_t value;
    std::size_t digits = 1;
};

/// Text that is put together from texts and numbers, whatever the locale.
class Text
{
public:
    Text& operator<<(std::string_view text)
    {
        m_text += text;
        return *this;
    }

    Text& operator<<(std::unsigned_integral auto value)
    {
        char digits[24];
        m_text.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
        return *this;
    }

    Text& operator<<(Hexadecimal number)
    {
        char digits[16];
        char* const end = std::to_chars(digits, digits + sizeof digits, number.value, 16).ptr;
        const auto count = static_cast<std::size_t>(end - digits);
        m_text.append(number.digits > count ? number.digits - count : 0, '0');
        std::transform(digits, end, std::back_inserter(m_text),
                       [](char digit) { return digit >= 'a' ? static_cast<char>(digit - 'a' + 'A') : digit; });
        return *this;
    }

    std::string Take() { return std::move(m_text); }

private:
    std::string m_text;
};

Hexadecimal Address(std::uint64_t address) noexcept
{
    return {address, 16};
}

/// The name of a file without its folder. Reports may be about either system's paths.
std::string_view FileName(std::string_view path) noexcept
{
    return path.substr(path.find_last_of("/\\") + 1);
}

/// Whether Windows refuses the unit in the name of a file. Linux refuses less, but files travel.
bool IsRefused(char unit) noexcept
{
    constexpr std::string_view Refused = "<>:\"/\\|?*";
    return (unit >= 0 && unit < 32) || Refused.find(unit) != std::string_view::npos;
}

/// What an access violation or an in-page error tells in its information words.
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

/// Appends the lines about the fault itself, each ended by \p end.
void AddFault(Text& text, const CrashDetails& details, std::string_view end)
{
    const auto& facts = details.facts;
    text << "Error code (" << Hexadecimal{facts.code, 8} << ") : " << ExceptionName(facts.code) << end;
    text << "At address 0x" << Address(facts.address) << " inside "
         << (details.module ? std::string_view(details.module->file) : "unknown module") << " loaded at base address 0x"
         << Address(details.module ? details.module->base : 0) << end;
    text << "ExceptionFlag: " << ExceptionFlagNames(facts.flags) << end;
    if (facts.code == FaultCode::AccessViolation || facts.code == FaultCode::InPageError)
    {
        // The processor does not tell addresses that it cannot form; all ones stand for them.
        constexpr auto Untold = ~std::uint64_t{0};
        text << "Invalid operation: " << InvalidOperation(facts);
        if (facts.information.size() > 1 && facts.information[1] != Untold)
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
    if (!facts.exceptionType.empty())
    {
        text << "Exception thrown is of type " << facts.exceptionType << end;
    }
    if (!facts.exceptionMessage.empty())
    {
        text << "Exception message: " << facts.exceptionMessage << end;
    }
}

void AddSystem(Text& text, const Platform::SystemInformation& system)
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

} // namespace

ReportTime ReportTimeOf(std::int64_t secondsSinceEpoch, std::int32_t utcOffset)
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

std::string TaggedName(std::string_view applicationName, std::string_view fullVersion, const ReportTime& time)
{
    auto name = (Text() << applicationName << "_" << fullVersion).Take();
    std::replace_if(name.begin(), name.end(), IsRefused, '_');
    return (Text() << name << "_[" << time.day << "-" << time.month << "_" << time.hour << "-" << time.minute << "-"
                   << time.second << "]")
        .Take();
}

std::string ExceptionName(std::uint32_t code)
{
    namespace FaultCode = FaultCode;
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

std::string ExceptionFlagNames(std::uint32_t flags)
{
    // Unwinding also shows in the bits of its kinds: while leaving, towards a target, through another unwinding. A
    // record without any of them is on its way to a handler (winnt.h, IS_UNWINDING and IS_DISPATCHING).
    constexpr std::uint32_t AnyUnwind = FaultFlag::Unwinding | 0x4 | FaultFlag::TargetUnwind | 0x40;
    Text names;
    names << ((flags & AnyUnwind) != 0 ? "IS_UNWINDING " : "") << ((flags & AnyUnwind) == 0 ? "IS_DISPATCHING " : "")
          << ((flags & FaultFlag::TargetUnwind) != 0 ? "IS_TARGET_UNWIND " : "")
          << ((flags & FaultFlag::Noncontinuable) != 0 ? "EXCEPTION_NONCONTINUABLE " : "")
          << ((flags & FaultFlag::StackInvalid) != 0 ? "EXCEPTION_STACK_INVALID " : "")
          << ((flags & FaultFlag::NestedCall) != 0 ? "EXCEPTION_NESTED_CALL " : "");
    return names.Take();
}

std::string StackText(const std::vector<StackFrame>& frames)
{
    Text text;
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
    details.module = ModuleOf(facts.processId, facts.address);
    details.system = Platform::ReadSystemInformation(facts.processId);
    ProcessSymbols symbols(facts.processId);
    if (facts.context != nullptr)
    {
        details.callStack = symbols.Walk(facts.threadId, *facts.context, MostFrames, MostOutermost);
    }
    const std::span throwFrames(facts.throwFrames);
    details.throwStack = symbols.Describe(throwFrames.first(std::min(throwFrames.size(), MostFrames)));
    return details;
}

std::string ReportText(const CrashDetails& details)
{
    const auto& facts = details.facts;
    const auto time = ReportTimeOf(facts.time, facts.utcOffset);
    constexpr std::string_view Rule = "//=====================================================\r\n";
    Text text;
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
    text << "Faulting module: " << (details.module ? FileName(details.module->file) : std::string_view("unknown"))
         << "\r\n"
         << StackText(details.callStack.innermost);
    if (!details.callStack.outermost.empty())
    {
        text << "\r\n Outermost calls, after " << details.callStack.omitted << " others \r\n"
             << StackText(details.callStack.outermost);
    }
    if (!details.throwStack.empty())
    {
        text << "\r\n Thrown at \r\n" << StackText(details.throwStack);
    }
    text << "\r\n Fault \r\n"
         << "Process: " << facts.processId << ", thread: " << facts.threadId << "\r\n";
    AddFault(text, details, "\r\n");
    AddSystem(text, details.system);
    return text.Take();
}

std::string ConsoleText(const CrashDetails& details)
{
    Text text;
    text << "(EEE) ------------ ERROR ------------ (EEE)\n";
    AddFault(text, details, "\n");
    return text.Take();
}

} // namespace Ardo::Kiln::Crash
