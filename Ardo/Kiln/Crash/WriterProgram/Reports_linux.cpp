#include "Ardo/Kiln/Crash/WriterProgram/Reports_linux.h"

#include "Ardo/Kiln/Crash/CrashRequest_linux.h"
#include "Ardo/Kiln/Crash/Minidump/MinidumpWriter_linux.h"
#include "Ardo/Kiln/Crash/Report/CrashReportText.h"
#include "Ardo/Kiln/Crash/Report/FaultFacts.h"
#include "Ardo/Kiln/Crash/Report/ReportFile.h"
#include "Ardo/Kiln/Crash/Report/ReportWriter.h"
#include "Ardo/Kiln/Crash/Report/TextSink.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <future>
#include <memory>
#include <string>
#include <string_view>
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
    few.exceptionType = ExceptionTypeName(facts);
    few.module = ModuleOf(facts.processId, facts.address);
    few.system = System::ReadSystemInformation(facts.processId);
    return ReportText(few);
}

/// The contents of the files, made from outside the process.
class Contents final : public ReportContents
{
public:
    Contents(const CrashRequest& request, const FaultFacts& facts) noexcept : m_request(request), m_facts(facts) {}

    int WriteDump(void* file) noexcept override
    {
        return WriteMinidumpFile(static_cast<int>(reinterpret_cast<std::intptr_t>(file)), m_request);
    }

    int WriteText(ReportFile& file) noexcept override
    {
        try
        {
            return file.Write(TextOf(m_facts));
        }
        catch (const std::exception&)
        {
            return ENOMEM; // nothing else is thrown
        }
    }

private:
    const CrashRequest& m_request;
    const FaultFacts& m_facts;
};

} // namespace

int MakeText(CrashRequest& request)
{
    const std::string text = TextOf(FactsOf(request));
    const std::string_view fitting = CutUtf8(text, sizeof request.text);
    std::copy(fitting.begin(), fitting.end(), request.text);
    request.textLength = static_cast<std::uint32_t>(fitting.size());
    return 0;
}

int CreateFiles(const CrashRequest& request)
{
    const FaultFacts facts = FactsOf(request);
    Contents contents(request, facts);
    ReportParts parts;
    parts.dumpIsFaked = request.fakesDump != 0;
    parts.text = request.hasFault != 0;
    return WriteReports({request.dumpFolder, request.applicationName, request.fullVersion, facts.time, facts.utcOffset},
                        contents, parts);
}

} // namespace Ardo::Kiln::Crash
