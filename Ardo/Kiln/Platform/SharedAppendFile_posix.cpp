#include "Ardo/Kiln/Platform/SharedAppendFile.h"

#include "Ardo/Kiln/Platform/FileSizeSignal_posix.h"
#include "Ardo/Kiln/Platform/ScopedDescriptor_posix.h"
#include "Ardo/Kiln/Platform/SystemError.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace Ardo::Kiln::Platform
{

struct SharedAppendFile::System
{
    ScopedDescriptor file;
};

SharedAppendFile::SharedAppendFile() : m_system(std::make_unique<System>()) {}

SharedAppendFile::~SharedAppendFile() = default;

std::error_code SharedAppendFile::Open(const std::filesystem::path& path) noexcept
{
    constexpr mode_t EverybodyWithinUmask = 0666;
    m_system->file = ScopedDescriptor(
        ::open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, EverybodyWithinUmask));
    return m_system->file ? std::error_code() : LastSystemError();
}

std::error_code SharedAppendFile::Append(std::string_view text, std::size_t& written) noexcept
{
    const FileSizeSignalBlock withoutSignal;
    written = 0;
    while (written < text.size())
    {
        const ssize_t count = ::write(m_system->file.Get(), text.data() + written, text.size() - written);
        if (count < 0 && errno != EINTR)
        {
            return LastSystemError();
        }
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return {};
}

SharedAppendFile::State SharedAppendFile::Inspect() const noexcept
{
    struct stat status
    {
    };
    if (::fstat(m_system->file.Get(), &status) != 0)
    {
        return {};
    }
    return {static_cast<std::uint64_t>(status.st_size), status.st_nlink != 0};
}

bool SharedAppendFile::IsAt(const std::filesystem::path& path) const noexcept
{
    struct stat named
    {
    };
    struct stat open
    {
    };
    return ::stat(path.c_str(), &named) == 0 && ::fstat(m_system->file.Get(), &open) == 0 &&
           named.st_ino == open.st_ino && named.st_dev == open.st_dev;
}

bool SharedAppendFile::EndsInsideLine(std::uint64_t size) const noexcept
{
    char last = '\n';
    return size > 0 && ::pread(m_system->file.Get(), &last, 1, static_cast<off_t>(size - 1)) == 1 && last != '\n';
}

void SharedAppendFile::TakeBack(std::size_t count) noexcept
{
    const off_t end = ::lseek(m_system->file.Get(), 0, SEEK_CUR); // of the last write, whoever has appended since
    if (end >= static_cast<off_t>(count) && Inspect().size == static_cast<std::uint64_t>(end))
    {
        // If it fails, the next writer finds an unfinished line at the end and begins a new one.
        static_cast<void>(::ftruncate(m_system->file.Get(), end - static_cast<off_t>(count)) == 0);
    }
}

void SharedAppendFile::FlushToDisk() noexcept
{
    static_cast<void>(::fdatasync(m_system->file.Get()));
}

bool SharedAppendFile::Lock(std::chrono::milliseconds patience) noexcept
{
    using namespace std::chrono_literals;
    // A waiting flock has no time limit, and its holder may be stopped in a debugger.
    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (std::chrono::microseconds pause = 10us;; pause = std::min<std::chrono::microseconds>(pause * 2, 1ms))
    {
        if (::flock(m_system->file.Get(), LOCK_EX | LOCK_NB) == 0)
        {
            return true;
        }
        if ((errno != EWOULDBLOCK && errno != EINTR) || std::chrono::steady_clock::now() >= deadline)
        {
            return false;
        }
        std::this_thread::sleep_for(pause);
    }
}

void SharedAppendFile::Unlock() noexcept
{
    static_cast<void>(::flock(m_system->file.Get(), LOCK_UN));
}

} // namespace Ardo::Kiln::Platform
