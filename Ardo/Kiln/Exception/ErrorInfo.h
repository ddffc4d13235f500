#pragma once

#include "Ardo/Kiln/Exception/Severity.h"

#include <boost/exception/info.hpp>

#include <string>

namespace Ardo::Kiln::Exception
{

// Entries of the library's exceptions besides the message, as Boost error info. Attach them with operator<< before the
// exception is thrown: copies share their entries without synchronisation.
//
//     throw Error("The shutter does not open.") << CategoryInfo("Camera");

struct ErrorCode_; ///< Tag of the number of an ErrorWithCode.
struct Category;   ///< Tag of a category that the thrower chooses.
struct Report_;    ///< Tag of the crash report of a fault that the exception handler turned into an exception.

/// Attached by every HandledException.
using SeverityInfo = boost::error_info<Severity, Severity>;

/// Attached by every ErrorWithCode.
using ErrorCodeInfo = boost::error_info<ErrorCode_, int>;

/// Attached by the thrower to distinguish kinds of failures.
using CategoryInfo = boost::error_info<Category, std::string>;

/// Attached by the exception handler.
using ReportInfo = boost::error_info<Report_, std::string>;

} // namespace Ardo::Kiln::Exception
