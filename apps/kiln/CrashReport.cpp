#include "apps/kiln/CrashReport.h"

#include "apps/kiln/Failure.h"

#include <array>
#include <charconv>
#include <utility>

namespace Ardo::Kiln::Tool
{

namespace
{

/// Takes the first line. Lines end with "\r\n", and that of the message with "\r".
std::string_view TakeLine(std::string_view& text)
{
    const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(text.size(), end + (text.substr(end).starts_with("\r\n") ? 2 : 1)));
    return line;
}

std::string_view Trimmed(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

/// The text behind \p title if the line begins with it.
bool Take(std::string_view line, std::string_view title, std::string& text)
{
    if (line.starts_with(title))
    {
        text = Trimmed(line.substr(title.size()));
        return true;
    }
    return false;
}

std::uint32_t TakeNumber(std::string_view& text, int base = 10)
{
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return error == std::errc() ? number : 0;
}

/// "21:11:2026. Time 15:7" as "2026-11-21 15:07"; the text itself if it is something else.
std::string DateOf(const std::string& text)
{
    std::array<std::uint32_t, 5> parts{};
    constexpr std::array<std::string_view, 5> Ends = {":", ":", ". Time ", ":", ""};
    std::string_view rest = text;
    for (std::size_t i = 0; i < parts.size(); ++i)
    {
        parts[i] = TakeNumber(rest);
        if (!rest.starts_with(Ends[i]))
        {
            return text;
        }
        rest.remove_prefix(Ends[i].size());
    }
    const auto padded = [](std::uint32_t number) { return (number < 10 ? "0" : "") + std::to_string(number); };
    return std::to_string(parts[2]) + "-" + padded(parts[1]) + "-" + padded(parts[0]) + " " + padded(parts[3]) + ":" +
           padded(parts[4]);
}

void ReadHead(std::string_view line, CrashReport& report)
{
    std::string text;
    if (line.starts_with("  "))
    {
        report.stack.emplace_back(Trimmed(line));
    }
    else if (Take(line, "Date ", text))
    {
        report.date = DateOf(text);
    }
    else if (Take(line, "Exception code: ", text))
    {
        std::string_view rest = text;
        report.code = TakeNumber(rest, 16);
        report.name = Trimmed(rest);
    }
    else if (!Take(line, "Revision: ", report.version) && !Take(line, "Exception message: ", report.message))
    {
        Take(line, "Faulting module: ", report.module);
    }
}

void ReadFault(std::string_view line, CrashReport& report)
{
    if (constexpr std::string_view Process = "Process: ", Thread = ", thread: "; line.starts_with(Process))
    {
        line.remove_prefix(Process.size());
        report.processId = TakeNumber(line);
        line.remove_prefix(line.starts_with(Thread) ? Thread.size() : 0);
        report.threadId = TakeNumber(line);
        return;
    }
    for (const std::string_view title : {"Invalid operation: ", "Reason of the abort: ", "Exception thrown is of type ",
                                         "Underlying NTSTATUS code ", "Loaded after the C library"})
    {
        if (line.starts_with(title))
        {
            constexpr std::string_view Operation = "Invalid operation: ";
            report.details.emplace_back(line.starts_with(Operation) ? line.substr(Operation.size()) : line);
        }
    }
}

} // namespace

CrashReport ParseCrashReport(std::string_view text)
{
    CrashReport report;
    if (!text.starts_with("//====="))
    {
        throw Failure("neither a minidump nor a crash report");
    }
    const bool endsWithLine = text.ends_with('\n');
    std::string title;
    while (!text.empty())
    {
        const std::string_view line = TakeLine(text);
        if (line.starts_with(' ') && !line.starts_with("  "))
        {
            title = Trimmed(line);
        }
        else if (title.empty())
        {
            ReadHead(line, report);
        }
        else if (title == "Fault")
        {
            ReadFault(line, report);
        }
        else if (!line.empty())
        {
            report.sections[title].emplace_back(Trimmed(line));
        }
    }
    if (report.name.empty())
    {
        throw Failure("the crash report is cut: it does not name the exception");
    }
    report.isWhole = endsWithLine && report.sections.contains("Operation System");
    return report;
}

std::string_view MeaningOf(std::uint32_t code)
{
    constexpr std::pair<std::uint32_t, std::string_view> Meanings[] = {
        {0xC0000005, "The program used an address where it has no memory, or not the right to do what it did."},
        {0xC00000FD, "A thread has used up its stack, most often by functions that call each other without end."},
        {0xC0000006, "Memory that is mapped to a file could not be read: the file was cut, or its medium failed."},
        {0xE06D7363, "A C++ exception was thrown that no code caught."},
        {0x20474343, "A C++ exception was thrown that no code caught."},
        {0xC0000374, "The allocator found its data damaged: the program wrote outside a block of memory, or freed one "
                     "twice. The damage was done earlier."},
        {0xC0000409, "The program wrote beyond the end of a local array."},
        {0xC0000420, "An assertion in the program did not hold."},
        {0x40000015, "The program ended itself by abort() or std::terminate()."},
        {0xC0000094, "The program divided an integer by zero."},
        {0xC0000095, "The result of an integer division does not fit."},
        {0xC000001D, "The processor met an instruction that it does not have: the program jumped to a wrong address, "
                     "was built for another processor, or its file is damaged."},
        {0xC0000096, "The program used an instruction that is reserved for the operating system."},
        {0x80000001, "The program touched a guard page."},
        {0x80000002, "The program used an address that is not a multiple of the size of the data."},
        {0x80000003, "The program ran into a breakpoint without a debugger."},
        {0x80000004, "The program ran a single step without a debugger."},
        {0xC0000008, "The program used an invalid handle of the operating system."},
        {0xC000001C, "The program called a function of the operating system that it may not call."},
        {0xC0000025, "The program went on after a fault after which it cannot go on."},
        {0xC0000026, "A handler of exceptions gave an invalid answer."},
        {0xC000008C, "An index lies outside its array."},
        {0xC000008D, "A floating-point operand is too small."},
        {0xC000008E, "The program divided a floating-point number by zero, with the trap for it on."},
        {0xC000008F, "A floating-point result is not exact, with the trap for it on."},
        {0xC0000090, "A floating-point operation is invalid, with the trap for it on."},
        {0xC0000091, "A floating-point result is too large, with the trap for it on."},
        {0xC0000092, "The stack of the floating-point unit overflowed."},
        {0xC0000093, "A floating-point result is too small, with the trap for it on."},
        {0xC000013A, "The program was interrupted from the console."}};
    for (const auto& [known, meaning] : Meanings)
    {
        if (known == code)
        {
            return meaning;
        }
    }
    return {};
}

} // namespace Ardo::Kiln::Tool
