#include "apps/viewer/Model/LogFeed.h"

#include "Ardo/Kiln/Logger/AttributeNames.h"

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/make_shared.hpp>
#include <QTime>

#include <utility>

namespace Ardo::Kiln::Viewer
{

namespace
{

/// Sends records instead of writing them.
class SendingBackend : public boost::log::sinks::basic_sink_backend<boost::log::sinks::synchronized_feeding>
{
public:
    explicit SendingBackend(Threading::Sender<LogLine> lines) : m_lines(std::move(lines)) {}

    // The name and the signature are those that the sink frontend calls.
    void consume(const boost::log::record_view& record) // NOLINT(readability-identifier-naming)
    {
        using boost::log::extract_or_default;
        const auto text = [&](const char* name)
        { return QString::fromStdString(extract_or_default<std::string>(name, record, std::string())); };
        m_lines.Send({QTime::currentTime().toString(QStringLiteral("HH:mm:ss.zzz")),
                      extract_or_default<Logger::SeverityLevel>(Logger::SeverityAttribute, record, Logger::info),
                      text(Logger::OriginatorAttribute), text(Logger::MessageAttribute)});
    }

private:
    Threading::Sender<LogLine> m_lines;
};

} // namespace

struct LogFeed::Sink
{
    boost::shared_ptr<boost::log::sinks::synchronous_sink<SendingBackend>> sink;
};

LogFeed::LogFeed(Threading::Sender<LogLine> lines) : m_sink(std::make_unique<Sink>())
{
    using Frontend = boost::log::sinks::synchronous_sink<SendingBackend>;
    m_sink->sink = boost::make_shared<Frontend>(boost::make_shared<SendingBackend>(std::move(lines)));
    // A failure to send must not reach the code that logs.
    m_sink->sink->set_exception_handler([] {});
    boost::log::core::get()->add_sink(m_sink->sink);
}

LogFeed::~LogFeed()
{
    boost::log::core::get()->remove_sink(m_sink->sink);
}

} // namespace Ardo::Kiln::Viewer
