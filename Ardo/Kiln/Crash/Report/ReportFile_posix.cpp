#include "Ardo/Kiln/Crash/Report/ReportFile.h"

#include "Ardo/Kiln/Crash/Report/TextSink.h"
#include "Ardo/Kiln/Platform/DataFolder.h"

#include <array>
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

std::array<std::atomic<int>, 2> g_reserve = {-1, -1};

/// Gives a reserved descriptor back to the system.
/// \returns whether there was one.
bool ReleaseReserve() noexcept
{
    for (auto& reserve : g_reserve)
    {
        if (const int descriptor = reserve.exchange(-1); descriptor != -1)
        {
            ::close(descriptor);
            return true;
        }
    }
    return false;
}

/// Calls \p open, once more if the process has run out of descriptors and had one in reserve.
template <class Open>
int OpenWithReserve(Platform::NativeHandle& handle, Open open) noexcept
{
    int descriptor = open();
    if (descriptor == -1 && (errno == EMFILE || errno == ENFILE) && ReleaseReserve())
    {
        descriptor = open();
    }
    if (descriptor == -1)
    {
        return errno;
    }
    handle = Platform::NativeHandle(descriptor);
    return 0;
}

/// The file name of \p stem with an extension.
struct Name
{
    Name(const char* stem, std::string_view extension) noexcept
    {
        const std::size_t length = std::strlen(stem);
        std::memcpy(text, stem, length);
        std::memcpy(text + length, extension.data(), extension.size());
        text[length + extension.size()] = '\0';
    }
    char text[4096 + 32];
};

} // namespace

int ReportStem::OpenFolder(const char* folder) noexcept
{
    if (const int error = Platform::MakePrivateFolder(folder); error != 0)
    {
        return error;
    }
    const int error =
        OpenWithReserve(m_folder, [folder]() noexcept { return ::open(folder, O_PATH | O_DIRECTORY | O_CLOEXEC); });
    if (error != 0)
    {
        return error;
    }
    struct stat status = {};
    if (::fstat(static_cast<int>(m_folder.Get()), &status) != 0)
    {
        return errno;
    }
    // The path may lead elsewhere by now.
    return status.st_uid == ::geteuid() ? 0 : EACCES;
}

bool ReportStem::Exists(std::string_view extension) const noexcept
{
    struct stat status = {};
    return ::fstatat(static_cast<int>(m_folder.Get()), Name(m_path + m_nameAt, extension).text, &status,
                     AT_SYMLINK_NOFOLLOW) == 0;
}

int ReportStem::CreateNew(std::string_view extension, Platform::NativeHandle& file) const noexcept
{
    const Name name(m_path + m_nameAt, extension);
    return OpenWithReserve(file,
                           [&]() noexcept
                           {
                               return ::openat(static_cast<int>(m_folder.Get()), name.text,
                                               O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR);
                           });
}

int ReportStem::Rename(std::string_view from, std::string_view to) const noexcept
{
    const int folder = static_cast<int>(m_folder.Get());
    const Name source(m_path + m_nameAt, from);
    const Name target(m_path + m_nameAt, to);
    if (::renameat2(folder, source.text, folder, target.text, RENAME_NOREPLACE) == 0)
    {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS)
    {
        return errno;
    }
    // The file system cannot do both in one step.
    if (Exists(to))
    {
        return EEXIST;
    }
    return ::renameat(folder, source.text, folder, target.text) == 0 ? 0 : errno;
}

void ReportStem::Remove(std::string_view extension) const noexcept
{
    ::unlinkat(static_cast<int>(m_folder.Get()), Name(m_path + m_nameAt, extension).text, 0);
}

bool ReportStem::IsTaken(int error) noexcept
{
    return error == EEXIST;
}

int ReportStem::TakenError() noexcept
{
    return EEXIST;
}

int ReportStem::TooLongError() noexcept
{
    return ENAMETOOLONG;
}

int ReportFile::Write(std::string_view bytes) noexcept
{
    while (!bytes.empty())
    {
        const auto count = ::write(static_cast<int>(m_file.Get()), bytes.data(), bytes.size());
        if (count > 0)
        {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
        else if (count == 0 || errno != EINTR)
        {
            return count == 0 ? ENOSPC : errno;
        }
    }
    return 0;
}

int ReportFile::FlushAndClose() noexcept
{
    const auto file = static_cast<int>(m_file.Release());
    // Some file systems cannot flush; others report a full disk only now.
    const bool flushed = ::fsync(file) == 0 || errno == EINVAL || errno == ENOSYS;
    const int error = flushed ? 0 : errno;
    return ::close(file) != 0 && error == 0 && errno != EINTR ? errno : error;
}

void AppendSystemError(TextSink& text, int error) noexcept
{
    const char* const words = ::strerrordesc_np(error);
    text << (words != nullptr ? words : "Unknown error");
}

void ReportFile::ReserveDescriptors() noexcept
{
    for (auto& reserve : g_reserve)
    {
        if (reserve != -1)
        {
            continue;
        }
        const int descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        int none = -1;
        if (descriptor != -1 && !reserve.compare_exchange_strong(none, descriptor))
        {
            ::close(descriptor);
        }
    }
}

} // namespace Ardo::Kiln::Crash
