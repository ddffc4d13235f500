#include "Ardo/Kiln/Crash/Fault/CatchAll.h"

namespace Ardo::Kiln::Crash
{

bool CatchAll(void (*work)(void*), void (*caught)(void*), void* argument)
{
    try
    {
        work(argument);
        return true;
    }
    catch (...)
    {
        caught(argument);
        return false;
    }
}

} // namespace Ardo::Kiln::Crash
