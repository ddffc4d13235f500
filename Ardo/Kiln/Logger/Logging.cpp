#include "Ardo/Kiln/Logger/Logging.h"

#include "Ardo/Kiln/FileSystem/FileError.h"
#include "Ardo/Kiln/FileSystem/ServerInstallation.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Logger/LogFileAttribute.h"
#include "Ardo/Kiln/Logger/LogFileRegistry.h"
#include "Ardo/Kiln/Logger/Sinks_p.h"

#include <stdexcept>

namespace Ardo::Kiln::Logger
{

namespace fs = std::filesystem;

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
    const fs::path path = GetLogFilePath(m_baseName + L"_Dbg");
    CheckLogFileAttribute(path.string().c_str());
    m_changedSinks = true;
    AddDebugFile(path);
}

void Logging::AddArdoSink(const LogDefinition& definition)
{
    const fs::path path = GetLogFilePath(definition.fileName);
    CheckLogFileAttribute(path.string().c_str());
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
