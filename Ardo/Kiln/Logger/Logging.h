#pragma once

#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Logger/LogDefinition.h"
#include "Ardo/KilnExport.h"

#include <concepts>
#include <filesystem>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace Ardo::Kiln::Logger
{

/// The log environment of a process: the folder of its log files, and which records each file takes.
///
/// One object per process, from start-up to shutdown. The loggers of the components (CreateLogger) may be made before
/// and used after it; records that no file takes are dropped.
///
///     Logger::Logging logging(folder, L"Orbex");
///     logging.Initialize();                                       // folder/Log/Orbex_Dbg.log
///     logging.AddSinks({{L"Orbex", 1 << 20, {}, InfoAndAbove}});  // folder/Log/Orbex.log
///
/// The extension is ".txtlog" where the instrument server's software is of version 7.7.0 or later, else ".log".
///
/// Any thread may log at any time; Initialize, AddSinks and the destructor are for one thread. A record is written on
/// the thread that logs it. What goes wrong with a file later costs records and is reported once on standard error; it
/// never reaches the code that logs. A signal handler must not log: it waits for ever for a lock that the thread that
/// it has interrupted may hold.
class KILN_EXPORT Logging
{
public:
    /// Stores the arguments and does nothing else.
    /// \param folderRoot the folder that holds or will hold the folder "Log".
    /// \param baseName the base name of the debug file.
    Logging(std::filesystem::path folderRoot, std::wstring baseName);

    /// The same for wide text: FileSystem::ToPath(\p folderRoot).
    /// \throws std::range_error of ToPath.
    template <std::convertible_to<std::wstring> Wide>
    Logging(const Wide& folderRoot, std::wstring baseName)
        : Logging(FileSystem::ToPath(folderRoot), std::move(baseName))
    {
    }

    /// If this object initialised the environment or added sinks: removes every sink from Boost.Log's core, those of
    /// others too, writes what was logged, and lets another object be initialised. A record that another thread logs
    /// during the removal may be printed on standard output by the core itself; later ones are dropped.
    ~Logging();
    Logging(const Logging&) = delete;
    Logging& operator=(const Logging&) = delete;

    /// Creates the log folder and starts the debug file, which takes the records of level debug and nothing else.
    ///
    /// \throws std::runtime_error "The logging environment is already initialized"; the first one stays as it is.
    /// \throws std::filesystem::filesystem_error "create_directories" with the folder and the system's reason.
    /// \throws std::runtime_error of CheckLogFileAttribute when the debug file cannot be made visible and writable.
    /// \throws std::runtime_error when the base name has a folder or, on Linux, begins with a dot, and when the debug
    ///         file and a definition's file would overwrite each other, see AddSinks.
    void Initialize();

    /// Adds one log file for each definition, in this order; may be called again for more.
    ///
    /// Call Initialize first: records that may wait in memory are written each second only from then on.
    /// \throws std::filesystem::filesystem_error as Initialize when the log folder is missing and cannot be created.
    /// \throws std::runtime_error "Log file " + path + " cannot be used: ..." when the name is empty, has a folder or,
    ///         on Linux, begins with a dot, which hides the file; the files before it have been added.
    /// \throws std::runtime_error of CheckLogFileAttribute when a file cannot be made visible and writable; the files
    ///         before it have been added.
    /// \throws std::runtime_error "Log file " + path + " cannot be used: ..." when rotating it or another file of this
    ///         process would overwrite the other, as with definitions "Guide" and "Guide.1"; the files before it have
    ///         been added. Several definitions of one name share their file.
    void AddSinks(const std::vector<LogDefinition>& definitions);

    /// Writes everything that was logged to the files. Any thread may call it.
    static void Flush();

private:
    void AddDebugSink();
    void AddArdoSink(const LogDefinition& definition);
    std::filesystem::path GetLogFolderPath() const;
    std::filesystem::path GetLogFilePath(const std::wstring& name) const;
    static std::wstring GetLogFileExtension();
    static bool ServerVersionIsEqualOrHigher(std::tuple<unsigned, unsigned, unsigned> version);
    void EnsureFolderExists() const;

    std::filesystem::path m_folderRoot;
    std::wstring m_baseName;
    bool m_changedSinks = false; ///< Whether the destructor has anything to undo.

    static bool m_initialized;
    static const wchar_t* m_currentBaseName; ///< Of the initialised object; never null.
};

} // namespace Ardo::Kiln::Logger
