#include "Ardo/Kiln/Crash/Report/FaultFacts.h"

#include <boost/core/demangle.hpp>

namespace Ardo::Kiln::Crash
{

std::string ExceptionTypeName(const FaultFacts& facts)
{
    return boost::core::demangle(std::string(facts.exceptionType).c_str());
}

} // namespace Ardo::Kiln::Crash
