#include "apps/kiln/WarningLog.h"

#include "apps/kiln/Streams.h"
#include "Ardo/Kiln/Logger/SeverityLevel.h"

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions/message.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/make_shared.hpp>

#include <iostream>

namespace Ardo::Kiln::Tool
{

namespace
{

class ErrorStreamBackend : public boost::log::sinks::basic_sink_backend<boost::log::sinks::synchronized_feeding>
{
public:
    // The name and the signature are those that the sink frontend calls.
    void consume(const boost::log::record_view& record) // NOLINT(readability-identifier-naming)
    {
        const std::string text = boost::log::extract_or_default<std::string>("Message", record, std::string());
        std::cerr << "kiln: warning: " + Printable(text) + "\n";
    }
};

} // namespace

struct WarningLog::Implementation
{
    boost::shared_ptr<boost::log::sinks::synchronous_sink<ErrorStreamBackend>> sink =
        boost::make_shared<boost::log::sinks::synchronous_sink<ErrorStreamBackend>>();
};

WarningLog::WarningLog() : m_implementation(std::make_unique<Implementation>())
{
    m_implementation->sink->set_filter(
        [](const boost::log::attribute_value_set& values)
        {
            return boost::log::extract_or_default<Logger::SeverityLevel>("Severity", values, Logger::trace) >=
                   Logger::warning;
        });
    boost::log::core::get()->add_sink(m_implementation->sink);
}

WarningLog::~WarningLog()
{
    boost::log::core::get()->remove_sink(m_implementation->sink);
}

} // namespace Ardo::Kiln::Tool
