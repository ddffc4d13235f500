#include "Ardo/Kiln/Exception/MiniDumpGenerator.h"

#include "Ardo/Kiln/Conversion/Replacing.h"
#include "Ardo/Kiln/Crash/Report/ReportWriter.h"
#include "Ardo/Kiln/Crash/Writer/DescribedFault.h"
#include "Ardo/Kiln/Crash/Writer/ReportPlace.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Platform/LocalOffset.h"

namespace Ardo::Kiln::Exception
{

namespace
{

constexpr auto SmallType =
    static_cast<MINIDUMP_TYPE>(MiniDumpWithUnloadedModules | MiniDumpWithIndirectlyReferencedMemory |
                               MiniDumpWithProcessThreadData | MiniDumpWithThreadInfo);
constexpr auto LargeType = static_cast<MINIDUMP_TYPE>(
    MiniDumpWithDataSegs | MiniDumpWithFullMemory | MiniDumpScanMemory | MiniDumpWithUnloadedModules |
    MiniDumpWithIndirectlyReferencedMemory | MiniDumpWithProcessThreadData | MiniDumpWithFullMemoryInfo);
static_assert(SmallType == 0x1160 && LargeType == 0x973);

/// A minidump alone.
class Dump final : public Crash::ReportContents
{
public:
    Dump(EXCEPTION_POINTERS* pointers, MINIDUMP_TYPE type) noexcept : m_fault(pointers), m_type(type) {}

    int WriteDump(void* file) noexcept override { return m_fault.WriteMinidump(file, m_type); }
    int WriteText(Crash::ReportFile&) noexcept override { return 0; } // never called

private:
    Crash::DescribedFault m_fault;
    MINIDUMP_TYPE m_type;
};

std::wstring ToWide(const std::string& text)
{
    std::wstring wide;
    Conversion::AppendReplacing(wide, text);
    return wide;
}

} // namespace

std::wstring MiniDumpGenerator::GetTaggedDumpFileName()
{
    Platform::RefreshLocalOffset();
    return ToWide(Crash::TaggedNameOfNow());
}

void MiniDumpGenerator::CreateMiniDump(EXCEPTION_POINTERS* pointers, MINIDUMP_TYPE type)
{
    if (pointers == nullptr)
    {
        Platform::RefreshLocalOffset();
    }
    Dump dump(pointers, type);
    Crash::ReportParts parts;
    parts.dumpIsFaked = Crash::DumpsAreFaked();
    parts.text = false;
    Crash::CreateFiles(dump, parts);
}

void MiniDumpGenerator::CreateMiniDump()
{
    CreateMiniDump(nullptr, GetDefaultMinidumpType());
}

void MiniDumpGenerator::WriteMinidump(void* file, EXCEPTION_POINTERS* pointers, MINIDUMP_TYPE type)
{
    Dump dump(pointers, type);
    static_cast<void>(Crash::WriteDumpTo(file, dump, Crash::DumpsAreFaked()));
}

void MiniDumpGenerator::CreateDumpDirectory()
{
    Crash::CreateReportFolder();
}

std::wstring MiniDumpGenerator::GetDumpDirectory()
{
    if (!Crash::HasReportFolder())
    {
        Crash::CreateReportFolder();
    }
    return FileSystem::ToWide(Crash::ReportFolder());
}

std::wstring MiniDumpGenerator::GetApplicationName()
{
    return ToWide(Crash::ApplicationName());
}

std::wstring MiniDumpGenerator::GetApplicationPath()
{
    return FileSystem::ToWide(Crash::ApplicationPath());
}

std::wstring MiniDumpGenerator::GetFullVersion()
{
    return ToWide(Crash::ApplicationVersion());
}

MINIDUMP_TYPE MiniDumpGenerator::GetLargeSizeMinidumpType()
{
    return LargeType;
}

MINIDUMP_TYPE MiniDumpGenerator::GetSmallSizeMinidumpType()
{
    return SmallType;
}

MINIDUMP_TYPE MiniDumpGenerator::GetDefaultMinidumpType()
{
    return Crash::DefaultMinidumpType();
}

void MiniDumpGenerator::SetDefaultMinidumpType(MINIDUMP_TYPE type)
{
    Crash::SetDefaultMinidumpType(type);
}

void MiniDumpGenerator::SetFakeWriteDump(bool fake)
{
    Crash::SetDumpsAreFaked(fake);
}

} // namespace Ardo::Kiln::Exception
