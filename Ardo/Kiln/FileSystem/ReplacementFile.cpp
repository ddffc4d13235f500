#include "Ardo/Kiln/FileSystem/ReplacementFile.h"

#include "Ardo/Kiln/Platform/FileReplacement.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <fstream>
#include <random>
#include <string>

namespace Ardo::Kiln::FileSystem
{

namespace fs = std::filesystem;

namespace
{

fs::path TemporaryNameBeside(const fs::path& target)
{
    std::random_device random;
    std::array<char, 8> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), random(), 16).ptr;
    fs::path name = ".";
    name += target.filename();
    name += "." + std::string(digits.data(), end) + ".part";
    return target.parent_path() / name;
}

fs::path FollowLinks(const fs::path& path)
{
    std::error_code error;
    const fs::path resolved = fs::canonical(path, error);
    return error ? path : resolved; // what does not exist yet is no link to anything that does
}

} // namespace

ReplacementFile::ReplacementFile(const fs::path& target) : m_target(FollowLinks(target))
{
    const fs::file_status status = fs::status(m_target);
    if (fs::exists(status) && !fs::is_regular_file(status))
    {
        throw fs::filesystem_error(
            "not a regular file", m_target,
            std::make_error_code(fs::is_directory(status) ? std::errc::is_a_directory : std::errc::invalid_argument));
    }
    // A rename would replace a read-only file without a word.
    if (fs::exists(status) && (status.permissions() & fs::perms::owner_write) == fs::perms::none)
    {
        throw fs::filesystem_error("read-only file", m_target, std::make_error_code(std::errc::permission_denied));
    }

    do
    {
        m_path = TemporaryNameBeside(m_target);
    } while (fs::exists(m_path));
    errno = 0;
    if (!std::ofstream(m_path, std::ios::binary))
    {
        throw fs::filesystem_error("cannot create file", m_path,
                                   std::error_code(errno != 0 ? errno : EIO, std::generic_category()));
    }
}

ReplacementFile::~ReplacementFile()
{
    if (!m_path.empty())
    {
        std::error_code ignored; // the target was never touched; at worst a hidden part file stays
        fs::remove(m_path, ignored);
    }
}

void ReplacementFile::Commit()
{
    if (const std::error_code error = Platform::FlushToDisk(m_path))
    {
        throw fs::filesystem_error("cannot write file", m_target, error);
    }
    std::error_code ignored; // a file system without permissions has none to keep
    if (const fs::file_status status = fs::status(m_target, ignored); fs::exists(status))
    {
        fs::permissions(m_path, status.permissions(), ignored);
    }
    if (const std::error_code error = Platform::RenameReplacing(m_path, m_target))
    {
        throw fs::filesystem_error("cannot replace file", m_target, error);
    }
    m_path.clear();
}

} // namespace Ardo::Kiln::FileSystem
