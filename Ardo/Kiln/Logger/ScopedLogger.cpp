#include "Ardo/Kiln/Logger/ScopedLogger.h"

#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_feature.hpp>

namespace Ardo::Kiln
{

ScopedLogger::ScopedLogger(boost::log::sources::severity_logger_mt<Logger::SeverityLevel>& logger,
                           std::string_view name)
    : m_logger(logger), m_name(name)
{
}

ScopedLogger::~ScopedLogger()
{
    Write("<< ");
}

void ScopedLogger::operator<<(std::ostream& (*)(std::ostream&))
{
    Write(">> ");
}

void ScopedLogger::Write(const char* mark) noexcept
{
    try
    {
        BOOST_LOG_SEV(m_logger, Logger::trace) << mark << m_name;
    }
    catch (...)
    {
        // A sink has thrown: the mark is lost.
    }
}

} // namespace Ardo::Kiln
