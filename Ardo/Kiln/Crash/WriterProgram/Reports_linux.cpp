#include "Ardo/Kiln/Crash/WriterProgram/Reports_linux.h"

#include "Ardo/Kiln/Crash/CrashRequest_linux.h"
#include "Ardo/Kiln/Crash/Minidump/MinidumpWriter_linux.h"
#include "Ardo/Kiln/Crash/Report/CrashReportText.h"
#include "Ardo/Kiln/Crash/Report/FaultFacts.h"
#include "Ardo/Kiln/Crash/Report/ReportFile.h"
#include "Ardo/Kiln/Platform/DataFolder.h"
#include "Ardo/Kiln/Platform/StandardError.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>

namespace Ardo::Kiln::Crash
{

namespace
{

/// How long naming the functions may take. The library waits two seconds longer for a text.
constexpr std::chrono::seconds SymbolTimeLimit(6);

std::string TextOf(const FaultFacts& facts)
{
    // Debug information may be large and its disk slow. A report without a call stack is better than none.
    auto promise = std::make_shared<std::promise<CrashDetails>>();
    auto details = promise->get_future();
    std::thread(
        [promise, facts]
        {
            try
            {
                promise->set_value(GatherCrashDetails(facts));
            }
            catch (...)
            {
                promise->set_exception(std::current_exception());
            }
        })
        .detach();
    if (details.wait_for(SymbolTimeLimit) == std::future_status::ready)
    {
        return ReportText(details.get());
    }
    CrashDetails few;
    few.facts = facts;
    few.module = ModuleOf(facts.processId, facts.address);
    few.system = Platform::ReadSystemInformation(facts.processId);
    return ReportText(few);
}

int CreateDump(const std::filesystem::path& folder, const std::filesystem::path& stem, const CrashRequest& request)
{
    if (request.fakesDump != 0)
    {
        Platform::WriteStandardError("Minidump faked.\n");
        return 0;
    }
    ReportFile file;
    if (const std::uint32_t error = file.Create(folder, stem, ".dmp"); error != 0)
    {
        Platform::WriteStandardError("CreateFile failed. Error: " + std::to_string(error) + " \n");
        return static_cast<int>(error);
    }
    const auto descriptor = static_cast<int>(reinterpret_cast<std::intptr_t>(file.Native()));
    auto error = static_cast<std::uint32_t>(WriteMinidumpFile(descriptor, request));
    error = error == 0 ? file.Publish() : error;
    if (error != 0)
    {
        Platform::WriteStandardError("MiniDumpWriteDump failed. Error: " + std::to_string(error) + " \n");
    }
    return static_cast<int>(error);
}

int CreateReport(const std::filesystem::path& folder, const std::filesystem::path& stem, const FaultFacts& facts)
{
    Platform::WriteStandardError("Writing report file ...\n");
    ReportFile file;
    std::uint32_t error = file.Create(folder, stem, ".txt");
    error = error == 0 ? file.Write(TextOf(facts)) : error;
    error = error == 0 ? file.Publish() : error;
    Platform::WriteStandardError(error == 0 ? "Report file created.\n"
                                            : "Error writing the crash log : " + SystemErrorText(error) + "\r\n");
    return static_cast<int>(error);
}

} // namespace

int MakeText(CrashRequest& request)
{
    const std::string text = TextOf(FactsOf(request));
    std::size_t length = std::min(text.size(), sizeof request.text);
    // No half character at the end.
    while (length < text.size() && length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0u) == 0x80)
    {
        --length;
    }
    std::copy_n(text.data(), length, request.text);
    request.textLength = static_cast<std::uint32_t>(length);
    return 0;
}

int CreateFiles(const CrashRequest& request)
{
    const FaultFacts facts = FactsOf(request);
    const std::filesystem::path folder = request.dumpFolder;
    static_cast<void>(Platform::MakeWritableFolder(folder)); // what is wrong with it, the files tell
    const std::filesystem::path stem =
        FreeReportStem(folder, TaggedName(std::string_view(request.applicationName), request.fullVersion,
                                          ReportTimeOf(facts.time, facts.utcOffset)));
    const int dumpError = CreateDump(folder, stem, request);
    const int reportError = request.hasFault != 0 ? CreateReport(folder, stem, facts) : 0;
    return dumpError != 0 ? dumpError : reportError;
}

} // namespace Ardo::Kiln::Crash
