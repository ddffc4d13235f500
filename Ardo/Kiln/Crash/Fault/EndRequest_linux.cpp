#include "Ardo/Kiln/Crash/Fault/EndRequest_linux.h"

#include <signal.h>

namespace Ardo::Kiln::Crash
{

bool EndRequest::Poll() noexcept
{
    sigset_t pending;
    if (!IsRequested() && sigpending(&pending) == 0)
    {
        for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT})
        {
            struct sigaction action = {};
            if (sigismember(&pending, signal) == 1 && sigaction(signal, nullptr, &action) == 0 &&
                ((action.sa_flags & SA_SIGINFO) != 0 || action.sa_handler != SIG_IGN))
            {
                m_isSignalled = true;
            }
        }
    }
    return IsRequested();
}

} // namespace Ardo::Kiln::Crash
