#include "Ardo/Kiln/Crash/Writer/LastResort_linux.h"

#include "Ardo/Kiln/Crash/CrashRequest_linux.h"
#include "Ardo/Kiln/Crash/Minidump/MinidumpWriter_linux.h"
#include "Ardo/Kiln/Crash/Report/CrashReportText.h"
#include "Ardo/Kiln/Crash/Report/FaultFacts.h"
#include "Ardo/Kiln/Crash/Report/ReportFile.h"
#include "Ardo/Kiln/Crash/Report/ReportWriter.h"
#include "Ardo/Kiln/Crash/Report/TextSink.h"
#include "Ardo/Kiln/Platform/LocalOffset.h"
#include "Ardo/Kiln/Platform/MapsReader_linux.h"
#include "Ardo/Kiln/Platform/StandardError.h"

#include <string_view>

#include <unistd.h>

namespace Ardo::Kiln::Crash
{

namespace
{

/// Puts the text of the report into the request.
/// \returns the text.
std::string_view MakeText(CrashRequest& request) noexcept
{
    const FaultFacts facts = FactsOf(request);
    Platform::MappedArray<char> maps;
    const bool read = Platform::ReadMaps(::getpid(), maps) == 0;
    const auto module = read ? Platform::FindModule({maps.begin(), maps.Size()}, facts.address) : std::nullopt;
    BufferSink text(request.text, sizeof request.text);
    AppendShortReport(text, facts, module ? module->file : "", module ? module->base : 0, request.fakesDump == 0);
    return text.Text();
}

/// The contents of the files, made by the thread at fault with system calls alone.
class LastResortContents final : public ReportContents
{
public:
    LastResortContents(const CrashRequest& request, std::string_view text) noexcept : m_request(request), m_text(text)
    {
    }

    int WriteDump(void* file) noexcept override
    {
        return WriteMinidumpFile(static_cast<int>(reinterpret_cast<std::intptr_t>(file)), m_request);
    }

    int WriteText(ReportFile& file) noexcept override { return file.Write(m_text); }

private:
    const CrashRequest& m_request;
    std::string_view m_text;
};

} // namespace

void WriteReportsHere(CrashRequest& request) noexcept
{
    if (request.utcOffset == CrashRequest::UnknownOffset)
    {
        request.utcOffset = Platform::LocalOffset();
    }
    const std::string_view text = MakeText(request);
    LastResortContents contents(request, text);
    ReportParts parts;
    parts.dumpIsFaked = request.fakesDump != 0;
    WriteReports({request.dumpFolder, request.applicationName, request.fullVersion, request.time, request.utcOffset},
                 contents, parts);
    Platform::WriteStandardError(text); // also when there is no file
}

} // namespace Ardo::Kiln::Crash
