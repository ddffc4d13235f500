#include "Ardo/Kiln/Platform/SharedAppendFile.h"

#include "Ardo/Kiln/Platform/ScopedHandle_win.h"
#include "Ardo/Kiln/Platform/SystemError.h"

#include <algorithm>

namespace Ardo::Kiln::Platform
{

namespace
{

// Everybody may write, rename and delete: that is how the others rotate a file that we have open.
constexpr DWORD ShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

} // namespace

struct SharedAppendFile::System
{
    ScopedHandle file;
    ScopedHandle mutex;
};

SharedAppendFile::SharedAppendFile() : m_system(std::make_unique<System>()) {}

SharedAppendFile::~SharedAppendFile() = default;

std::error_code SharedAppendFile::Open(const std::filesystem::path& path) noexcept
{
    // The right to append without the right to write makes each write go to the end, wherever that is by then.
    m_system->file = ScopedHandle(::CreateFileW(path.c_str(), FILE_APPEND_DATA | FILE_READ_DATA | FILE_READ_ATTRIBUTES,
                                                ShareAll, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!m_system->file)
    {
        return LastSystemError();
    }
    m_system->mutex = ScopedHandle(::CreateMutexW(nullptr, FALSE, L"Global\\TextLoggingMutex"));
    if (!m_system->mutex) // made by another user, who grants no more than waiting
    {
        m_system->mutex = ScopedHandle(::OpenMutexW(SYNCHRONIZE, FALSE, L"Global\\TextLoggingMutex"));
    }
    return {};
}

std::error_code SharedAppendFile::Append(std::string_view text, std::size_t& written) noexcept
{
    constexpr std::size_t MaxWrite = 1U << 30U;
    written = 0;
    while (written < text.size())
    {
        DWORD count = 0;
        const auto size = static_cast<DWORD>(std::min(text.size() - written, MaxWrite));
        if (!::WriteFile(m_system->file.Get(), text.data() + written, size, &count, nullptr))
        {
            return LastSystemError();
        }
        written += count;
    }
    return {};
}

SharedAppendFile::State SharedAppendFile::Inspect() const noexcept
{
    FILE_STANDARD_INFO info{};
    if (!::GetFileInformationByHandleEx(m_system->file.Get(), FileStandardInfo, &info, sizeof(info)))
    {
        return {};
    }
    return {static_cast<std::uint64_t>(info.EndOfFile.QuadPart), !info.DeletePending && info.NumberOfLinks != 0};
}

bool SharedAppendFile::IsAt(const std::filesystem::path& path) const noexcept
{
    const ScopedHandle other(::CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES, ShareAll, nullptr, OPEN_EXISTING,
                                           FILE_ATTRIBUTE_NORMAL, nullptr));
    BY_HANDLE_FILE_INFORMATION named{};
    BY_HANDLE_FILE_INFORMATION open{};
    return other && ::GetFileInformationByHandle(other.Get(), &named) &&
           ::GetFileInformationByHandle(m_system->file.Get(), &open) &&
           named.dwVolumeSerialNumber == open.dwVolumeSerialNumber && named.nFileIndexHigh == open.nFileIndexHigh &&
           named.nFileIndexLow == open.nFileIndexLow;
}

bool SharedAppendFile::EndsInsideLine(std::uint64_t size) const noexcept
{
    if (size == 0)
    {
        return false;
    }
    char last = '\n';
    DWORD count = 0;
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(size - 1);
    place.OffsetHigh = static_cast<DWORD>((size - 1) >> 32U);
    return ::ReadFile(m_system->file.Get(), &last, 1, &count, &place) && count == 1 && last != '\n';
}

void SharedAppendFile::TakeBack(std::size_t count) noexcept
{
    LARGE_INTEGER written{}; // the end of the last write, whoever has appended since
    if (!::SetFilePointerEx(m_system->file.Get(), LARGE_INTEGER{}, &written, FILE_CURRENT) ||
        written.QuadPart < static_cast<LONGLONG>(count) ||
        Inspect().size != static_cast<std::uint64_t>(written.QuadPart))
    {
        return;
    }
    // Cutting needs the right to write, which the appending handle must not have.
    const ScopedHandle writer(::ReOpenFile(m_system->file.Get(), GENERIC_WRITE, ShareAll, 0));
    FILE_END_OF_FILE_INFO end{};
    end.EndOfFile.QuadPart = written.QuadPart - static_cast<LONGLONG>(count);
    if (writer)
    {
        // If it fails, the next writer finds an unfinished line at the end and begins a new one.
        ::SetFileInformationByHandle(writer.Get(), FileEndOfFileInfo, &end, sizeof(end));
    }
}

void SharedAppendFile::FlushToDisk() noexcept
{
    ::FlushFileBuffers(m_system->file.Get());
}

bool SharedAppendFile::Lock(std::chrono::milliseconds patience) noexcept
{
    if (!m_system->mutex)
    {
        return false;
    }
    const DWORD result = ::WaitForSingleObject(m_system->mutex.Get(), static_cast<DWORD>(patience.count()));
    return result == WAIT_OBJECT_0 || result == WAIT_ABANDONED; // abandoned: its holder died, and it is ours now
}

void SharedAppendFile::Unlock() noexcept
{
    ::ReleaseMutex(m_system->mutex.Get());
}

} // namespace Ardo::Kiln::Platform
