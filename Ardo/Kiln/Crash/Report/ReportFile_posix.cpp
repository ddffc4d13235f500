#include "Ardo/Kiln/Crash/Report/ReportFile.h"

#include "Ardo/Kiln/Platform/ScopedDescriptor_posix.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ardo::Kiln::Crash
{

namespace
{

std::atomic<int> g_reserve = -1;

int DescriptorOf(void* file) noexcept
{
    return static_cast<int>(reinterpret_cast<std::intptr_t>(file));
}

std::uint32_t LastError() noexcept
{
    return static_cast<std::uint32_t>(errno);
}

} // namespace

std::uint32_t ReportFile::CreateNew(const std::filesystem::path& path, void*& file) noexcept
{
    const auto open = [&path]() noexcept
    { return ::open(path.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR); };
    int descriptor = open();
    if (descriptor == -1 && (errno == EMFILE || errno == ENFILE))
    {
        if (const int reserve = g_reserve.exchange(-1); reserve != -1)
        {
            ::close(reserve);
            descriptor = open();
        }
    }
    if (descriptor == 0) // a program that closed its standard input; null is "no file" here
    {
        descriptor = ::fcntl(0, F_DUPFD_CLOEXEC, 3);
        const int error = errno;
        ::close(0);
        errno = error;
    }
    if (descriptor == -1)
    {
        return LastError();
    }
    file = reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor)); // NOLINT(performance-no-int-to-ptr)
    return 0;
}

std::uint32_t ReportFile::Write(std::string_view bytes) noexcept
{
    while (!bytes.empty())
    {
        const auto count = ::write(DescriptorOf(m_file), bytes.data(), bytes.size());
        if (count > 0)
        {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
        else if (count == 0 || errno != EINTR)
        {
            return count == 0 ? ENOSPC : LastError();
        }
    }
    return 0;
}

std::uint32_t ReportFile::FlushAndClose(void* file) noexcept
{
    // Some file systems cannot flush; others tell only now that the disk is full.
    const bool flushed = ::fsync(DescriptorOf(file)) == 0 || errno == EINVAL || errno == ENOSYS;
    const auto error = flushed ? 0 : LastError();
    return ::close(DescriptorOf(file)) != 0 && error == 0 && errno != EINTR ? LastError() : error;
}

std::uint32_t ReportFile::RenameToNew(const std::filesystem::path& from, const std::filesystem::path& to) noexcept
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
    {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS)
    {
        return LastError();
    }
    // The file system cannot do both in one step.
    if (struct stat status; ::lstat(to.c_str(), &status) == 0)
    {
        return EEXIST;
    }
    return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : LastError();
}

bool ReportFile::IsTaken(std::uint32_t error) noexcept
{
    return error == EEXIST;
}

void ReportFile::ReserveDescriptor() noexcept
{
    if (g_reserve == -1)
    {
        const int descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        int none = -1;
        if (descriptor != -1 && !g_reserve.compare_exchange_strong(none, descriptor))
        {
            ::close(descriptor);
        }
    }
}

std::string SystemErrorText(std::uint32_t error)
{
    const char* const text = ::strerrordesc_np(static_cast<int>(error));
    return text != nullptr ? text : "Unknown error";
}

} // namespace Ardo::Kiln::Crash
