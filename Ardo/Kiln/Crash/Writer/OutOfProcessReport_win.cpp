#include "Ardo/Kiln/Crash/Fault/LastThrow.h"
#include "Ardo/Kiln/Crash/FaultCode.h"
#include "Ardo/Kiln/Crash/Report/FaultFacts.h"
#include "Ardo/Kiln/Crash/Writer/OutOfProcessReport.h"
#include "Ardo/Kiln/Platform/LocalOffset.h"

#include <algorithm>
#include <chrono>
#include <windows.h>

namespace Ardo::Kiln::Crash
{

std::optional<std::string> ReportFromOutside(const EXCEPTION_POINTERS*)
{
    return std::nullopt;
}

void PublishReportPlace(const std::string&, const std::string&, const std::string&, MINIDUMP_TYPE, bool) noexcept {}

FaultFacts FactsOf(const EXCEPTION_POINTERS* pointers)
{
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    FaultFacts facts;
    facts.processId = ::GetCurrentProcessId();
    facts.threadId = ::GetCurrentThreadId();
    facts.time =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
    facts.utcOffset = Platform::LocalOffset();
    facts.code = record.ExceptionCode;
    facts.flags = record.ExceptionFlags;
    facts.address = reinterpret_cast<std::uint64_t>(record.ExceptionAddress);
    facts.information.assign(record.ExceptionInformation,
                             record.ExceptionInformation +
                                 std::min<DWORD>(record.NumberParameters, EXCEPTION_MAXIMUM_PARAMETERS));
    facts.context = pointers->ContextRecord;
    if (const auto& thrown = LastThrowOfThread();
        record.ExceptionCode == FaultCode::CxxException && thrown.code == record.ExceptionCode)
    {
        facts.exceptionType = thrown.type;
        facts.exceptionMessage = thrown.message;
        facts.throwFrames.assign(thrown.frames, thrown.frames + std::min(thrown.frameCount, LastThrow::MaximumFrames));
    }
    return facts;
}

} // namespace Ardo::Kiln::Crash
