#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

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

/// The names of the entries of a folder, in the order of their bytes.
std::vector<std::string> NamesIn(const std::filesystem::path& folder);

/// The permissions of a file, as chmod() takes them.
unsigned ModeOf(const std::filesystem::path& path);

} // namespace Ardo::Kiln::Support
