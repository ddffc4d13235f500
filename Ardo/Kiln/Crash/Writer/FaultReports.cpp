#include "Ardo/Kiln/Crash/Writer/FaultReports.h"

#include "Ardo/Kiln/Crash/Report/CrashReportText.h"
#include "Ardo/Kiln/Crash/Report/ReportFile.h"
#include "Ardo/Kiln/Crash/Report/ReportWriter.h"
#include "Ardo/Kiln/Crash/Writer/ReportPlace.h"
#include "Ardo/Kiln/Platform/StandardError.h"

#include <cerrno>
#include <exception>

namespace Ardo::Kiln::Crash
{

namespace
{

/// The contents of the files, made by this process.
class DescribedContents final : public ReportContents
{
public:
    DescribedContents(DescribedFault& fault, FaultReports& reports) noexcept : m_fault(fault), m_reports(reports) {}

    int WriteDump(void* file) noexcept override { return m_fault.WriteMinidump(file, DefaultMinidumpType()); }

    int WriteText(ReportFile& file) noexcept override
    {
        try
        {
            return file.Write(m_reports.Text());
        }
        catch (const std::exception&)
        {
            return ENOMEM; // nothing else is thrown
        }
    }

private:
    DescribedFault& m_fault;
    FaultReports& m_reports;
};

} // namespace

void PrepareReports() noexcept
{
    ReportFile::ReserveDescriptors();
    PublishPlace();
}

FaultReports::FaultReports(EXCEPTION_POINTERS* pointers, std::string_view logFiles) noexcept
    : m_fault(pointers, logFiles)
{
}

std::string FaultReports::Print() const
{
    CrashDetails details;
    details.facts = m_fault.Facts();
    details.exceptionType = ExceptionTypeName(details.facts);
    details.module = ModuleOf(details.facts.processId, details.facts.address);
    auto text = ConsoleText(details);
    Platform::WriteStandardError(text);
    return text;
}

const std::string& FaultReports::Text()
{
    if (!m_text)
    {
        m_text = m_fault.HasFault() ? m_fault.TextFromOutside() : std::string();
    }
    if (!m_text)
    {
        const std::string version = ApplicationVersion();
        FaultFacts facts = m_fault.Facts();
        facts.applicationVersion = version;
        m_text = ReportText(GatherCrashDetails(facts));
    }
    return *m_text;
}

void FaultReports::Write() noexcept
{
    DescribedContents contents(m_fault, *this);
    ReportParts parts;
    parts.dumpIsFaked = DumpsAreFaked();
    parts.text = m_fault.HasFault();
    parts.textFirst = m_text.has_value();
    CreateFiles(contents, parts);
}

} // namespace Ardo::Kiln::Crash
