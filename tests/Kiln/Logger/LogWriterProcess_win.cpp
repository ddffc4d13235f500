#include "tests/Kiln/Logger/LogWriterProcess.h"

#include <csignal>
#include <cstdlib>
#include <windows.h>

namespace Ardo::Kiln::Logger
{

int RunInForkedChild(const std::function<void()>& /*function*/)
{
    return 1; // there is no fork
}

void KillThisProcess()
{
    ::TerminateProcess(::GetCurrentProcess(), 1);
    std::abort(); // not reached
}

void AbortSilently()
{
    std::signal(SIGABRT, [](int) { KillThisProcess(); }); // before the message
    std::abort();
}

} // namespace Ardo::Kiln::Logger
