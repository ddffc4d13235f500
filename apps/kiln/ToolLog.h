#pragma once

#include <memory>
#include <string>

namespace Ardo::Kiln::Tool
{

/// What the tool and the library log while it lives: warnings to standard error, for the person at the terminal,
/// and, when a folder is given, everything to log files there. Several runs may log to one folder.
class ToolLog
{
public:
    /// \param folder UTF-8; empty: no log files.
    /// \throws what Logger::Logging throws when the files cannot be made.
    explicit ToolLog(const std::string& folder);
    ~ToolLog();
    ToolLog(const ToolLog&) = delete;
    ToolLog& operator=(const ToolLog&) = delete;

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

/// Logs what was done, for who reads the log later. \p text is UTF-8.
void LogInfo(const std::string& text);

/// Logs why something was not done. \p text is UTF-8.
void LogError(const std::string& text);

/// Logs how it was done. \p text is UTF-8.
void LogDebug(const std::string& text);

} // namespace Ardo::Kiln::Tool
