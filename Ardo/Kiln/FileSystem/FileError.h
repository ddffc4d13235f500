#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace Ardo::Kiln::FileSystem
{

/// A std::filesystem::filesystem_error whose text is always valid UTF-8, also for a path that is not.
class FileError : public std::filesystem::filesystem_error
{
public:
    /// \param operation what was attempted, in English.
    /// \param code the system's reason.
    FileError(const std::string& operation, const std::filesystem::path& path, std::error_code code);

    const char* what() const noexcept override { return m_text.what(); }

private:
    std::runtime_error m_text; ///< Copying an exception must not throw; copying std::runtime_error does not.
};

} // namespace Ardo::Kiln::FileSystem
