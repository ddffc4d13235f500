#include "Ardo/Kiln/Crash/Writer/ReportPlace.h"

#include "Ardo/Kiln/Crash/Report/CrashReportText.h"
#include "Ardo/Kiln/Crash/Report/Published.h"
#include "Ardo/Kiln/Crash/Writer/Minidump.h"
#include "Ardo/Kiln/Crash/Writer/OutOfProcessReport.h"
#include "Ardo/Kiln/FileSystem/ServerInstallation_p.h"
#include "Ardo/Kiln/Platform/DataFolder.h"
#include "Ardo/Kiln/Platform/FileVersion.h"
#include "Ardo/Kiln/Platform/LocalOffset.h"
#include "Ardo/Kiln/Platform/ModulePath.h"
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

} // namespace

std::filesystem::path ReportFolder()
{
    const auto* folder = g_dumpDirectory.Get();
    return folder != nullptr ? *folder : g_dumpDirectory.Set(CandidateFolders().front());
}

std::filesystem::path NewReportStem()
{
    const auto name = TaggedNameOfNow();
    return FreeReportStem(ReportFolder(), std::u8string(name.begin(), name.end()));
}

std::uint32_t CreateReportFile(ReportFile& file, const std::filesystem::path& stem, std::string_view extension)
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
    return "0.0.0.0"; // not kept: the application may still tell Qt
}

std::string TaggedNameOfNow()
{
    using namespace std::chrono;
    const auto now = duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
    return TaggedName(ApplicationName(), ApplicationVersion(), ReportTimeOf(now, Platform::LocalOffset()));
}

bool WriteDump(void* file, EXCEPTION_POINTERS* pointers, MINIDUMP_TYPE type) noexcept
{
    if (g_fakeWriteDump)
    {
        Platform::WriteStandardError("Minidump faked.\n");
        return false;
    }
    const auto error = WriteMinidump(file, pointers, type);
    if (error != 0)
    {
        TellError("MiniDumpWriteDump failed. Error: ", error);
    }
    return error == 0;
}

void CreateDumpFile(const std::filesystem::path& stem, EXCEPTION_POINTERS* pointers, MINIDUMP_TYPE type)
{
    ReportFile file;
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

void CreateReportFolder()
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
    Platform::WriteStandardError("Selected dump directory: " + Utf8Of(*chosen) + "\n");
    ReportFile::ReserveDescriptor();
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
        // No memory. The last resort goes without a place or keeps the one it had.
    }
}

} // namespace Ardo::Kiln::Crash
