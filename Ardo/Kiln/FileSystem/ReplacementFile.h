#pragma once

#include "Ardo/KilnExport.h"

#include <filesystem>

namespace Ardo::Kiln::FileSystem
{

/// A new file that takes the place of another only when it is complete.
///
/// It is written under a temporary name in the target's folder. Commit flushes it and gives it the target's name in one
/// step; without Commit the destructor removes it. A killed program or a full disk so never leaves half a file under
/// the target's name, and the old file stays until the new one is whole.
///
///     ReplacementFile file(target);
///     Write(file.Path());
///     file.Commit();
///
/// One thread at a time.
class KILN_EXPORT ReplacementFile
{
public:
    /// Creates the empty temporary file.
    /// \param target the final name. A symbolic link is followed: the file that it names is replaced, not the link.
    /// \throws std::filesystem::filesystem_error when the target is something other than a regular file, is read-only,
    ///         or when its folder does not take a new file.
    explicit ReplacementFile(const std::filesystem::path& target);

    /// Removes the temporary file unless Commit succeeded.
    ~ReplacementFile();
    ReplacementFile(const ReplacementFile&) = delete;
    ReplacementFile& operator=(const ReplacementFile&) = delete;

    /// Where to write: a path in the target's folder. The file exists and is empty at first.
    const std::filesystem::path& Path() const { return m_path; }

    /// Flushes the file to the disk and gives it the target's name, with the permissions of the file that it replaces.
    /// Whoever wrote it must have closed it.
    /// \throws std::filesystem::filesystem_error with the system's reason; the target is then as it was.
    void Commit();

private:
    std::filesystem::path m_target;
    std::filesystem::path m_path; ///< Empty once committed.
};

} // namespace Ardo::Kiln::FileSystem
