#include "Ardo/Kiln/Crash/Fault/CatchAll.h"

#include <cxxabi.h>

namespace Ardo::Kiln::Crash
{

// The object of such an end is a null reference; the language's runtime makes it so.
#ifdef __clang__
[[clang::no_sanitize("null")]]
#else
[[gnu::no_sanitize("null")]]
#endif
bool CatchAll(void (*work)(void*), void (*caught)(void*), void* argument)
{
    try
    {
        work(argument);
        return true;
    }
    catch (const abi::__forced_unwind&)
    {
        throw;
    }
    catch (...)
    {
        caught(argument);
        return false;
    }
}

} // namespace Ardo::Kiln::Crash
