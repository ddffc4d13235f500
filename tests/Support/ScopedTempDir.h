#pragma once

#include <filesystem>
#include <string_view>

namespace Ardo::Kiln::Support
{

/// A new empty folder below the system's temporary folder, removed with everything in it by the destructor.
class ScopedTempDir
{
public:
    ScopedTempDir();
    ~ScopedTempDir();
    ScopedTempDir(const ScopedTempDir&) = delete;
    ScopedTempDir& operator=(const ScopedTempDir&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

    /// The path of an entry of the folder, whether it exists or not. \p name is UTF-8.
    std::filesystem::path operator/(std::string_view name) const;

private:
    std::filesystem::path m_path;
};

} // namespace Ardo::Kiln::Support
