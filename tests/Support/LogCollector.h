#pragma once

#include "Ardo/Kiln/Logger/SeverityLevel.h"

#include <memory>
#include <string>
#include <vector>

namespace Ardo::Kiln::Support
{

/// Collects the log records of the process from its construction to its destruction. Any thread may log meanwhile.
///
/// The destructor fails the test if a record of level error or fatal was not announced by ExpectErrors(), or if an
/// announced one was not logged.
class LogCollector
{
public:
    struct Record
    {
        Logger::SeverityLevel severity;
        std::string originator;
        std::string message;
    };

    /// The records that an object collects.
    enum class Scope
    {
        All,      ///< all records
        Unwatched ///< records that are logged while no object with the scope All exists
    };

    explicit LogCollector(Scope scope = Scope::All);
    ~LogCollector();
    LogCollector(const LogCollector&) = delete;
    LogCollector& operator=(const LogCollector&) = delete;

    /// Announces records of level error or fatal, one for each text: the message contains the text. In any order.
    void ExpectErrors(std::vector<std::string> parts);

    /// Allows any number of records of level error or fatal whose messages contain \p part: for tests in which each of
    /// many errors is also an exception that the test expects.
    void AllowErrors(std::string part);

    /// The records so far, in the order of logging.
    std::vector<Record> Records() const;

    /// The messages alone.
    std::vector<std::string> Messages() const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace Ardo::Kiln::Support
