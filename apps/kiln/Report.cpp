#include "apps/kiln/Commands.h"
#include "apps/kiln/CrashReport.h"
#include "apps/kiln/FactText.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Json.h"
#include "apps/kiln/Streams.h"

#include "Ardo/Kiln/Exception/CrashDump.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Time/IsoString.h"

#include <QJsonArray>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <map>

namespace Ardo::Kiln::Tool
{

namespace
{

namespace fs = std::filesystem;
using Exception::CrashDump;

using Lines = std::vector<std::string>;

/// What report and minidump tell together.
struct Crash
{
    std::optional<CrashReport> report;
    std::optional<CrashDump> dump;
    std::string reportFile; ///< UTF-8, as the other name.
    std::string dumpFile;
    std::map<std::string, std::optional<Lines>> logs; ///< The last lines of each file; not given if it cannot be read.
};

std::string Hexadecimal(std::uint64_t number, std::size_t digits)
{
    char text[16];
    const char* const end = std::to_chars(text, text + sizeof text, number, 16).ptr;
    std::string padded(digits - std::min(digits, static_cast<std::size_t>(end - text)), '0');
    padded.append(text, static_cast<std::size_t>(end - text));
    std::ranges::transform(padded, padded.begin(),
                           [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
    return padded;
}

/// The last lines of a log file; not given if it cannot be read. Where the lines tell their process, those of another
/// one are left out.
std::optional<Lines> LastLines(const fs::path& path, std::uint32_t processId)
{
    constexpr std::streamoff MaxSize = 1 << 16;
    constexpr std::size_t MaxLines = 10;
    std::error_code error;
    std::ifstream file;
    if (fs::is_regular_file(path, error))
    {
        file.open(path, std::ios::binary | std::ios::ate);
    }
    if (!file.is_open())
    {
        return std::nullopt;
    }
    const auto size = std::streamoff(file.tellg());
    file.seekg(std::max<std::streamoff>(0, size - MaxSize));
    Lines lines;
    std::string line;
    for (bool isWhole = size <= MaxSize; lines.size() < MaxSize && std::getline(file, line); isWhole = true)
    {
        if (isWhole)
        {
            lines.push_back(line.substr(0, line.find_last_not_of('\r') + 1));
        }
    }
    if (lines.empty() && size > 0)
    {
        return std::nullopt; // no line end in all that was read
    }
    // Date and time, level, thread, process and text are separated by tabs.
    const std::string process = "\t" + std::to_string(processId) + "\t";
    const auto isOwn = [&process](const std::string& text) { return text.find(process) != std::string::npos; };
    if (std::ranges::any_of(lines, isOwn))
    {
        std::erase_if(lines, [&](const std::string& text) { return !isOwn(text); });
    }
    lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(std::min(lines.size(), MaxLines)));
    return lines;
}

/// Reads the logs that the report names, in their place or beside the report.
void ReadLogs(Crash& crash)
{
    const auto named = crash.report->sections.find("Log files");
    if (named == crash.report->sections.end())
    {
        return;
    }
    constexpr std::size_t MaxFiles = 20;
    for (const std::string& name : named->second)
    {
        if (crash.logs.size() == MaxFiles)
        {
            return;
        }
        const std::string file = name.substr(name.find_last_of("/\\") + 1);
        auto lines = LastLines(ToPath(name), crash.report->processId);
        if (!lines || lines->empty())
        {
            auto beside = LastLines(ToPath(crash.reportFile).parent_path() / ToPath(file), crash.report->processId);
            lines = beside ? std::move(beside) : std::move(lines);
        }
        crash.logs[name] = std::move(lines);
    }
}

/// Reads a file of either kind into \p crash.
void Read(const std::string& name, Crash& crash)
{
    const InputFile file(name);
    try
    {
        if (file.Head().starts_with("MDMP"))
        {
            crash.dump = Exception::ReadCrashDump(file.WidePath());
            crash.dumpFile = name;
        }
        else
        {
            constexpr std::size_t MaxSize = 1 << 20;
            crash.report = ParseCrashReport(file.Text(MaxSize));
            crash.reportFile = name;
            ReadLogs(crash);
        }
    }
    catch (const std::exception& error)
    {
        const std::string reason = error.what();
        throw Failure(reason.starts_with(name) ? reason : name + ": " + reason);
    }
}

/// The report of a minidump or the other way round, as far as there is one with the same name; otherwise empty.
std::string OtherHalf(const std::string& name)
{
    fs::path path = ToPath(name);
    const std::string extension = FileSystem::ToDisplayText(path.extension());
    if (name == StandardStream || (extension != ".dmp" && extension != ".txt"))
    {
        return {};
    }
    path.replace_extension(extension == ".dmp" ? ".txt" : ".dmp");
    std::error_code error;
    return fs::is_regular_file(path, error) ? ToName(path) : std::string();
}

/// Name and version of the application, from "App_1.2.3_[5-3_9-7-3].dmp" and the report.
std::pair<std::string, std::string> ApplicationOf(const Crash& crash)
{
    const std::string file = crash.dump ? crash.dumpFile : crash.reportFile;
    const std::string stem = ToName(ToPath(file).stem());
    const std::size_t bracket = stem.rfind("_[");
    const std::size_t line = bracket == std::string::npos || bracket == 0 ? bracket : stem.rfind('_', bracket - 1);
    std::string name;
    std::string version = crash.report ? crash.report->version : "";
    if (line != std::string::npos && bracket > 0)
    {
        name = stem.substr(0, line);
        version = version.empty() ? stem.substr(line + 1, bracket - line - 1) : version;
    }
    else if (crash.dump && !crash.dump->modules.empty())
    {
        const std::string& program = crash.dump->modules.front().file;
        name = program.substr(program.find_last_of("/\\") + 1);
    }
    return {name, version};
}

std::string UtcOf(const CrashDump& dump)
{
    return Time::ToUtcTimeISOString(std::chrono::system_clock::time_point(std::chrono::seconds(dump.time)));
}

/// How a thread is shown.
struct ThreadFacts
{
    std::uint32_t id;
    std::string name;
    bool isAtFault;
    bool isOfReport; ///< Its stack is that of the report.
    Lines stack;
};

/// The thread at fault first. Its stack is that of the report where there is one: it was made with the files of the
/// machine that the process ran on.
std::vector<ThreadFacts> ThreadsOf(const Crash& crash)
{
    std::vector<ThreadFacts> threads;
    const std::uint32_t atFault = crash.dump && crash.dump->fault ? crash.dump->fault->threadId
                                  : crash.report                  ? crash.report->threadId
                                                                  : 0;
    const bool hasStack = crash.report && !crash.report->stack.empty();
    if (crash.dump)
    {
        for (const auto& thread : crash.dump->threads)
        {
            const bool isAtFault = thread.id == atFault;
            const bool isOfReport = isAtFault && hasStack;
            threads.push_back(
                {thread.id, thread.name, isAtFault, isOfReport, isOfReport ? crash.report->stack : thread.stack});
        }
    }
    if (hasStack && std::ranges::none_of(threads, &ThreadFacts::isOfReport))
    {
        threads.push_back({crash.report->threadId, "", true, true, crash.report->stack});
    }
    std::stable_partition(threads.begin(), threads.end(), [](const ThreadFacts& thread) { return thread.isAtFault; });
    return threads;
}

const Lines& SectionOf(const Crash& crash, const std::string& title)
{
    static const Lines g_none;
    const auto found =
        crash.report ? crash.report->sections.find(title) : decltype(crash.report->sections.find(title))();
    return crash.report && found != crash.report->sections.end() ? found->second : g_none;
}

/// The exception: of the report, else of the minidump.
struct FaultTexts
{
    std::uint32_t code = 0;
    std::string name;
    Lines details;
};

FaultTexts FaultOf(const Crash& crash)
{
    if (crash.report)
    {
        return {crash.report->code, crash.report->name, crash.report->details};
    }
    if (!crash.dump->fault)
    {
        return {};
    }
    constexpr std::uint32_t AccessViolation = 0xC0000005;
    constexpr std::uint32_t InPageError = 0xC0000006;
    const Exception::DumpedFault& fault = *crash.dump->fault;
    FaultTexts texts{fault.code, fault.name, {}};
    if ((fault.code == AccessViolation || fault.code == InPageError) && fault.information.size() >= 2)
    {
        const std::uint64_t kind = fault.information[0];
        const bool isKnown = fault.information[1] != ~std::uint64_t{0};
        texts.details = {std::string("The thread attempted to ") +
                         (kind == 0   ? "READ"
                          : kind == 1 ? "WRITE to"
                                      : "EXECUTE") +
                         " inaccessible data at address " +
                         (isKnown ? "0x" + Hexadecimal(fault.information[1], 16) : "unknown")};
    }
    return texts;
}

/// Where it happened: the innermost call, or where a C++ exception was thrown.
std::string WhereOf(const Crash& crash, const std::vector<ThreadFacts>& threads)
{
    const Lines& thrown = SectionOf(crash, "Thrown at");
    if (!thrown.empty())
    {
        return thrown.front();
    }
    const bool isKnown = !threads.empty() && threads.front().isAtFault && !threads.front().stack.empty();
    return isKnown ? threads.front().stack.front().substr(
                         std::min(threads.front().stack.front().find_first_not_of(' '), std::size_t{2}))
                   : std::string();
}

std::string TextOf(const Crash& crash)
{
    const auto [application, version] = ApplicationOf(crash);
    const auto threads = ThreadsOf(crash);
    const FaultTexts fault = FaultOf(crash);
    FactText text;
    text.Section("Read");
    const bool isCut = crash.report && !crash.report->isWhole;
    text.Line({crash.reportFile.empty() ? "" : "report " + crash.reportFile + (isCut ? ", which ends early" : ""),
               crash.dumpFile.empty() ? "" : "minidump " + crash.dumpFile});
    text.Section("Application");
    text.Line({application, version.empty() ? "" : "version " + version});
    text.Section("When");
    text.Line({crash.report && !crash.report->date.empty() ? crash.report->date + " local time" : "",
               crash.dump ? UtcOf(*crash.dump) : ""});
    text.Section("What");
    if (fault.name.empty())
    {
        text.Line("No fault: the minidump was written on request.");
    }
    else
    {
        text.Line(fault.name + (fault.code != 0 ? " (" + Hexadecimal(fault.code, 8) + ")" : ""));
        text.Line({std::string(MeaningOf(fault.code))});
        for (const std::string& detail : fault.details)
        {
            text.Line(detail);
        }
        text.Line({crash.report && !crash.report->message.empty() ? "Message: " + crash.report->message : ""});
    }
    text.Section("Where");
    text.Line({WhereOf(crash, threads)});
    text.Section("System");
    for (const char* const section : {"Operation System", "Hardware"})
    {
        for (const std::string& line : SectionOf(crash, section))
        {
            text.Line(line);
        }
    }
    text.Line({crash.report || !crash.dump ? "" : crash.dump->system});

    std::string result = text.Text();
    const auto addLines = [&result](const std::string& title, const Lines& lines)
    {
        result += "\n" + Printable(title) + "\n";
        for (const std::string& line : lines)
        {
            result += "    " +
                      Printable(std::string_view(line).substr(std::min(line.find_first_not_of(' '), line.size()))) +
                      "\n";
        }
    };
    for (const ThreadFacts& thread : threads)
    {
        addLines("Thread " + (thread.id == 0 ? "of unknown number" : std::to_string(thread.id)) +
                     (thread.name.empty() ? "" : " \"" + thread.name + "\"") + (thread.isAtFault ? ", at fault" : "") +
                     (thread.isOfReport ? ", stack from the report" : ", stack from the minidump"),
                 thread.stack);
        if (!thread.isOfReport && thread.stack.size() < 2)
        {
            result += "    (its callers cannot be told from the minidump here: see it in a debugger)\n";
        }
    }
    for (const auto& [title, lines] : crash.report ? crash.report->sections : std::map<std::string, Lines>())
    {
        if (title.starts_with("Outermost calls") || title == "Thrown at")
        {
            addLines(title, lines);
        }
    }
    if (crash.logs.empty())
    {
        result += std::string("\nNo log files: ") +
                  (crash.report ? "the report names none\n" : "only a report names them, and there is none\n");
    }
    for (const auto& [file, lines] : crash.logs)
    {
        Lines shown = lines.value_or(Lines());
        for (std::string& line : shown)
        {
            std::ranges::replace(line, '\t', ' '); // separates the fields of a line
        }
        addLines("Log " + file +
                     (!lines          ? ": cannot be read here"
                      : shown.empty() ? ": is empty"
                                      : ", last lines"),
                 shown);
    }
    if (crash.dump)
    {
        Lines modules;
        for (const auto& module : crash.dump->modules)
        {
            const bool isOfKernel = module.file == "linux-gate.so"; // the name in minidumps of Linux
            modules.push_back("0x" + Hexadecimal(module.base, 16) + " " + module.file +
                              (module.version.empty() ? "" : " " + module.version) +
                              (isOfKernel       ? " (a page of the kernel, no file)"
                               : module.isFound ? ""
                                                : " (not found here)"));
        }
        addLines("Modules", modules);
    }
    return result;
}

QJsonArray ToJson(const Lines& lines)
{
    QJsonArray array;
    for (const std::string& line : lines)
    {
        array.append(QString::fromStdString(line).trimmed());
    }
    return array;
}

QJsonValue ToJson(const std::string& text)
{
    return text.empty() ? QJsonValue() : QJsonValue(QString::fromStdString(text));
}

/// docs/kiln.md describes the object.
std::string JsonOf(const std::string& name, const Crash& crash)
{
    const auto [application, version] = ApplicationOf(crash);
    const auto threads = ThreadsOf(crash);
    const FaultTexts fault = FaultOf(crash);
    QJsonArray threadList;
    for (const ThreadFacts& thread : threads)
    {
        const auto id = static_cast<qint64>(thread.id);
        threadList.append(QJsonObject{{"id", id == 0 ? QJsonValue() : QJsonValue(id)},
                                      {"name", ToJson(thread.name)},
                                      {"atFault", thread.isAtFault},
                                      {"source", thread.isOfReport ? "report" : "minidump"},
                                      {"stack", ToJson(thread.stack)}});
    }
    QJsonArray modules;
    for (const auto& module : crash.dump ? crash.dump->modules : std::vector<Exception::DumpedModule>())
    {
        modules.append(QJsonObject{{"file", ToJson(module.file)},
                                   {"base", QString::fromStdString("0x" + Hexadecimal(module.base, 16))},
                                   {"version", ToJson(module.version)},
                                   {"found", module.isFound}});
    }
    QJsonArray logs;
    for (const auto& [file, lines] : crash.logs)
    {
        logs.append(QJsonObject{{"file", ToJson(file)}, {"lines", ToJson(lines.value_or(Lines()))}});
    }
    const QJsonObject exception{{"code", ToJson(fault.code == 0 ? "" : Hexadecimal(fault.code, 8))},
                                {"name", ToJson(fault.name)},
                                {"meaning", ToJson(std::string(MeaningOf(fault.code)))},
                                {"details", ToJson(fault.details)},
                                {"message", ToJson(crash.report ? crash.report->message : "")}};
    return JsonText({{"file", ToJson(name)},
                     {"report", ToJson(crash.reportFile)},
                     {"reportIsWhole", crash.report ? QJsonValue(crash.report->isWhole) : QJsonValue()},
                     {"minidump", ToJson(crash.dumpFile)},
                     {"application", ToJson(application)},
                     {"version", ToJson(version)},
                     {"localTime", ToJson(crash.report ? crash.report->date : "")},
                     {"time", ToJson(crash.dump ? UtcOf(*crash.dump) : "")},
                     {"system", ToJson(crash.dump ? crash.dump->system : "")},
                     {"exception", fault.name.empty() ? QJsonValue() : QJsonValue(exception)},
                     {"where", ToJson(WhereOf(crash, threads))},
                     {"threads", threadList},
                     {"thrownAt", ToJson(SectionOf(crash, "Thrown at"))},
                     {"logs", logs},
                     {"modules", modules}});
}

FileReport Report(const std::string& name, bool isJson)
{
    FileReport result;
    Crash crash;
    Lines failures;
    for (const std::string& half : {name, OtherHalf(name)})
    {
        try
        {
            if (!half.empty())
            {
                Read(half, crash);
            }
        }
        catch (const Failure& failure)
        {
            failures.emplace_back(failure.what());
        }
    }
    if (!crash.report && !crash.dump)
    {
        throw Failure(failures.front());
    }
    for (const std::string& failure : failures)
    {
        result.messages += "kiln: " + Printable(failure) + "\n";
        result.hasFailed = true;
    }
    result.output = isJson ? JsonOf(name, crash) : TextOf(crash);
    return result;
}

} // namespace

bool Report(const BatchOptions& options)
{
    auto files = FindFiles(options.files, options.isRecursive, FilesOfFolder::Reports);
    DropSecondOfPairs(files);
    return ForEachFile(options, files, [&](const FoundFile& file) { return Report(file.name, options.isJson); });
}

} // namespace Ardo::Kiln::Tool
