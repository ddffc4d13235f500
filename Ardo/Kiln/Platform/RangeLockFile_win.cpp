#include "Ardo/Kiln/Platform/RangeLockFile.h"

#include "Ardo/Kiln/Platform/ScopedHandle_win.h"
#include "Ardo/Kiln/Platform/SystemError.h"

namespace Ardo::Kiln::Platform
{

namespace
{

OVERLAPPED At(std::uint64_t offset) noexcept
{
    OVERLAPPED place = {};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32U);
    return place;
}

} // namespace

struct RangeLockFile::System
{
    ScopedHandle file;
};

RangeLockFile::RangeLockFile() : m_system(std::make_unique<System>()) {}

RangeLockFile::~RangeLockFile() = default;

std::error_code RangeLockFile::Open(const std::filesystem::path& path) noexcept
{
    // Without the right to delete for others: the file stays as long as somebody holds a lock.
    m_system->file =
        ScopedHandle(::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                   nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_HIDDEN, nullptr));
    return m_system->file ? std::error_code() : LastSystemError();
}

bool RangeLockFile::IsAt(const std::filesystem::path&) const noexcept
{
    return true; // nobody can remove or rename an open file that was opened without the right to delete
}

std::error_code RangeLockFile::TryLock(std::uint64_t offset, Kind kind) noexcept
{
    // A second lock of one handle on one byte would be refused or count twice.
    Unlock(offset);
    OVERLAPPED place = At(offset);
    const DWORD flags = LOCKFILE_FAIL_IMMEDIATELY | (kind == Kind::Exclusive ? LOCKFILE_EXCLUSIVE_LOCK : 0);
    if (::LockFileEx(m_system->file.Get(), flags, 0, 1, 0, &place))
    {
        return {};
    }
    const DWORD error = ::GetLastError();
    return error == ERROR_LOCK_VIOLATION || error == ERROR_IO_PENDING
               ? std::make_error_code(std::errc::resource_unavailable_try_again)
               : std::error_code(static_cast<int>(error), SystemErrors());
}

void RangeLockFile::Unlock(std::uint64_t offset) noexcept
{
    OVERLAPPED place = At(offset);
    ::UnlockFileEx(m_system->file.Get(), 0, 1, 0, &place);
}

} // namespace Ardo::Kiln::Platform
