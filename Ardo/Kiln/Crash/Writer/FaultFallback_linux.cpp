#include "Ardo/Kiln/Crash/Fault/FaultFallback_linux.h"

#include "Ardo/Kiln/Crash/CrashRequest_linux.h"
#include "Ardo/Kiln/Crash/Writer/CrashWriterProcess_linux.h"
#include "Ardo/Kiln/Crash/Writer/LastResort_linux.h"

namespace Ardo::Kiln::Crash
{

namespace
{

constexpr int WriterTimeLimit = 60000; // milliseconds

void Report(CrashRequest& request) noexcept
{
    request.tasks = CrashRequest::CreateFiles;
    if (!CrashWriterProcess::Run(request, -1, WriterTimeLimit) && request.done == 0)
    {
        WriteReportsHere(request);
    }
}

[[gnu::constructor]] void SetFallback()
{
    SetFaultFallback({[]() noexcept { CrashWriterProcess::Prepare(); }, Report, CrashWriterProcess::IsRunning});
}

} // namespace

} // namespace Ardo::Kiln::Crash
