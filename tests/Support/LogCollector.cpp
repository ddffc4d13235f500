#include "tests/Support/LogCollector.h"

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions/message.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <optional>

namespace Ardo::Kiln::Support
{

namespace
{

std::atomic<int> g_collectorsOfAll = 0; ///< Objects with the scope All.

class CollectingBackend : public boost::log::sinks::basic_sink_backend<boost::log::sinks::synchronized_feeding>
{
public:
    explicit CollectingBackend(LogCollector::Scope scope) : m_scope(scope) {}

    void consume(const boost::log::record_view& record)
    {
        if (m_scope == LogCollector::Scope::Unwatched && g_collectorsOfAll > 0)
        {
            return;
        }
        const std::lock_guard lock(m_mutex);
        m_records.push_back({boost::log::extract_or_default<Logger::SeverityLevel>("Severity", record, Logger::fatal),
                             boost::log::extract_or_default<std::string>("Originator", record, std::string()),
                             boost::log::extract_or_default<std::string>("Message", record, std::string())});
    }

    std::vector<LogCollector::Record> Records() const
    {
        const std::lock_guard lock(m_mutex);
        return m_records;
    }

private:
    const LogCollector::Scope m_scope;
    mutable std::mutex m_mutex;
    std::vector<LogCollector::Record> m_records; ///< Guarded by m_mutex.
};

} // namespace

struct LogCollector::Implementation
{
    explicit Implementation(Scope ofRecords)
        : scope(ofRecords), backend(boost::make_shared<CollectingBackend>(ofRecords))
    {
    }

    const Scope scope;
    boost::shared_ptr<CollectingBackend> backend;
    boost::shared_ptr<boost::log::sinks::synchronous_sink<CollectingBackend>> sink =
        boost::make_shared<boost::log::sinks::synchronous_sink<CollectingBackend>>(backend);
    std::vector<std::string> expectedErrors;
    std::optional<std::string> allowedErrors;
};

LogCollector::LogCollector(Scope scope) : m_implementation(std::make_unique<Implementation>(scope))
{
    g_collectorsOfAll += scope == Scope::All ? 1 : 0;
    boost::log::core::get()->add_sink(m_implementation->sink);
}

LogCollector::~LogCollector()
{
    boost::log::core::get()->remove_sink(m_implementation->sink);
    g_collectorsOfAll -= m_implementation->scope == Scope::All ? 1 : 0;
    std::vector<std::string>& expected = m_implementation->expectedErrors;
    const std::optional<std::string>& allowed = m_implementation->allowedErrors;
    for (const Record& record : Records())
    {
        if (allowed && record.message.find(*allowed) != std::string::npos)
        {
            continue;
        }
        const auto announced =
            std::find_if(expected.begin(), expected.end(),
                         [&](const std::string& part) { return record.message.find(part) != std::string::npos; });
        if (record.severity >= Logger::error && announced == expected.end())
        {
            ADD_FAILURE() << "unexpected error record of " << record.originator << ": " << record.message;
        }
        else if (record.severity >= Logger::error)
        {
            expected.erase(announced);
        }
    }
    for (const std::string& part : expected)
    {
        ADD_FAILURE() << "no error record with: " << part;
    }
}

void LogCollector::ExpectErrors(std::vector<std::string> parts)
{
    m_implementation->expectedErrors = std::move(parts);
}

void LogCollector::AllowErrors(std::string part)
{
    m_implementation->allowedErrors = std::move(part);
}

std::vector<LogCollector::Record> LogCollector::Records() const
{
    return m_implementation->backend->Records();
}

std::vector<std::string> LogCollector::Messages() const
{
    std::vector<std::string> messages;
    for (const Record& record : Records())
    {
        messages.push_back(record.message);
    }
    return messages;
}

} // namespace Ardo::Kiln::Support
