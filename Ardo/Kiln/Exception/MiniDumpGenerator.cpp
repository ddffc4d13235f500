#include "Ardo/Kiln/Exception/MiniDumpGenerator.h"

#include "Ardo/Kiln/Exception/CrashReportText_p.h"
#include "Ardo/Kiln/Exception/Published_p.h"
#include "Ardo/Kiln/Exception/ReportPlace_p.h"
#include "Ardo/Kiln/Exception/WideText_p.h"
#include "Ardo/Kiln/FileSystem/ServerInstallation_p.h"
#include "Ardo/Kiln/Platform/DataFolder.h"
#include "Ardo/Kiln/Platform/FileVersion.h"
#include "Ardo/Kiln/Platform/LocalOffset.h"
#include "Ardo/Kiln/Platform/Minidump.h"
#include "Ardo/Kiln/Platform/ModulePath.h"
#include "Ardo/Kiln/Platform/OutsideReport.h"
#include "Ardo/Kiln/Platform/StandardError.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <chrono>
#include <exception>
#include <utility>
#include <vector>

namespace Ardo::Kiln::Exception
{

namespace
{

constexpr auto SmallType =
    static_cast<MINIDUMP_TYPE>(MiniDumpWithUnloadedModules | MiniDumpWithIndirectlyReferencedMemory |
                               MiniDumpWithProcessThreadData | MiniDumpWithThreadInfo);
constexpr auto MediumType = static_cast<MINIDUMP_TYPE>(SmallType | MiniDumpWithDataSegs | MiniDumpWithFullMemoryInfo);
constexpr auto LargeType = static_cast<MINIDUMP_TYPE>(
    MiniDumpWithDataSegs | MiniDumpWithFullMemory | MiniDumpScanMemory | MiniDumpWithUnloadedModules |
    MiniDumpWithIndirectlyReferencedMemory | MiniDumpWithProcessThreadData | MiniDumpWithFullMemoryInfo);
static_assert(SmallType == 0x1160 && MediumType == 0x1961 && LargeType == 0x973);

// Texts are UTF-8.
constinit Published<std::filesystem::path> g_dumpDirectory;
constinit Published<std::string> g_applicationName;
constinit Published<std::filesystem::path> g_applicationPath;
constinit Published<std::string> g_fullVersion;
std::atomic<MINIDUMP_TYPE> g_defaultMinidumpType = MediumType;
std::atomic<bool> g_fakeWriteDump = false;

/// Writes \p text, \p error in decimal, a blank and the line's end in one piece.
void TellError(std::string_view text, std::uint32_t error) noexcept
{
    std::array<char, 128> line; // not on the heap, which may be what is broken
    char* end = std::copy(text.begin(), text.end(), line.data());
    end = std::to_chars(end, line.data() + line.size(), error).ptr;
    *end++ = ' ';
    *end++ = '\n';
    Platform::WriteStandardError({line.data(), static_cast<std::size_t>(end - line.data())});
}

bool ServerIsInstalled()
{
    try
    {
        return FileSystem::ServerInstallationFolder().has_value();
    }
    catch (const std::exception&)
    {
        return false; // a setting that is no path
    }
}

/// The folders that dumps may go to, the preferred first.
std::vector<std::filesystem::path> CandidateFolders()
{
    std::vector<std::filesystem::path> folders;
    const bool withServer = ServerIsInstalled();
    for (const auto& base : Platform::DataFolders())
    {
        if (withServer)
        {
            folders.push_back(base / "MicroscopeData" / "CrashDumps");
        }
        folders.push_back(base / "Orbex" / "CrashDumps");
        folders.push_back(base / "Pellan Orbex" / "CrashDumps");
    }
    // What a product has already made its own comes first.
    std::stable_partition(folders.begin(), folders.end(),
                          [](const std::filesystem::path& folder)
                          {
                              std::error_code error;
                              return std::filesystem::is_directory(folder.parent_path(), error);
                          });
    return folders;
}

std::filesystem::path ApplicationPath()
{
    if (const auto* path = g_applicationPath.Get())
    {
        return *path;
    }
    return g_applicationPath.Set(Platform::ExecutablePath());
}

std::string ApplicationName()
{
    if (const auto* name = g_applicationName.Get())
    {
        return *name;
    }
    auto file = ApplicationPath().filename();
    if (const auto extension = file.extension(); extension == ".exe" || extension == ".EXE")
    {
        file.replace_extension();
    }
    return g_applicationName.Set(file.empty() ? "Application" : ToUtf8(file));
}

std::string FullVersion()
{
    if (const auto* version = g_fullVersion.Get())
    {
        return *version;
    }
    if (const auto version = Platform::ReadFileVersion(ApplicationPath()))
    {
        std::string text;
        for (const auto part : *version)
        {
            text += (text.empty() ? "" : ".") + std::to_string(part);
        }
        return g_fullVersion.Set(text);
    }
    if (const auto version = QCoreApplication::applicationVersion(); !version.isEmpty())
    {
        return g_fullVersion.Set(version.toUtf8().toStdString());
    }
    return "0.0.0.0"; // not kept: the application may still tell Qt
}

std::string TaggedNameOfNow()
{
    using namespace std::chrono;
    const auto now = duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
    return TaggedName(ApplicationName(), FullVersion(), ReportTimeOf(now, Platform::LocalOffset()));
}

/// \return whether there is a dump in the file now. What went wrong is told.
bool WriteDump(void* file, EXCEPTION_POINTERS* pointers, MINIDUMP_TYPE type) noexcept
{
    if (g_fakeWriteDump)
    {
        Platform::WriteStandardError("Minidump faked.\n");
        return false;
    }
    const auto error = Platform::WriteMinidump(file, pointers, type);
    if (error != 0)
    {
        TellError("MiniDumpWriteDump failed. Error: ", error);
    }
    return error == 0;
}

void MakeDumpFile(const std::filesystem::path& stem, EXCEPTION_POINTERS* pointers, MINIDUMP_TYPE type)
{
    Platform::ReportFile file;
    if (const auto error = CreateReportFile(file, stem, ".dmp"); error != 0)
    {
        TellError("CreateFile failed. Error: ", error);
    }
    else if (WriteDump(file.Native(), pointers, type))
    {
        if (const auto unwritten = file.Publish(); unwritten != 0)
        {
            TellError("MiniDumpWriteDump failed. Error: ", unwritten);
        }
    }
}

} // namespace

std::filesystem::path ReportFolder()
{
    const auto* folder = g_dumpDirectory.Get();
    return folder != nullptr ? *folder : g_dumpDirectory.Set(CandidateFolders().front());
}

std::filesystem::path NewReportStem()
{
    return Platform::FreeReportStem(ReportFolder(), ToPath(TaggedNameOfNow()));
}

std::string ReportVersion()
{
    return FullVersion();
}

std::uint32_t CreateReportFile(Platform::ReportFile& file, const std::filesystem::path& stem,
                               std::string_view extension)
{
    const auto folder = ReportFolder();
    const auto error = file.Create(folder, stem, extension);
    if (error == 0)
    {
        return 0;
    }
    // Somebody may have tidied up the disk, or nobody has needed the folder before.
    std::error_code ignored;
    return !std::filesystem::exists(folder, ignored) && Platform::MakeWritableFolder(folder) == 0
               ? file.Create(folder, stem, extension)
               : error;
}

void CreateDumpFile(const std::filesystem::path& stem, EXCEPTION_POINTERS* pointers)
{
    MakeDumpFile(stem, pointers, g_defaultMinidumpType);
}

void PublishPlace() noexcept
{
    try
    {
        Platform::RefreshLocalOffset();
        Platform::PublishReportPlace(ToUtf8(ReportFolder()), ApplicationName(), FullVersion(), g_defaultMinidumpType,
                                     g_fakeWriteDump);
    }
    catch (const std::exception&)
    {
        // No memory. The last resort goes without a place or keeps the one it had.
    }
}

std::wstring MiniDumpGenerator::GetTaggedDumpFileName()
{
    Platform::RefreshLocalOffset();
    return ToWide(TaggedNameOfNow());
}

void MiniDumpGenerator::CreateMiniDump(EXCEPTION_POINTERS* pointers, MINIDUMP_TYPE type)
{
    if (pointers == nullptr)
    {
        Platform::RefreshLocalOffset();
    }
    MakeDumpFile(NewReportStem(), pointers, type);
}

void MiniDumpGenerator::CreateMiniDump()
{
    CreateMiniDump(nullptr, g_defaultMinidumpType);
}

void MiniDumpGenerator::WriteMinidump(void* file, EXCEPTION_POINTERS* pointers, MINIDUMP_TYPE type)
{
    static_cast<void>(WriteDump(file, pointers, type));
}

void MiniDumpGenerator::CreateDumpDirectory()
{
    const auto candidates = CandidateFolders();
    const auto* chosen = &candidates.front();
    std::uint32_t firstError = 0;
    for (const auto& folder : candidates)
    {
        const auto error = Platform::MakeWritableFolder(folder);
        if (error == 0)
        {
            chosen = &folder;
            firstError = 0;
            break;
        }
        firstError = firstError == 0 ? error : firstError;
    }
    g_dumpDirectory.Set(*chosen);
    if (firstError != 0)
    {
        TellError("CreateDirectory failed. Error: ", firstError);
    }
    Platform::WriteStandardError("Selected dump directory: " + ToUtf8(*chosen) + "\n");
    Platform::ReportFile::ReserveDescriptor();
    PublishPlace();
}

std::wstring MiniDumpGenerator::GetDumpDirectory()
{
    if (g_dumpDirectory.Get() == nullptr)
    {
        CreateDumpDirectory();
    }
    return ToWide(ToUtf8(ReportFolder()));
}

std::wstring MiniDumpGenerator::GetApplicationName()
{
    return ToWide(ApplicationName());
}

std::wstring MiniDumpGenerator::GetApplicationPath()
{
    return ToWide(ToUtf8(ApplicationPath()));
}

std::wstring MiniDumpGenerator::GetFullVersion()
{
    return ToWide(FullVersion());
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
    return g_defaultMinidumpType;
}

void MiniDumpGenerator::SetDefaultMinidumpType(MINIDUMP_TYPE type)
{
    g_defaultMinidumpType = type;
    PublishPlace();
}

void MiniDumpGenerator::SetFakeWriteDump(bool fake)
{
    g_fakeWriteDump = fake;
    PublishPlace();
}

} // namespace Ardo::Kiln::Exception
