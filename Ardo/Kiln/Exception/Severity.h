#pragma once

#include "Ardo/KilnExport.h"

#include <iosfwd>

namespace Ardo::Kiln::Exception
{

/// The severity of an exception. Also the tag of the entry that holds it in an exception.
enum class Severity : int
{
    Fatal = 0,  ///< The operation has failed.
    Warning = 1 ///< The user should know; the work goes on.
};

/// Writes "Fatal", "Warning", or "Unknown" for any other value.
KILN_EXPORT std::ostream& operator<<(std::ostream& stream, Severity severity);

} // namespace Ardo::Kiln::Exception
