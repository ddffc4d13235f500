#include "Ardo/Kiln/Crash/Fault/FaultDescription_linux.h"

#include "Ardo/Kiln/Crash/CrashRequest_linux.h"
#include "Ardo/Kiln/Crash/Fault/CallerContext.h"
#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"
#include "Ardo/Kiln/Crash/Fault/FaultSignal_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultThread_linux.h"
#include "Ardo/Kiln/Crash/FaultCode.h"
#include "Ardo/Kiln/Crash/VisibleText.h"

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace Ardo::Kiln::Crash
{

namespace
{

struct ReportPlace
{
    char dumpFolder[sizeof CrashRequest::dumpFolder] = {};
    char applicationName[sizeof CrashRequest::applicationName] = {};
    char fullVersion[sizeof CrashRequest::fullVersion] = {};
    std::uint32_t minidumpType = 0;
    bool fakesDump = false;
};
ReportPlace g_place;

template <std::size_t Size>
void Copy(char (&target)[Size], const char* text) noexcept
{
    const std::size_t length = std::min(std::strlen(text), Size - 1);
    std::memcpy(target, text, length);
    target[length] = '\0';
}

} // namespace

void SetReportPlace(const char* dumpFolder, const char* applicationName, const char* fullVersion,
                    std::uint32_t minidumpType, bool fakesDump) noexcept
{
    Copy(g_place.dumpFolder, dumpFolder);
    Copy(g_place.applicationName, applicationName);
    Copy(g_place.fullVersion, fullVersion);
    g_place.minidumpType = minidumpType;
    g_place.fakesDump = fakesDump;
}

// Not inlined: CaptureCallerContext counts frames.
[[gnu::noinline]] void DescribeFault(const EXCEPTION_POINTERS* pointers, CrashRequest& request) noexcept
{
    const FaultThread* const thread = FaultThreadOnBehalf();
    request.size = sizeof request;
    request.processId = getpid();
    request.threadId = ThreadIdOnBehalf();
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    request.time = now.tv_sec;
    request.hasFault = pointers != nullptr ? 1 : 0;
    request.exceptionType[0] = '\0';
    request.exceptionMessage[0] = '\0';
    request.abortReason[0] = '\0';
    request.throwFrameCount = 0;
    request.interposesRuntime = FaultDispatch::InterposesRuntime() ? 1 : 0;
    if (pointers == nullptr)
    {
        CaptureCallerContext(request.context);
    }
    else
    {
        request.record = *pointers->ExceptionRecord;
        request.context = *pointers->ContextRecord;
        const bool fromSignal = thread != nullptr && thread->Owns(pointers);
        request.signal = fromSignal ? thread->signal : SignalOfCode(request.record.ExceptionCode);
        request.signalCode = fromSignal ? thread->signalCode : 0;
        CopyVisible(request.abortReason, fromSignal ? thread->abortReason : std::string_view());
        if (thread != nullptr && request.record.ExceptionCode == FaultCode::CxxException &&
            thread->uncaught.code == FaultCode::CxxException)
        {
            const UncaughtException& last = thread->uncaught;
            Copy(request.exceptionType, last.type);
            Copy(request.exceptionMessage, last.message);
            request.throwFrameCount = std::min(last.frameCount, CrashRequest::MaxFrames);
            std::copy_n(last.frames, request.throwFrameCount, request.throwFrames);
        }
    }
    Copy(request.dumpFolder, g_place.dumpFolder);
    Copy(request.applicationName, g_place.applicationName);
    Copy(request.fullVersion, g_place.fullVersion);
    request.minidumpType = g_place.minidumpType;
    request.fakesDump = g_place.fakesDump ? 1 : 0;
}

} // namespace Ardo::Kiln::Crash
