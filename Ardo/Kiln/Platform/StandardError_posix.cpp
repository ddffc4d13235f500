#include "Ardo/Kiln/Platform/StandardError.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <ctime>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

namespace Ardo::Kiln::Platform
{

namespace
{

/// Blocks SIGPIPE for the calling thread, and takes the one that a write has raised. System calls only.
class ScopedNoPipeSignal
{
public:
    ScopedNoPipeSignal() noexcept
    {
        sigemptyset(&m_pipe);
        sigaddset(&m_pipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &m_pipe, &m_before);
        sigset_t pending;
        m_wasPending =
            sigismember(&m_before, SIGPIPE) == 1 && sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1;
    }

    ~ScopedNoPipeSignal()
    {
        if (m_wasRaised && !m_wasPending)
        {
            constexpr timespec AtOnce = {};
            sigtimedwait(&m_pipe, nullptr, &AtOnce);
        }
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }

    ScopedNoPipeSignal(const ScopedNoPipeSignal&) = delete;
    ScopedNoPipeSignal& operator=(const ScopedNoPipeSignal&) = delete;

    /// A write has failed with EPIPE.
    void NoteRaised() noexcept { m_wasRaised = true; }

private:
    sigset_t m_pipe;
    sigset_t m_before;
    bool m_wasPending = false;
    bool m_wasRaised = false;
};

int DescriptorFlags() noexcept
{
    return ::fcntl(STDERR_FILENO, F_GETFD);
}

// Whether number 2 has been free since the library was loaded: what has it now may be a file of the application.
std::atomic<bool> g_wasClosed = DescriptorFlags() < 0;

} // namespace

bool HasStandardError() noexcept
{
    const int flags = DescriptorFlags();
    if (flags < 0)
    {
        g_wasClosed = true;
    }
    return !g_wasClosed && (flags & FD_CLOEXEC) == 0 && ::fileno(stderr) == STDERR_FILENO;
}

void WriteStandardError(std::string_view text) noexcept
{
    const int error = errno; // a signal handler leaves it as it was
    if (HasStandardError())
    {
        ScopedNoPipeSignal noPipeSignal;
        while (!text.empty())
        {
            const auto count = ::write(STDERR_FILENO, text.data(), text.size());
            if (count > 0)
            {
                text.remove_prefix(static_cast<std::size_t>(count));
            }
            else if (count == 0 || errno != EINTR)
            {
                if (count < 0 && errno == EPIPE)
                {
                    noPipeSignal.NoteRaised();
                }
                break;
            }
        }
    }
    errno = error;
}

} // namespace Ardo::Kiln::Platform
