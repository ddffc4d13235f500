#pragma once

#include "Ardo/KilnExport.h"

#include <iosfwd>

namespace Ardo::Kiln::Exception
{

/// How bad the event behind an exception is. Also the tag of the entry that carries it in an exception.
enum class Severity : int
{
    Fatal = 0,  ///< what was asked for has failed
    Warning = 1 ///< the user should know, and work goes on
};

/// Writes "Fatal", "Warning", or "Unknown" for any other value.
KILN_EXPORT std::ostream& operator<<(std::ostream& stream, Severity severity);

} // namespace Ardo::Kiln::Exception
