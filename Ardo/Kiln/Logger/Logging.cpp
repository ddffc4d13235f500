#include "Ardo/Kiln/Logger/Logging.h"

#include "Ardo/Kiln/FileSystem/FileError.h"
#include "Ardo/Kiln/FileSystem/ServerInstallation.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Logger/LogFileAttribute.h"
#include "Ardo/Kiln/Logger/LogFileRegistry.h"
#include "Ardo/Kiln/Logger/Sinks_p.h"
#include "Ardo/Kiln/Platform/FileFlags.h"

#include <stdexcept>

namespace Ardo::Kiln::Logger
{

namespace fs = std::filesystem;

namespace
{

/// Makes sure that the log file \p path can be found in \p folder and written.
/// \param name of the file without its extension.
void PrepareFile(const fs::path& path, const fs::path& folder, const std::wstring& name)
{
    const auto refuse = [&path](const char* reason)
    {
        throw std::runtime_error("Log file " + FileSystem::ToDisplayText(path) + " cannot be used: its name " + reason +
                                 ".");
    };
    if (name.empty())
    {
        refuse("is empty");
    }
    if (path != folder / path.filename())
    {
        refuse("has a folder");
    }
    CheckLogFileAttribute(path.string().c_str());
    if (Platform::IsHiddenByName(path))
    {
        refuse("would hide it");
    }
}

} // namespace

bool Logging::m_initialized = false;
const wchar_t* Logging::m_currentBaseName = L"";

Logging::Logging(fs::path folderRoot, std::wstring baseName)
    : m_folderRoot(std::move(folderRoot)), m_baseName(std::move(baseName))
{
}

Logging::~Logging()
{
    if (m_currentBaseName == m_baseName.c_str())
    {
        m_currentBaseName = L"";
    }
    if (!m_changedSinks)
    {
        return;
    }
    try
    {
        RemoveAllSinks();
        LogFileRegistry::Shutdown();
    }
    catch (...)
    {
        // No memory, or a sink of the application throws when it is destroyed: the rest ends with the process.
    }
    m_initialized = false;
}

void Logging::Initialize()
{
    if (m_initialized)
    {
        throw std::runtime_error("The logging environment is already initialized");
    }
    m_currentBaseName = m_baseName.c_str();
    EnsureFolderExists();
    AddDebugSink();
    m_initialized = true;
    LogFileRegistry::StartPeriodicFlush();
}

void Logging::AddSinks(const std::vector<LogDefinition>& definitions)
{
    for (const LogDefinition& definition : definitions)
    {
        AddArdoSink(definition);
    }
}

void Logging::Flush()
{
    FlushSinks();
}

void Logging::AddDebugSink()
{
    const std::wstring name = m_baseName + L"_Dbg";
    const fs::path path = GetLogFilePath(name);
    PrepareFile(path, GetLogFolderPath(), name);
    m_changedSinks = true;
    AddDebugFile(path);
}

void Logging::AddArdoSink(const LogDefinition& definition)
{
    EnsureFolderExists();
    const fs::path path = GetLogFilePath(definition.fileName);
    PrepareFile(path, GetLogFolderPath(), definition.fileName);
    m_changedSinks = true;
    AddDefinitionFile(path, definition);
}

fs::path Logging::GetLogFolderPath() const
{
    return m_folderRoot / "Log";
}

fs::path Logging::GetLogFilePath(const std::wstring& name) const
{
    return GetLogFolderPath() / FileSystem::ToPath(name + GetLogFileExtension());
}

std::wstring Logging::GetLogFileExtension()
{
    return ServerVersionIsEqualOrHigher({7, 7, 0}) ? L".txtlog" : L".log";
}

bool Logging::ServerVersionIsEqualOrHigher(std::tuple<unsigned, unsigned, unsigned> version)
{
    try
    {
        const auto installed = FileSystem::ServerVersion();
        return installed && *installed >= version;
    }
    catch (const std::exception&)
    {
        return false; // whatever is wrong with the server's installation, the log must start
    }
}

void Logging::EnsureFolderExists() const
{
    const fs::path folder = GetLogFolderPath();
    std::error_code error;
    if (!fs::is_directory(folder, error))
    {
        error.clear();
        fs::create_directories(folder, error);
        if (error)
        {
            throw FileSystem::FileError("create_directories", folder, error);
        }
    }
}

} // namespace Ardo::Kiln::Logger
