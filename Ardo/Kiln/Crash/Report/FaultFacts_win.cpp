#include "Ardo/Kiln/Crash/Report/FaultFacts.h"

namespace Ardo::Kiln::Crash
{

std::string ExceptionTypeName(const FaultFacts& facts)
{
    return std::string(facts.exceptionType); // the language runtime keeps the name as the source has it
}

} // namespace Ardo::Kiln::Crash
