#include "Ardo/Kiln/Platform/CatchAll.h"

#include <cxxabi.h>

namespace Ardo::Kiln::Platform
{

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

} // namespace Ardo::Kiln::Platform
