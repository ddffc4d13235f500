#pragma once

#include "Ardo/Kiln/Logger/LogFile_p.h"

#include <memory>

/// The log files that the process writes, so that none of them keeps its records for longer than a second.
/// Any thread may call the functions.
namespace Ardo::Kiln::Logger::LogFileRegistry
{

/// Adds a file, which the registry keeps until Shutdown.
KILN_EXPORT_FOR_TESTS void Add(std::shared_ptr<LogFile> file);

/// Starts the thread that flushes every file each second, if it does not run. It also has the disk take what was
/// written, so that a power failure costs little more than that second.
KILN_EXPORT_FOR_TESTS void StartPeriodicFlush();

/// Ends that thread, flushes every file and empties the registry. Does nothing to an empty one.
KILN_EXPORT_FOR_TESTS void Shutdown();

} // namespace Ardo::Kiln::Logger::LogFileRegistry
