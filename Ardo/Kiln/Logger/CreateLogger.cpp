#include "Ardo/Kiln/Logger/CreateLogger.h"

#include "Ardo/Kiln/FileSystem/ApplicationName.h"

#include <boost/log/attributes/constant.hpp>
#include <boost/log/core.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/unlocked_frontend.hpp>
#include <boost/make_shared.hpp>

#include <string>

namespace Ardo::Kiln::Logger
{

namespace
{

class DiscardingBackend : public boost::log::sinks::basic_sink_backend<boost::log::sinks::concurrent_feeding>
{
public:
    // The name and the signature are those that the sink frontend calls.
    void consume(const boost::log::record_view&) {} // NOLINT(readability-identifier-naming)
};

/// A core without any sink prints its records on standard output. This sink accepts none and keeps the core from it.
void AddDiscardingSink()
{
    static const bool g_added = []
    {
        const auto sink = boost::make_shared<boost::log::sinks::unlocked_sink<DiscardingBackend>>();
        sink->set_filter([](const boost::log::attribute_value_set&) { return false; });
        boost::log::core::get()->add_sink(sink);
        return true;
    }();
    static_cast<void>(g_added);
}

} // namespace

boost::log::sources::severity_logger_mt<SeverityLevel> CreateLogger(std::string_view name)
{
    AddDiscardingSink();

    std::string originator = FileSystem::GetApplicationName();
    if (!name.empty())
    {
        originator.append(".").append(name);
    }
    boost::log::sources::severity_logger_mt<SeverityLevel> logger;
    logger.add_attribute("Originator", boost::log::attributes::constant<std::string>(originator));
    return logger;
}

} // namespace Ardo::Kiln::Logger
