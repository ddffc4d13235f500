#include "tests/Support/LogCollector.h"

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions/message.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/make_shared.hpp>

#include <mutex>

namespace Ardo::Kiln::Support
{

namespace
{

class CollectingBackend : public boost::log::sinks::basic_sink_backend<boost::log::sinks::synchronized_feeding>
{
public:
    void consume(const boost::log::record_view& record)
    {
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
    mutable std::mutex m_mutex;
    std::vector<LogCollector::Record> m_records; ///< Guarded by m_mutex.
};

} // namespace

struct LogCollector::Implementation
{
    boost::shared_ptr<CollectingBackend> backend = boost::make_shared<CollectingBackend>();
    boost::shared_ptr<boost::log::sinks::synchronous_sink<CollectingBackend>> sink =
        boost::make_shared<boost::log::sinks::synchronous_sink<CollectingBackend>>(backend);
};

LogCollector::LogCollector() : m_implementation(std::make_unique<Implementation>())
{
    boost::log::core::get()->add_sink(m_implementation->sink);
}

LogCollector::~LogCollector()
{
    boost::log::core::get()->remove_sink(m_implementation->sink);
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
