#include "Ardo/Kiln/Logger/CreateLogger.h"

#include "Ardo/Kiln/FileSystem/ApplicationName.h"
#include "Ardo/Kiln/Logger/AttributeNames.h"
#include "Ardo/Kiln/Logger/Sinks_p.h"

#include <boost/log/attributes/constant.hpp>

#include <string>

namespace Ardo::Kiln::Logger
{

boost::log::sources::severity_logger_mt<SeverityLevel> CreateLogger(std::string_view name)
{
    AddDiscardingSink();

    std::string originator = FileSystem::GetApplicationName();
    if (!name.empty())
    {
        originator.append(".").append(name);
    }
    boost::log::sources::severity_logger_mt<SeverityLevel> logger;
    logger.add_attribute(OriginatorAttribute, boost::log::attributes::constant<std::string>(originator));
    return logger;
}

} // namespace Ardo::Kiln::Logger
