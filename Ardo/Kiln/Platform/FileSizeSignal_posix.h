#pragma once

#include <cerrno>
#include <csignal>
#include <ctime>

namespace Ardo::Kiln::Platform
{

/// Blocks SIGXFSZ for the calling thread while the object exists: a write beyond the process's limit on file sizes then
/// fails with EFBIG, and the signal does not end the process. The destructor preserves errno.
class FileSizeSignalBlock
{
public:
    FileSizeSignalBlock() noexcept
    {
        sigset_t pending;
        ::sigemptyset(&pending);
        ::sigpending(&pending);
        m_wasPending = ::sigismember(&pending, SIGXFSZ) == 1;
        ::sigemptyset(&m_signals);
        ::sigaddset(&m_signals, SIGXFSZ);
        ::pthread_sigmask(SIG_BLOCK, &m_signals, &m_before);
    }
    ~FileSizeSignalBlock()
    {
        const int error = errno;
        constexpr std::timespec NoTime{};
        // A signal that was pending before belongs to the application.
        while (!m_wasPending && ::sigtimedwait(&m_signals, nullptr, &NoTime) == SIGXFSZ)
        {
        }
        ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
        errno = error;
    }
    FileSizeSignalBlock(const FileSizeSignalBlock&) = delete;
    FileSizeSignalBlock& operator=(const FileSizeSignalBlock&) = delete;

private:
    sigset_t m_signals;
    sigset_t m_before;
    bool m_wasPending;
};

} // namespace Ardo::Kiln::Platform
