#include "Ardo/Kiln/Crash/Fault/ProcessEnding_linux.h"

#include <signal.h>

namespace Ardo::Kiln::Crash
{

bool ProcessEnding::Poll() noexcept
{
    sigset_t pending;
    if (!m_isRequested && sigpending(&pending) == 0)
    {
        for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT})
        {
            struct sigaction action = {};
            if (sigismember(&pending, signal) == 1 && sigaction(signal, nullptr, &action) == 0 &&
                ((action.sa_flags & SA_SIGINFO) != 0 || action.sa_handler != SIG_IGN))
            {
                m_isRequested = true;
            }
        }
    }
    return m_isRequested;
}

} // namespace Ardo::Kiln::Crash
