#pragma once

#include "Ardo/Kiln/Logger/CreateLogger.h"
#include "Ardo/KilnExport.h"

#include <functional>

namespace Ardo::Kiln::Exception
{

class Warning;

/// Makes the handler that background work uses for its warnings unless it is given another: it logs the warning's text
/// at level warning and then shows it (see ErrorDialog::ShowWarningDialog). It does not wait for the user, except on
/// the user-interface thread.
///
/// \param logger must outlive the handler and its copies.
/// \returns a handler that any thread may call, also several at once. A warning that cannot be logged is shown all the
///          same.
KILN_EXPORT std::function<void(const Warning&)>
CreateDefaultWarningHandler(boost::log::sources::severity_logger_mt<Logger::SeverityLevel>& logger);

} // namespace Ardo::Kiln::Exception
