#pragma once

#include "Ardo/Kiln/Logger/SeverityLevel.h"
#include "Ardo/Kiln/Threading/Sender.h"

#include <QString>

#include <memory>

namespace Ardo::Kiln::Viewer
{

/// A record of the log.
struct LogLine
{
    QString time; ///< Local time of the day.
    Logger::SeverityLevel severity = Logger::info;
    QString originator; ///< The component.
    QString text;
};

/// Sends each record that is logged in this process while the object exists.
class LogFeed
{
public:
    /// \param lines receives the records, on the threads that log.
    explicit LogFeed(Threading::Sender<LogLine> lines);
    ~LogFeed();
    LogFeed(const LogFeed&) = delete;
    LogFeed& operator=(const LogFeed&) = delete;

private:
    struct Sink;
    std::unique_ptr<Sink> m_sink;
};

} // namespace Ardo::Kiln::Viewer
