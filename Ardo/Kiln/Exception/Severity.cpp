#include "Ardo/Kiln/Exception/Severity.h"

#include <ostream>

namespace Ardo::Kiln::Exception
{

std::ostream& operator<<(std::ostream& stream, Severity severity)
{
    switch (severity)
    {
    case Severity::Fatal:
        return stream << "Fatal";
    case Severity::Warning:
        return stream << "Warning";
    }
    return stream << "Unknown";
}

} // namespace Ardo::Kiln::Exception
