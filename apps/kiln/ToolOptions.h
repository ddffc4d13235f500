#pragma once

#include <string>

namespace Ardo::Kiln::Tool
{

/// The options that hold for every command, from the environment and the tool's own settings.
///
/// \param logFolder of the command line; empty if it is not given there. It comes before the environment variable
///        KILN_LOG, and that before the setting "Options/log".
/// \returns the folder for log files, UTF-8; empty for none.
/// \throws UsageError if a source has a wrong value.
std::string LogFolder(const std::string& logFolder);

/// The help text of these options.
std::string OptionsHelp();

} // namespace Ardo::Kiln::Tool
