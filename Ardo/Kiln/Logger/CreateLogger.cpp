#include "Ardo/Kiln/Logger/CreateLogger.h"

#include "Ardo/Kiln/FileSystem/ApplicationName.h"
#include "Ardo/Kiln/Logger/AttributeNames.h"
#include "Ardo/Kiln/Logger/Sinks_p.h"

#include <boost/log/attributes/constant.hpp>
#include <boost/log/keywords/severity.hpp>
#include <boost/log/sources/record_ostream.hpp>

#include <ostream>
#include <string>

namespace Ardo::Kiln::Logger
{

namespace
{

// Boost.Log constructs its own statics with the first record and cannot be used after their destruction. This
// constructs them when the library is loaded, so that they outlive the static objects of the application, which may log
// in their destructors.
[[maybe_unused]] const bool g_boostLogIsReady = []
{
    try
    {
        boost::log::sources::severity_logger_mt<SeverityLevel> logger;
        if (boost::log::record record = logger.open_record(boost::log::keywords::severity = trace))
        {
            boost::log::record_ostream(record) << std::flush; // and the record is dropped
        }
        return true;
    }
    catch (...)
    {
        return false; // the first real record reports the failure
    }
}();

} // namespace

boost::log::sources::severity_logger_mt<SeverityLevel> CreateLogger(std::string_view name)
{
    KeepSinkInCore();

    std::string originator = FileSystem::GetApplicationName();
    if (!name.empty())
    {
        originator.append(".").append(name);
    }
    boost::log::sources::severity_logger_mt<SeverityLevel> logger;
    static const boost::log::attribute_name g_originator(OriginatorAttribute);
    logger.add_attribute(g_originator, boost::log::attributes::constant<std::string>(originator));
    return logger;
}

} // namespace Ardo::Kiln::Logger
