#include "Ardo/Kiln/Platform/ProcFile_linux.h"

#include "Ardo/Kiln/Platform/ScopedDescriptor_posix.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Ardo::Kiln::Platform
{

namespace
{

ssize_t ReadSome(int descriptor, char* target, std::size_t size) noexcept
{
    ssize_t got = 0;
    do
    {
        got = ::read(descriptor, target, size);
    } while (got == -1 && errno == EINTR);
    return got;
}

} // namespace

ProcPath::ProcPath(std::int32_t process, std::int32_t thread, std::string_view name) noexcept
{
    Append("/proc/");
    Append(process);
    if (thread != 0)
    {
        Append("/task/");
        Append(thread);
    }
    Append("/");
    Append(name);
}

void ProcPath::Append(std::string_view text) noexcept
{
    const std::size_t length = std::min(text.size(), sizeof m_text - 1 - m_length);
    std::memcpy(m_text + m_length, text.data(), length);
    m_length += length;
}

void ProcPath::Append(std::int32_t number) noexcept
{
    m_length =
        static_cast<std::size_t>(std::to_chars(m_text + m_length, m_text + sizeof m_text - 1, number).ptr - m_text);
}

int ReadWholeFile(const char* path, MappedArray<char>& text, std::size_t limit) noexcept
{
    const ScopedDescriptor file(::open(path, O_RDONLY | O_CLOEXEC));
    if (!file)
    {
        return errno;
    }
    const std::size_t first = text.Size();
    std::size_t size = first;
    while (size - first < limit)
    {
        // The kernel returns about a page per read, and each read of a list walks the list from its beginning.
        const std::size_t piece = std::min(limit - (size - first), std::max<std::size_t>(size - first, 16384));
        if (!text.Resize(size + piece))
        {
            return ENOMEM;
        }
        const ssize_t got = ReadSome(file.Get(), text.begin() + size, piece);
        if (got <= 0)
        {
            const int error = got == 0 ? 0 : errno;
            text.Resize(size);
            return error;
        }
        size += static_cast<std::size_t>(got);
    }
    text.Resize(size);
    return 0;
}

std::string_view ReadSmallFile(const char* path, char* buffer, std::size_t size) noexcept
{
    const ScopedDescriptor file(::open(path, O_RDONLY | O_CLOEXEC));
    const ssize_t got = file ? ReadSome(file.Get(), buffer, size) : -1;
    return {buffer, got > 0 ? static_cast<std::size_t>(got) : 0};
}

std::uint64_t TakeNumber(std::string_view& text, int base) noexcept
{
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    text.remove_prefix(text.empty() ? 0 : 1);
    return error == std::errc() ? value : 0;
}

std::string_view TakeUntil(std::string_view& text, char separator) noexcept
{
    const std::size_t length = std::min(text.find(separator), text.size());
    const std::string_view taken = text.substr(0, length);
    text.remove_prefix(std::min(length + 1, text.size()));
    return taken;
}

int ReadThreadIds(std::int32_t process, MappedArray<std::int32_t>& ids) noexcept
{
    const ScopedDescriptor folder(::open(ProcPath(process, 0, "task").Text(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder)
    {
        return errno;
    }
    // opendir() would allocate. An entry: inode u64, offset u64, length u16, type u8, name.
    constexpr std::size_t nameOffset = 19;
    alignas(8) char buffer[2048];
    for (;;)
    {
        const long got = ::syscall(SYS_getdents64, folder.Get(), buffer, sizeof buffer);
        if (got <= 0)
        {
            return got == 0 ? 0 : errno;
        }
        for (long place = 0; place < got;)
        {
            std::uint16_t length = 0;
            std::memcpy(&length, buffer + place + 16, sizeof length);
            const char* const name = buffer + place + nameOffset;
            std::int32_t id = 0;
            std::from_chars(name, name + std::strlen(name), id);
            if (id != 0 && !ids.Add(id))
            {
                return ENOMEM;
            }
            place += length;
        }
    }
}

} // namespace Ardo::Kiln::Platform
