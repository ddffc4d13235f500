#include "tests/Kiln/Logger/LogWriterProcess.h"

#include <csignal>
#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

namespace Ardo::Kiln::Logger
{

int RunInForkedChild(const std::function<void()>& function)
{
    int status = 0;
    const pid_t child = ::fork();
    child > 0 ? void(::waitpid(child, &status, 0)) : function();
    return status == 0 ? 0 : 1;
}

void KillThisProcess()
{
    std::raise(SIGKILL);
    std::abort(); // not reached
}

void AbortSilently()
{
    std::abort();
}

} // namespace Ardo::Kiln::Logger
