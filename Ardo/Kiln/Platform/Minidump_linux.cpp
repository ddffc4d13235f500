#include "Ardo/Kiln/Platform/Minidump.h"

#include "Ardo/Kiln/Platform/CrashRequest.h"
#include "Ardo/Kiln/Platform/CrashRequestBlock_linux.h"
#include "Ardo/Kiln/Platform/CrashWriterProcess.h"
#include "Ardo/Kiln/Platform/MinidumpWriter_linux.h"

#include <cerrno>

namespace Ardo::Kiln::Platform
{

namespace
{

// A full dump of a large process on a slow disk takes its time, and there is always the user who can end the process.
constexpr int SmallDumpMilliseconds = 30'000;
constexpr int FullDumpMilliseconds = 600'000;

std::uint32_t Write(int descriptor, CrashRequest& request, const EXCEPTION_POINTERS* pointers,
                    MINIDUMP_TYPE type) noexcept
{
    CrashWriterProcess::Prepare();
    DescribeFault(pointers, request);
    request.tasks = CrashRequest::WriteDump;
    request.minidumpType = type;
    const bool isFull = (type & MiniDumpWithFullMemory) != 0;
    if (CrashWriterProcess::Run(request, descriptor, isFull ? FullDumpMilliseconds : SmallDumpMilliseconds))
    {
        return 0;
    }
    // What ends the writing outside, such as a full disk, ends it here as well; then this costs a moment.
    return static_cast<std::uint32_t>(WriteMinidumpFile(descriptor, request));
}

} // namespace

std::uint32_t WriteMinidump(void* file, EXCEPTION_POINTERS* pointers, MINIDUMP_TYPE type) noexcept
{
    const int savedErrno = errno;
    const CrashRequestBlock request;
    const int descriptor = static_cast<int>(reinterpret_cast<std::intptr_t>(file));
    const std::uint32_t error = request ? Write(descriptor, *request, pointers, type) : EBUSY;
    errno = savedErrno;
    return error;
}

} // namespace Ardo::Kiln::Platform
