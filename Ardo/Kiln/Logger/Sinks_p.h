#pragma once

#include "Ardo/Kiln/Logger/LogDefinition.h"

#include <filesystem>

namespace Ardo::Kiln::Logger
{

// The log environment's sink in Boost.Log's core, which itself stays behind this header. It writes all log files, on
// the thread that logs, and never throws to it. Any thread may call the functions, static destructors too.

/// Keeps the core from printing records on standard output, which is what it does without any sink: adds ours, unless
/// it is there. Without a file it accepts no record.
void KeepSinkInCore();

/// Adds the debug file: debug records, one line each, in the file when the call that logs returns.
/// \throws std::runtime_error of LogFileRegistry::CheckNames.
void AddDebugFile(const std::filesystem::path& path);

/// Adds the file of a definition at \p path.
/// \throws std::runtime_error of LogFileRegistry::CheckNames.
void AddDefinitionFile(const std::filesystem::path& path, const LogDefinition& definition);

/// Removes every sink, whoever added it; what is logged from now on is dropped.
void RemoveAllSinks();

/// Flushes every sink.
void FlushSinks();

} // namespace Ardo::Kiln::Logger
