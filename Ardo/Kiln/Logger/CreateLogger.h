#pragma once

#include "Ardo/Kiln/Logger/SeverityLevel.h"
#include "Ardo/KilnExport.h"

#include <boost/log/sources/severity_logger.hpp>

#include <string_view>

namespace Ardo::Kiln::Logger
{

/// Makes the logger of one component.
///
/// Its records carry "Severity", "Message" and "Originator": the application's name, followed by "." and \p name when
/// \p name is not empty. Loggers may be made before any sink exists; what they log until then is dropped, it is never
/// printed.
///
/// \param name the component's name in UTF-8; empty for the application itself.
/// \throws std::runtime_error when the name of the executable cannot be read.
/// Any thread may call it, and any thread may use the logger; a signal handler may not, because it can deadlock.
KILN_EXPORT boost::log::sources::severity_logger_mt<SeverityLevel> CreateLogger(std::string_view name);

} // namespace Ardo::Kiln::Logger
