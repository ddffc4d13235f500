#include "Ardo/Kiln/Crash/Fault/FaultProcess_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultThread_linux.h"
#include "Ardo/Kiln/Crash/Fault/LastThrow_linux.h"

#include <signal.h>

#include <cstdlib>
#include <exception>

namespace Ardo::Kiln::Crash
{

namespace
{

std::terminate_handler g_previous = nullptr;

[[noreturn]] void OnTerminate()
{
    // The handlers below print to a stream that nobody may read any more. The process must live until it has reported.
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
    AdoptThread();
    FaultThread* const thread = OwnFaultThread();
    if (thread != nullptr)
    {
        thread->terminating = RememberCurrentException(*thread);
    }
    if (g_previous != nullptr)
    {
        g_previous();
    }
    abort();
}

} // namespace

void InstallTerminateHandler() noexcept
{
    g_previous = std::set_terminate(OnTerminate);
}

} // namespace Ardo::Kiln::Crash
