#pragma once

#include "Ardo/Kiln/Logger/LogDefinition.h"

#include <filesystem>

namespace Ardo::Kiln::Logger
{

// The log environment's sink in Boost.Log's core. It writes all log files on the thread that logs, and never throws to
// that thread. Any thread may call the functions, static destructors too.

/// Adds our sink to the core unless it is there. Without any sink the core prints records on standard output. Without a
/// file our sink accepts no record.
void KeepSinkInCore();

/// Adds the debug file: debug records, one line each, in the file when the call that logs returns.
/// \throws std::runtime_error of LogFileRegistry::CheckNames.
void AddDebugFile(const std::filesystem::path& path);

/// Adds the file of a definition at \p path.
/// \throws std::runtime_error of LogFileRegistry::CheckNames.
void AddDefinitionFile(const std::filesystem::path& path, const LogDefinition& definition);

/// Removes every sink, the application's too. Records are dropped from then on.
void RemoveAllSinks();

/// Flushes every sink.
void FlushSinks();

} // namespace Ardo::Kiln::Logger
