#pragma once

#include "Ardo/Kiln/Logger/CreateLogger.h"

#include <iosfwd>
#include <string>

namespace Ardo::Kiln
{

/// Marks entry to and exit from a scope in the log, at level trace.
///
///     ScopedLogger scope(g_logger, "Acquire");
///     scope << std::endl;  // ">> Acquire"; the end of the scope logs "<< Acquire"
///
/// One thread at a time; the logger must outlive it. A mark that cannot be logged is lost without an exception.
class KILN_EXPORT ScopedLogger
{
public:
    /// Logs nothing yet.
    /// \param name the scope's name in UTF-8.
    ScopedLogger(boost::log::sources::severity_logger_mt<Logger::SeverityLevel>& logger, std::string_view name);

    /// Logs the exit mark.
    ~ScopedLogger();
    ScopedLogger(const ScopedLogger&) = delete;
    ScopedLogger& operator=(const ScopedLogger&) = delete;

    /// Logs the entry mark, at each call. The manipulator, such as std::endl, is not applied: a record is one line.
    void operator<<(std::ostream& (*manipulator)(std::ostream&));

private:
    void Write(const char* mark) noexcept;

    boost::log::sources::severity_logger_mt<Logger::SeverityLevel>& m_logger;
    std::string m_name;
};

} // namespace Ardo::Kiln
