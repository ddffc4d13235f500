#include "Ardo/Kiln/Crash/Writer/DescribedFault.h"

#include "Ardo/Kiln/Crash/Fault/FaultDescription_linux.h"
#include "Ardo/Kiln/Crash/FaultRecord.h"
#include "Ardo/Kiln/Crash/Minidump/MinidumpWriter_linux.h"
#include "Ardo/Kiln/Crash/Report/TextSink.h"
#include "Ardo/Kiln/Crash/Writer/CrashRequestPool_linux.h"
#include "Ardo/Kiln/Crash/Writer/CrashWriterProcess_linux.h"
#include "Ardo/Kiln/Platform/LocalOffset.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <mutex>

namespace Ardo::Kiln::Crash
{

namespace
{

// Milliseconds. The text: two seconds more than the writer takes for names. A full dump of a large process on a slow
// disk takes its time, and there is always the user who can end the process.
constexpr int TextTimeLimit = 8000;
constexpr int SmallDumpTimeLimit = 30'000;
constexpr int FullDumpTimeLimit = 600'000;

std::mutex g_placeMutex; ///< SetReportPlace serves one caller at a time. Never taken for a fault.

} // namespace

DescribedFault::DescribedFault(EXCEPTION_POINTERS* pointers, std::string_view logFiles) noexcept
    : m_pointers(pointers), m_request(AcquireCrashRequest())
{
    if (m_request == nullptr)
    {
        if (pointers != nullptr)
        {
            m_facts.code = ReadFaultRecord(pointers).code;
            m_facts.address = ReadFaultRecord(pointers).address;
        }
        return;
    }
    DescribeFault(pointers, *m_request);
    if (m_request->utcOffset == CrashRequest::UnknownOffset)
    {
        m_request->utcOffset = Platform::LocalOffset();
    }
    if (!logFiles.empty())
    {
        BufferSink files(m_request->logFiles, sizeof m_request->logFiles);
        files << logFiles;
    }
    m_facts = FactsOf(*m_request);
}

DescribedFault::~DescribedFault()
{
    ReleaseCrashRequest(m_request);
}

std::optional<std::string> DescribedFault::TextFromOutside()
{
    if (m_request == nullptr)
    {
        return std::nullopt;
    }
    m_request->tasks = CrashRequest::MakeText;
    if (!CrashWriterProcess::Run(*m_request, -1, TextTimeLimit))
    {
        return std::nullopt;
    }
    return std::string(m_request->text, std::min<std::size_t>(m_request->textLength, std::size(m_request->text)));
}

int DescribedFault::WriteMinidump(void* file, MINIDUMP_TYPE type) noexcept
{
    const int savedErrno = errno;
    if (m_request == nullptr)
    {
        return ENOMEM;
    }
    CrashWriterProcess::Prepare();
    const auto descriptor = static_cast<int>(reinterpret_cast<std::intptr_t>(file));
    m_request->tasks = CrashRequest::WriteDump;
    m_request->minidumpType = type;
    const bool isFull = (type & MiniDumpWithFullMemory) != 0;
    int error = 0;
    if (!CrashWriterProcess::Run(*m_request, descriptor, isFull ? FullDumpTimeLimit : SmallDumpTimeLimit))
    {
        // A cause outside the processes, such as a full disk, makes this attempt fail too; it then costs little.
        error = WriteMinidumpFile(descriptor, *m_request);
    }
    errno = savedErrno;
    return error;
}

void PublishReportPlace(const std::string& dumpFolder, const std::string& applicationName,
                        const std::string& fullVersion, MINIDUMP_TYPE type, bool fakesDump) noexcept
{
    const std::lock_guard lock(g_placeMutex);
    SetReportPlace(dumpFolder.c_str(), applicationName.c_str(), fullVersion.c_str(), type, fakesDump);
    CrashWriterProcess::Prepare();
}

} // namespace Ardo::Kiln::Crash
