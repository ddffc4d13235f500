#include "Ardo/Kiln/Crash/Fault/FaultDescription_linux.h"
#include "Ardo/Kiln/Crash/Report/FaultFacts.h"
#include "Ardo/Kiln/Crash/Writer/CrashRequestBlock_linux.h"
#include "Ardo/Kiln/Crash/Writer/CrashWriterProcess_linux.h"
#include "Ardo/Kiln/Crash/Writer/OutOfProcessReport.h"
#include "Ardo/Kiln/Platform/LocalOffset.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <mutex>

namespace Ardo::Kiln::Crash
{

namespace
{

constexpr int TimeLimit = 8000; ///< Milliseconds; two seconds more than the writer takes for names.

std::mutex g_placeMutex; ///< SetReportPlace serves one caller at a time. Never taken for a fault.

void Describe(const EXCEPTION_POINTERS* pointers, CrashRequest& request) noexcept
{
    DescribeFault(pointers, request);
    if (request.utcOffset == CrashRequest::UnknownOffset)
    {
        request.utcOffset = Platform::LocalOffset();
    }
}

} // namespace

std::optional<std::string> ReportFromOutside(const EXCEPTION_POINTERS* pointers)
{
    const CrashRequestBlock request;
    if (!request)
    {
        return std::nullopt;
    }
    Describe(pointers, *request);
    request->tasks = CrashRequest::MakeText;
    if (!CrashWriterProcess::Run(*request, -1, TimeLimit) || (request->done & CrashRequest::MakeText) == 0)
    {
        return std::nullopt;
    }
    return std::string(request->text, std::min<std::size_t>(request->textLength, std::size(request->text)));
}

void PublishReportPlace(const std::string& dumpFolder, const std::string& applicationName,
                        const std::string& fullVersion, MINIDUMP_TYPE type, bool fakesDump) noexcept
{
    const std::lock_guard lock(g_placeMutex);
    SetReportPlace(dumpFolder.c_str(), applicationName.c_str(), fullVersion.c_str(), type, fakesDump);
    CrashWriterProcess::Prepare();
}

FaultFacts FactsOf(const EXCEPTION_POINTERS* pointers)
{
    const CrashRequestBlock block;
    const auto own = block ? nullptr : std::make_unique<CrashRequest>();
    auto& request = own ? *own : *block;
    Describe(pointers, request);
    auto facts = FactsOf(request);
    facts.context = pointers->ContextRecord; // the request's goes with it
    facts.applicationVersion.clear();
    return facts;
}

} // namespace Ardo::Kiln::Crash
