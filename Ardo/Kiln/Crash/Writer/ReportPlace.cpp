#include "Ardo/Kiln/Crash/Writer/ReportPlace.h"

#include "Ardo/Kiln/Crash/Report/CrashReportText.h"
#include "Ardo/Kiln/Crash/Report/Published.h"
#include "Ardo/Kiln/Crash/Report/ReportFile.h"
#include "Ardo/Kiln/Crash/Report/TextSink.h"
#include "Ardo/Kiln/Crash/Writer/DescribedFault.h"
#include "Ardo/Kiln/FileSystem/ServerInstallation.h"
#include "Ardo/Kiln/Platform/DataFolder.h"
#include "Ardo/Kiln/Platform/FileVersion.h"
#include "Ardo/Kiln/Platform/LocalOffset.h"
#include "Ardo/Kiln/Platform/ModulePath.h"
#include "Ardo/Kiln/Platform/StandardError.h"

#include <QCoreApplication>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <exception>
#include <utility>
#include <vector>

namespace Ardo::Kiln::Crash
{

namespace
{

// The small type, the writable data of all modules and the list of memory regions.
constexpr auto MediumType = static_cast<MINIDUMP_TYPE>(
    MiniDumpWithUnloadedModules | MiniDumpWithIndirectlyReferencedMemory | MiniDumpWithProcessThreadData |
    MiniDumpWithThreadInfo | MiniDumpWithDataSegs | MiniDumpWithFullMemoryInfo);
static_assert(MediumType == 0x1961);

// Texts are UTF-8.
constinit Published<std::filesystem::path> g_dumpDirectory;
constinit Published<std::string> g_applicationName;
constinit Published<std::filesystem::path> g_applicationPath;
constinit Published<std::string> g_fullVersion;
std::atomic<MINIDUMP_TYPE> g_defaultMinidumpType = MediumType;
std::atomic<bool> g_fakeWriteDump = false;

/// \p path as UTF-8; on Linux its bytes as they are.
std::string Utf8Of(const std::filesystem::path& path)
{
    const auto text = path.u8string();
    return {text.begin(), text.end()};
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
        const std::size_t first = folders.size();
        if (withServer)
        {
            folders.push_back(base / "MicroscopeData" / "CrashDumps");
        }
        folders.push_back(base / "Orbex" / "CrashDumps");
        folders.push_back(base / "Pellan Orbex" / "CrashDumps");
        // In each place an existing folder of a product comes first. The last place, the folder for temporary files, is
        // open to everybody; it is for a user who can write nowhere else.
        std::stable_partition(folders.begin() + static_cast<std::ptrdiff_t>(first), folders.end(),
                              [](const std::filesystem::path& folder)
                              {
                                  std::error_code error;
                                  return std::filesystem::is_directory(folder.parent_path(), error);
                              });
    }
    return folders;
}

} // namespace

std::filesystem::path ReportFolder()
{
    const auto* folder = g_dumpDirectory.Get();
    return folder != nullptr ? *folder : g_dumpDirectory.Set(CandidateFolders().front());
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
    return g_applicationName.Set(file.empty() ? "Application" : Utf8Of(file));
}

std::string ApplicationVersion()
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
    return "0.0.0.0"; // not stored: the application may set it later
}

std::string TaggedNameOfNow()
{
    using namespace std::chrono;
    const auto now = duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
    StringSink name;
    AppendTaggedName(name, ApplicationName(), ApplicationVersion(), ReportTimeOf(now, Platform::LocalOffset()));
    return name.Take();
}

void CreateFiles(ReportContents& contents, const ReportParts& parts) noexcept
{
    try
    {
        using namespace std::chrono;
        const std::string folder = Utf8Of(ReportFolder());
        const std::string application = ApplicationName();
        const std::string version = ApplicationVersion();
        const auto now = duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
        WriteReports({folder.c_str(), application, version, now, Platform::LocalOffset()}, contents, parts);
    }
    catch (const std::exception&)
    {
        Platform::WriteStandardError("Error writing the crash log\r\n"); // no memory
    }
}

void CreateReportFolder()
{
    const auto candidates = CandidateFolders();
    const auto* chosen = &candidates.front();
    int firstError = 0;
    for (const auto& folder : candidates)
    {
        const int error = Platform::MakePrivateFolder(Utf8Of(folder).c_str());
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
        SayError("CreateDirectory failed. Error: ", firstError);
    }
    Platform::WriteStandardError("Selected dump directory: " + Utf8Of(*chosen) + "\n");
    ReportFile::ReserveDescriptors();
    PublishPlace();
}

bool HasReportFolder() noexcept
{
    return g_dumpDirectory.Get() != nullptr;
}

MINIDUMP_TYPE DefaultMinidumpType() noexcept
{
    return g_defaultMinidumpType;
}

void SetDefaultMinidumpType(MINIDUMP_TYPE type) noexcept
{
    g_defaultMinidumpType = type;
    PublishPlace();
}

bool DumpsAreFaked() noexcept
{
    return g_fakeWriteDump;
}

void SetDumpsAreFaked(bool fake) noexcept
{
    g_fakeWriteDump = fake;
    PublishPlace();
}

void PublishPlace() noexcept
{
    try
    {
        Platform::RefreshLocalOffset();
        PublishReportPlace(Utf8Of(ReportFolder()), ApplicationName(), ApplicationVersion(), g_defaultMinidumpType,
                           g_fakeWriteDump);
    }
    catch (const std::exception&)
    {
        // No memory. The last resort keeps the place that it had before, or has none.
    }
}

} // namespace Ardo::Kiln::Crash
