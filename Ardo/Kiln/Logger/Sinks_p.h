#pragma once

#include "Ardo/Kiln/Logger/LogDefinition.h"

#include <filesystem>

namespace Ardo::Kiln::Logger
{

// The sinks of the log environment in Boost.Log's core, which itself stays behind this header. They write on the thread
// that logs and never throw to it. Any thread may call the functions.

/// Keeps the core from printing records on standard output, which is what it does without any sink: adds a sink that
/// accepts none, unless it is there.
void AddDiscardingSink();

/// Adds the sink of the debug file: debug records, one line each, in the file when the call that logs returns.
void AddDebugFileSink(const std::filesystem::path& path);

/// Adds the sink of a definition, which writes to \p path.
void AddDefinitionSink(const std::filesystem::path& path, const LogDefinition& definition);

/// Removes every sink, whoever added it; what is logged from now on is dropped.
void RemoveAllSinks();

/// Flushes every sink.
void FlushSinks();

} // namespace Ardo::Kiln::Logger
