#include "Ardo/Kiln/Platform/PartialFile.h"

#include "Ardo/Kiln/Platform/FileRename.h"
#include "Ardo/Kiln/Platform/ScopedHandle_win.h"
#include "Ardo/Kiln/Platform/SystemError.h"

namespace Ardo::Kiln::Platform
{

namespace
{

namespace fs = std::filesystem;

} // namespace

struct PartialFile::System
{
    System() = default;
    ~System()
    {
        if (!path.empty())
        {
            file = ScopedHandle();
            ::DeleteFileW(path.c_str());
        }
    }
    System(const System&) = delete;
    System& operator=(const System&) = delete;

    ScopedHandle file; ///< Has write access, without which it cannot be flushed.
    fs::path path;     ///< Empty once the file has its final name.
};

PartialFile::PartialFile() = default;

PartialFile::~PartialFile() = default;

fs::path PartialFile::Path() const
{
    return m_system != nullptr ? m_system->path : fs::path();
}

std::error_code PartialFile::Create(const fs::path& folder, Rights)
{
    ScopedHandle file;
    fs::path path;
    do
    {
        path = folder / RandomName();
        file = ScopedHandle(::CreateFileW(path.c_str(), GENERIC_WRITE,
                                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, CREATE_NEW,
                                          FILE_ATTRIBUTE_NORMAL, nullptr));
    } while (!file && ::GetLastError() == ERROR_FILE_EXISTS);
    if (!file)
    {
        return LastSystemError();
    }
    m_system = std::make_unique<System>();
    m_system->file = std::move(file);
    m_system->path = std::move(path);
    return {};
}

std::error_code PartialFile::MoveTo(const fs::path& target)
{
    if (!::FlushFileBuffers(m_system->file.Get()))
    {
        return LastSystemError();
    }
    if (const std::error_code error = RenameFile(m_system->path, target))
    {
        return error;
    }
    m_system->path.clear();
    m_system.reset();
    return {};
}

} // namespace Ardo::Kiln::Platform
