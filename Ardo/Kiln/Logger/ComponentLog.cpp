#include "Ardo/Kiln/Logger/ComponentLog.h"

#include "Ardo/Kiln/Logger/CreateLogger.h"

#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_feature.hpp>

namespace Ardo::Kiln::Logger
{

struct ComponentLog::Implementation
{
    boost::log::sources::severity_logger_mt<SeverityLevel> logger;
};

ComponentLog::ComponentLog(std::string_view component) noexcept
{
    try
    {
        m_implementation = std::make_unique<Implementation>(Implementation{CreateLogger(component)});
    }
    catch (...)
    {
        // Without a logger the records are dropped.
    }
}

ComponentLog::~ComponentLog() = default;

void ComponentLog::Write(SeverityLevel level, std::string_view text) noexcept
{
    if (m_implementation == nullptr)
    {
        return;
    }
    try
    {
        BOOST_LOG_SEV(m_implementation->logger, level) << text;
    }
    catch (...)
    {
        // A sink that throws loses its record.
    }
}

} // namespace Ardo::Kiln::Logger
