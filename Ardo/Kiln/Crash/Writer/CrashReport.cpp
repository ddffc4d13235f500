#include "Ardo/Kiln/Crash/Writer/CrashReport.h"

#include "Ardo/Kiln/Crash/Report/CrashReportText.h"
#include "Ardo/Kiln/Crash/Report/ReportFile.h"
#include "Ardo/Kiln/Crash/Writer/OutOfProcessReport.h"
#include "Ardo/Kiln/Crash/Writer/ReportPlace.h"
#include "Ardo/Kiln/Platform/StandardError.h"

#include <exception>
#include <mutex>
#include <optional>
#include <utility>

namespace Ardo::Kiln::Crash
{

namespace
{

/// The report that was last made, until it is written.
struct Kept
{
    const EXCEPTION_POINTERS* pointers;
    std::uint32_t threadId; ///< A thread may be gone, and another have its place in memory.
    std::uint32_t code;
    std::uint64_t address;
    std::string text;
};

std::mutex g_keptMutex;                                 ///< Only tried: a fault may come while it is held.
std::optional<Kept>& g_kept = *new std::optional<Kept>; ///< Lives as long as faults may come. Guarded by g_keptMutex.

void Keep(const EXCEPTION_POINTERS* pointers, const FaultFacts& facts, const std::string& text)
{
    if (const std::unique_lock lock(g_keptMutex, std::try_to_lock); lock)
    {
        g_kept = Kept{pointers, facts.threadId, facts.code, facts.address, text};
    }
}

std::optional<std::string> TakeKept(const EXCEPTION_POINTERS* pointers)
{
    const auto facts = FactsOf(pointers);
    const std::unique_lock lock(g_keptMutex, std::try_to_lock);
    if (!lock || !g_kept || g_kept->pointers != pointers || g_kept->threadId != facts.threadId ||
        g_kept->code != facts.code || g_kept->address != facts.address)
    {
        return std::nullopt;
    }
    auto text = std::move(g_kept->text);
    g_kept.reset();
    return text;
}

std::string MakeReport(const EXCEPTION_POINTERS* pointers, FaultFacts facts)
{
    if (auto text = ReportFromOutside(pointers))
    {
        return *std::move(text);
    }
    facts.applicationVersion = ApplicationVersion();
    return ReportText(GatherCrashDetails(facts));
}

void WriteReportFile(const std::filesystem::path& stem, const std::string& text)
{
    Platform::WriteStandardError("Writing report file ...\n");
    ReportFile file;
    auto error = CreateReportFile(file, stem, ".txt");
    error = error == 0 ? file.Write(text) : error;
    error = error == 0 ? file.Publish() : error;
    Platform::WriteStandardError(error == 0 ? "Report file created.\n"
                                            : "Error writing the crash log : " + SystemErrorText(error) + "\r\n");
}

/// Calls \p step; what it throws is told as \p failure.
template <class Step>
void Try(Step step, std::string_view failure) noexcept
{
    try
    {
        step();
    }
    catch (...)
    {
        Platform::WriteStandardError(failure);
    }
}

} // namespace

void PrepareReports() noexcept
{
    ReportFile::ReserveDescriptor();
    PublishPlace();
}

std::string GetReport(EXCEPTION_POINTERS* pointers)
{
    if (pointers == nullptr)
    {
        return {};
    }
    const auto facts = FactsOf(pointers);
    auto text = MakeReport(pointers, facts);
    Keep(pointers, facts, text);
    return text;
}

void CreateReports(EXCEPTION_POINTERS* pointers) noexcept
{
    std::optional<std::filesystem::path> stem;
    std::optional<std::string> text;
    Try([&] { stem = NewReportStem(); }, "Error writing the crash log\r\n");
    if (!stem)
    {
        return;
    }
    const auto writeText = [&]
    {
        Try(
            [&]
            {
                if (pointers != nullptr)
                {
                    WriteReportFile(*stem, text ? *text : MakeReport(pointers, FactsOf(pointers)));
                }
            },
            "Error writing the crash log\r\n");
    };
    // A text that is there is soon written. One that is still to be made may take the last that the process has to
    // give; the dump, which shows more, is first then.
    Try([&] { text = pointers != nullptr ? TakeKept(pointers) : std::nullopt; }, "");
    if (text)
    {
        writeText();
    }
    Try([&] { CreateDumpFile(*stem, pointers, DefaultMinidumpType()); }, "MiniDumpWriteDump failed.\n");
    if (!text)
    {
        writeText();
    }
}

std::string GetAndPrintExceptionInfo(EXCEPTION_POINTERS* pointers)
{
    CrashDetails details;
    details.facts = FactsOf(pointers);
    details.module = ModuleOf(details.facts.processId, details.facts.address);
    auto text = ConsoleText(details);
    Platform::WriteStandardError(text);
    return text;
}

} // namespace Ardo::Kiln::Crash
