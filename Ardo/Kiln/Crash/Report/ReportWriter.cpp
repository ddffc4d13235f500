#include "Ardo/Kiln/Crash/Report/ReportWriter.h"

#include "Ardo/Kiln/Crash/Report/CrashReportText.h"
#include "Ardo/Kiln/Crash/Report/TextSink.h"
#include "Ardo/Kiln/Platform/StandardError.h"

namespace Ardo::Kiln::Crash
{

namespace
{

int ReserveStem(const ReportNames& names, ReportStem& stem) noexcept
{
    char memory[1024];
    BufferSink name(memory, sizeof memory);
    AppendTaggedName(name, names.application, names.version, ReportTimeOf(names.time, names.utcOffset));
    return stem.Reserve(names.folder, memory);
}

int CreateDump(const ReportStem& stem, int stemError, ReportContents& contents, bool isFaked) noexcept
{
    if (isFaked)
    {
        return WriteDumpTo(nullptr, contents, isFaked);
    }
    ReportFile file;
    int error = stemError == 0 ? file.Create(stem, ".dmp") : stemError;
    if (error != 0)
    {
        SayError("CreateFile failed. Error: ", error);
        return error;
    }
    error = WriteDumpTo(file.Native(), contents, isFaked);
    if (error != 0)
    {
        return error;
    }
    error = file.Publish();
    if (error != 0)
    {
        SayError("MiniDumpWriteDump failed. Error: ", error);
    }
    return error;
}

int CreateText(const ReportStem& stem, int stemError, ReportContents& contents) noexcept
{
    Platform::WriteStandardError("Writing report file ...\n");
    ReportFile file;
    int error = stemError == 0 ? file.Create(stem, ".txt") : stemError;
    error = error == 0 ? contents.WriteText(file) : error;
    error = error == 0 ? file.Publish() : error;
    if (error == 0)
    {
        Platform::WriteStandardError("Report file created.\n");
        return 0;
    }
    char memory[512];
    BufferSink line(memory, sizeof memory);
    line << "Error writing the crash log : ";
    AppendSystemError(line, error);
    line << "\r\n";
    Platform::WriteStandardError(line.Text());
    return error;
}

} // namespace

void SayError(std::string_view text, int error) noexcept
{
    char memory[256];
    BufferSink line(memory, sizeof memory);
    line << text << static_cast<unsigned>(error) << " \n";
    Platform::WriteStandardError(line.Text());
}

int WriteDumpTo(void* file, ReportContents& contents, bool isFaked) noexcept
{
    if (isFaked)
    {
        Platform::WriteStandardError("Minidump faked.\n");
        return 0;
    }
    const int error = contents.WriteDump(file);
    if (error != 0)
    {
        SayError("MiniDumpWriteDump failed. Error: ", error);
    }
    return error;
}

int WriteReports(const ReportNames& names, ReportContents& contents, const ReportParts& parts) noexcept
{
    ReportStem stem;
    const int stemError = ReserveStem(names, stem);
    int textError = parts.text && parts.textFirst ? CreateText(stem, stemError, contents) : 0;
    const int dumpError = parts.dump ? CreateDump(stem, stemError, contents, parts.dumpIsFaked) : 0;
    textError = parts.text && !parts.textFirst ? CreateText(stem, stemError, contents) : textError;
    return dumpError != 0 ? dumpError : textError;
}

} // namespace Ardo::Kiln::Crash
