#include "Ardo/Kiln/Crash/Writer/Minidump.h"

#include "Ardo/Kiln/Crash/Fault/FaultDescription_linux.h"
#include "Ardo/Kiln/Crash/Minidump/MinidumpWriter_linux.h"
#include "Ardo/Kiln/Crash/Writer/CrashRequestBlock_linux.h"
#include "Ardo/Kiln/Crash/Writer/CrashWriterProcess_linux.h"

#include <cerrno>
#include <new>

#include <sys/mman.h>

namespace Ardo::Kiln::Crash
{

namespace
{

// A full dump of a large process on a slow disk takes its time, and there is always the user who can end the process.
constexpr int SmallDumpMilliseconds = 30'000;
constexpr int FullDumpMilliseconds = 600'000;

// For when all blocks are taken.
class MappedRequest
{
public:
    MappedRequest() noexcept
        : m_memory(::mmap(nullptr, sizeof(CrashRequest), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)),
          m_request(m_memory == MAP_FAILED ? nullptr : new (m_memory) CrashRequest)
    {
    }
    ~MappedRequest()
    {
        if (m_request != nullptr)
        {
            ::munmap(m_memory, sizeof(CrashRequest));
        }
    }
    MappedRequest(const MappedRequest&) = delete;
    MappedRequest& operator=(const MappedRequest&) = delete;

    explicit operator bool() const noexcept { return m_request != nullptr; }
    CrashRequest& operator*() const noexcept { return *m_request; }

private:
    void* m_memory;
    CrashRequest* m_request;
};

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
    const auto descriptor = static_cast<int>(reinterpret_cast<std::intptr_t>(file));
    std::uint32_t error = ENOMEM;
    if (const CrashRequestBlock block; block)
    {
        error = Write(descriptor, *block, pointers, type);
    }
    else if (const MappedRequest mapped; mapped)
    {
        error = Write(descriptor, *mapped, pointers, type);
    }
    errno = savedErrno;
    return error;
}

} // namespace Ardo::Kiln::Crash
