#pragma once

#include "Ardo/Kiln/Logger/LogFile_p.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

/// The log files that the process writes. They are flushed together, so that no record is kept for longer than a
/// second. Any thread may call the functions.
namespace Ardo::Kiln::Logger::LogFileRegistry
{

/// How often StartPeriodicFlush flushes.
inline constexpr std::chrono::seconds FlushInterval(1);

/// Checks a new file, at \p path and with \p fileCount rotated files, against those of the registry.
/// \throws std::runtime_error "Log file " + path + " cannot be used: ..." when rotating one of the two would overwrite
///         the other.
KILN_EXPORT_FOR_TESTS void CheckNames(const std::filesystem::path& path, unsigned fileCount);

/// Adds a file, which the registry keeps until Shutdown.
KILN_EXPORT_FOR_TESTS void Add(std::shared_ptr<LogFile> file);

/// Starts the thread that flushes every file each second, if it does not run. It also waits until the disk has what was
/// written, so that a power failure costs little more than that second.
KILN_EXPORT_FOR_TESTS void StartPeriodicFlush();

/// Flushes every file after a fault: as far as the locks are free that the thread at fault may hold. Never throws.
/// \returns the paths of the files as UTF-8 with replacement characters, each followed by a line feed; empty without
///          memory, or if the registry itself is locked.
KILN_EXPORT_FOR_TESTS std::string FlushAfterFault() noexcept;

/// Ends that thread, flushes every file and empties the registry. Does nothing to an empty one.
KILN_EXPORT_FOR_TESTS void Shutdown();

} // namespace Ardo::Kiln::Logger::LogFileRegistry
