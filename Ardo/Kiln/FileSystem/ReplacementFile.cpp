#include "Ardo/Kiln/FileSystem/ReplacementFile.h"

#include "Ardo/Kiln/FileSystem/FileAttributes.h"
#include "Ardo/Kiln/FileSystem/FileError.h"
#include "Ardo/Kiln/Platform/FileFlags.h"
#include "Ardo/Kiln/Platform/PartialFile.h"

namespace Ardo::Kiln::FileSystem
{

namespace fs = std::filesystem;

namespace
{

/// The absolute path of the file that \p path names, whether it exists or not. The last part of the result is no link.
fs::path FollowLinks(const fs::path& path)
{
    constexpr int MaxLinks = 40; // what the system itself follows

    std::error_code error;
    fs::path file = fs::absolute(path, error);
    for (int links = 0; !error && fs::is_symlink(fs::symlink_status(file, error)); ++links)
    {
        if (links == MaxLinks)
        {
            error = std::make_error_code(std::errc::too_many_symbolic_link_levels);
            break;
        }
        file = file.parent_path() / fs::read_symlink(file, error);
    }
    if (error && error != std::errc::no_such_file_or_directory)
    {
        throw FileError("cannot find file", path, error);
    }
    return file;
}

/// The path of the file that the rename replaces.
/// \throws FileError if writing to the file is not possible: a rename would replace it all the same.
fs::path CheckedTarget(const fs::path& path)
{
    if (path.native().find(fs::path::value_type()) != fs::path::string_type::npos)
    {
        // The system takes the path up to this character and would replace another file.
        throw FileError("cannot find file", path, std::make_error_code(std::errc::invalid_argument));
    }
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status))
    {
        return FollowLinks(path);
    }
    if (!fs::is_regular_file(status))
    {
        throw FileError(
            "not a regular file", path,
            std::make_error_code(fs::is_directory(status) ? std::errc::is_a_directory : std::errc::invalid_argument));
    }
    if (IsReadOnly(path) || !Platform::MayWrite(path))
    {
        throw FileError("read-only file", path, std::make_error_code(std::errc::permission_denied));
    }
    // The system resolves links that have no readable target, such as those of open files in /proc.
    fs::path target = fs::canonical(path, error);
    if (error)
    {
        throw FileError("cannot find file", path, error);
    }
    return target;
}

} // namespace

ReplacementFile::ReplacementFile(const fs::path& target)
    : m_target(CheckedTarget(target)), m_file(std::make_unique<Platform::PartialFile>())
{
    using Rights = Platform::PartialFile::Rights;

    std::error_code ignored; // a file whose status cannot be read cannot be replaced either
    const bool replaces = fs::exists(m_target, ignored);
    if (const auto error = m_file->Create(m_target.parent_path(), replaces ? Rights::Owner : Rights::NewFile))
    {
        throw FileError("cannot create file", m_target, error);
    }
}

ReplacementFile::~ReplacementFile() = default;

fs::path ReplacementFile::Path() const
{
    return m_file->Path();
}

std::wstring ReplacementFile::WidePath() const
{
    return ToWide(Path());
}

void ReplacementFile::Commit()
{
    if (Path().empty())
    {
        throw FileError("file was replaced before", m_target, std::make_error_code(std::errc::bad_file_descriptor));
    }
    if (const std::error_code error = m_file->MoveTo(m_target))
    {
        throw FileError("cannot replace file", m_target, error);
    }
}

} // namespace Ardo::Kiln::FileSystem
