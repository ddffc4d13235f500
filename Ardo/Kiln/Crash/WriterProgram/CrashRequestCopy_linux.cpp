#include "Ardo/Kiln/Crash/WriterProgram/CrashRequestCopy_linux.h"

#include "Ardo/Kiln/Crash/CrashRequest_linux.h"
#include "Ardo/Kiln/Platform/ProcessMemory_linux.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>

#include <sys/uio.h>

namespace Ardo::Kiln::Crash
{

int FetchCrashRequest(std::int32_t process, std::uint64_t address, CrashRequest& request) noexcept
{
    const std::size_t got = Platform::ReadProcessMemory(process, address, &request, sizeof request);
    if (got == 0)
    {
        return errno;
    }
    if (got != sizeof request || request.size != sizeof request || request.processId != process)
    {
        return EPROTO;
    }
    // The code that reads the texts relies on their ends.
    const auto terminate = [](auto&... texts) { ((texts[sizeof texts - 1] = '\0'), ...); };
    terminate(request.abortReason, request.exceptionType, request.exceptionMessage, request.dumpFolder,
              request.applicationName, request.fullVersion);
    request.throwFrameCount = std::min(request.throwFrameCount, CrashRequest::MaxFrames);
    return 0;
}

int AnswerCrashRequest(std::int32_t process, std::uint64_t address, const CrashRequest& request) noexcept
{
    // `done` goes last: with it the other answers are valid.
    constexpr std::size_t begin = offsetof(CrashRequest, done);
    constexpr std::size_t behindDone = begin + sizeof request.done;
    const auto copy = [&](std::size_t first, std::size_t last)
    {
        const iovec local{const_cast<char*>(reinterpret_cast<const char*>(&request)) + first, last - first};
        // NOLINTNEXTLINE(performance-no-int-to-ptr): an address of another process
        const iovec remote{reinterpret_cast<void*>(address + first), last - first};
        return ::process_vm_writev(process, &local, 1, &remote, 1, 0) == static_cast<ssize_t>(last - first);
    };
    const std::size_t end =
        offsetof(CrashRequest, text) + std::min<std::size_t>(request.textLength, sizeof request.text);
    return copy(behindDone, end) && copy(begin, behindDone) ? 0 : errno;
}

} // namespace Ardo::Kiln::Crash
