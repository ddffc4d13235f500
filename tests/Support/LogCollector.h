#pragma once

#include "Ardo/Kiln/Logger/SeverityLevel.h"

#include <memory>
#include <string>
#include <vector>

namespace Ardo::Kiln::Support
{

/// Collects every log record of the process from its construction to its destruction. Any thread may log meanwhile.
class LogCollector
{
public:
    struct Record
    {
        Logger::SeverityLevel severity;
        std::string originator;
        std::string message;
    };

    LogCollector();
    ~LogCollector();
    LogCollector(const LogCollector&) = delete;
    LogCollector& operator=(const LogCollector&) = delete;

    /// What was logged so far, in the order of logging.
    std::vector<Record> Records() const;

    /// The messages alone.
    std::vector<std::string> Messages() const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace Ardo::Kiln::Support
