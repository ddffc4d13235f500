#include "Ardo/Kiln/Exception/DefaultWarningHandler.h"

#include "Ardo/Kiln/Exception/ErrorDialog.h"
#include "Ardo/Kiln/Exception/Warning.h"

#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_feature.hpp>

namespace Ardo::Kiln::Exception
{

std::function<void(const Warning&)>
CreateDefaultWarningHandler(boost::log::sources::severity_logger_mt<Logger::SeverityLevel>& logger)
{
    return [&logger](const Warning& warning)
    {
        try
        {
            BOOST_LOG_SEV(logger, Logger::warning) << warning.what();
        }
        catch (...)
        {
            // A sink that throws loses the record; the user still sees the warning.
        }
        ErrorDialog::ShowWarningDialog(warning);
    };
}

} // namespace Ardo::Kiln::Exception
