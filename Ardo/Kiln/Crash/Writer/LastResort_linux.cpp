#include "Ardo/Kiln/Crash/Writer/LastResort_linux.h"

#include "Ardo/Kiln/Crash/CrashRequest_linux.h"
#include "Ardo/Kiln/Crash/Minidump/MinidumpWriter_linux.h"
#include "Ardo/Kiln/Crash/Process/MapsReader_linux.h"
#include "Ardo/Kiln/Crash/Report/CrashReportText.h"
#include "Ardo/Kiln/Crash/Report/FaultFacts.h"
#include "Ardo/Kiln/Crash/Report/ReportFile.h"
#include "Ardo/Kiln/Crash/Report/ReportWriter.h"
#include "Ardo/Kiln/Crash/Report/TextSink.h"
#include "Ardo/Kiln/Platform/LocalOffset.h"
#include "Ardo/Kiln/Platform/StandardError.h"

#include <unistd.h>

namespace Ardo::Kiln::Crash
{

namespace
{

/// The contents of the files, made by the thread at fault with system calls alone.
class Contents final : public ReportContents
{
public:
    explicit Contents(CrashRequest& request) noexcept : m_request(request) {}

    int WriteDump(void* file) noexcept override
    {
        return WriteMinidumpFile(static_cast<int>(reinterpret_cast<std::intptr_t>(file)), m_request);
    }

    int WriteText(ReportFile& file) noexcept override
    {
        const FaultFacts facts = FactsOf(m_request);
        Platform::MappedArray<char> maps;
        const bool read = ReadMaps(::getpid(), maps) == 0;
        const auto module = read ? FindModule({maps.begin(), maps.Size()}, facts.address) : std::nullopt;
        BufferSink text(m_request.text, sizeof m_request.text);
        AppendShortReport(text, facts, module ? module->file : "", module ? module->base : 0, m_request.fakesDump == 0);
        Platform::WriteStandardError(text.Text());
        return file.Write(text.Text());
    }

private:
    CrashRequest& m_request;
};

} // namespace

void WriteReportsHere(CrashRequest& request) noexcept
{
    if (request.utcOffset == CrashRequest::UnknownOffset)
    {
        request.utcOffset = Platform::LocalOffset();
    }
    Contents contents(request);
    ReportParts parts;
    parts.dumpIsFaked = request.fakesDump != 0;
    WriteReports({request.dumpFolder, request.applicationName, request.fullVersion, request.time, request.utcOffset},
                 contents, parts);
}

} // namespace Ardo::Kiln::Crash
