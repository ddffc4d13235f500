#include "Ardo/Kiln/Crash/Report/FaultFacts.h"

#include "Ardo/Kiln/Crash/CrashRequest_linux.h"
#include "Ardo/Kiln/Platform/CalendarFields.h"

#include <algorithm>
#include <iterator>

namespace Ardo::Kiln::Crash
{

namespace
{

/// The text in a fixed field, which a broken request may have left without its end.
template <std::size_t Size>
std::string_view TextOf(const char (&field)[Size]) noexcept
{
    return {field, static_cast<std::size_t>(std::find(field, field + Size, '\0') - field)};
}

} // namespace

FaultFacts FactsOf(const CrashRequest& request) noexcept
{
    FaultFacts facts;
    facts.processId = static_cast<std::uint32_t>(request.processId);
    facts.threadId = static_cast<std::uint32_t>(request.threadId);
    facts.time = request.time;
    facts.utcOffset = request.utcOffset;
    if (request.utcOffset == CrashRequest::UnknownOffset)
    {
        const auto local = Platform::LocalCalendarTime(request.time);
        facts.utcOffset = local ? static_cast<std::int32_t>(local->tm_gmtoff) : 0;
    }
    if (request.hasFault != 0)
    {
        facts.code = request.record.ExceptionCode;
        facts.flags = request.record.ExceptionFlags;
        facts.address = reinterpret_cast<std::uint64_t>(request.record.ExceptionAddress);
        const auto count =
            std::min<std::size_t>(request.record.NumberParameters, std::size(request.record.ExceptionInformation));
        facts.information = {request.record.ExceptionInformation, count};
    }
    else
    {
        facts.address = request.context.Rip;
    }
    facts.context = &request.context;
    facts.abortReason = TextOf(request.abortReason);
    facts.exceptionType = TextOf(request.exceptionType);
    facts.exceptionMessage = TextOf(request.exceptionMessage);
    facts.throwFrames = {request.throwFrames, std::min(request.throwFrameCount, CrashRequest::MaxFrames)};
    facts.interposesRuntime = request.interposesRuntime != 0;
    facts.applicationVersion = TextOf(request.fullVersion);
    facts.logFiles = TextOf(request.logFiles);
    return facts;
}

} // namespace Ardo::Kiln::Crash
