#include "Ardo/Kiln/Crash/Report/FaultFacts.h"

#if __has_include(<cxxabi.h>)
#include <cstdlib>
#include <cxxabi.h>
#include <memory>
#endif

namespace Ardo::Kiln::Crash
{

std::string ExceptionTypeName(const FaultFacts& facts)
{
#if __has_include(<cxxabi.h>)
    struct Free
    {
        void operator()(char* text) const noexcept { std::free(text); }
    };
    const std::string mangled(facts.exceptionType);
    int status = 0;
    const std::unique_ptr<char, Free> text(abi::__cxa_demangle(mangled.c_str(), nullptr, nullptr, &status));
    return status == 0 && text ? text.get() : mangled;
#else
    return std::string(facts.exceptionType); // the runtime keeps the name as the source has it
#endif
}

} // namespace Ardo::Kiln::Crash
