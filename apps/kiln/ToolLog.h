#pragma once

#include <memory>
#include <string>

namespace Ardo::Kiln::Tool
{

/// Receives the records of the tool and the library during its lifetime. Warnings go to standard error; when a folder
/// is given, everything goes to log files there. Several runs may log to one folder.
class ToolLog
{
public:
    /// \param folder UTF-8; empty: no log files.
    /// \throws the exceptions of Logger::Logging when the files cannot be made.
    explicit ToolLog(const std::string& folder);
    ~ToolLog();
    ToolLog(const ToolLog&) = delete;
    ToolLog& operator=(const ToolLog&) = delete;

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

/// Names a file in the warnings that the calling thread prints during the lifetime of the object. A thread has one at a
/// time.
class WarningSubject
{
public:
    /// \param name UTF-8.
    explicit WarningSubject(const std::string& name);
    ~WarningSubject();
    WarningSubject(const WarningSubject&) = delete;
    WarningSubject& operator=(const WarningSubject&) = delete;

private:
    std::string m_text; ///< With ": " behind the name.
};

/// Logs at level info. \p text is UTF-8.
void LogInfo(const std::string& text);

/// Logs at level error. \p text is UTF-8.
void LogError(const std::string& text);

/// Logs at level debug. \p text is UTF-8.
void LogDebug(const std::string& text);

} // namespace Ardo::Kiln::Tool
