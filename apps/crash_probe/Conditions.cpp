#include "apps/crash_probe/Conditions.h"

#include "Ardo/Kiln/Logger/CreateLogger.h"
#include "Ardo/Kiln/Logger/Logging.h"
#include "Ardo/Kiln/Logger/SeveritySets.h"

#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_feature.hpp>

#include <cstdlib>
#include <exception>

namespace Ardo::Kiln::CrashProbe
{

void LogRecord(const char* folder)
{
    auto& logging = *new Logger::Logging(folder != nullptr ? folder : ".", L"Probe"); // lives until the crash
    logging.Initialize();
    logging.AddSinks({{L"Probe", 1 << 20, {}, Logger::InfoAndAbove}});
    auto logger = Logger::CreateLogger("Probe");
    BOOST_LOG_SEV(logger, Logger::info) << "the last record";
}

void OwnTerminateHandler()
{
    std::set_terminate(
        []
        {
            Say("own terminate handler");
            std::abort();
        });
}

} // namespace Ardo::Kiln::CrashProbe
