#include "Ardo/Kiln/Platform/ProcessFork.h"

#include <new>
#include <pthread.h>

namespace Ardo::Kiln::Platform
{

void OnFork(void (*before)(), void (*inParent)(), void (*inChild)())
{
    if (::pthread_atfork(before, inParent, inChild) != 0)
    {
        throw std::bad_alloc(); // its only error
    }
}

} // namespace Ardo::Kiln::Platform
