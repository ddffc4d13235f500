#pragma once

#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/KilnExport.h"

#include <concepts>
#include <filesystem>
#include <memory>
#include <string>

namespace Ardo::Kiln::Platform
{
class TemporaryFile;
}

namespace Ardo::Kiln::FileSystem
{

/// A new file that takes the place of another only when it is complete.
///
/// It is written in the target's folder without the target's name. Commit() flushes it and gives it the name in one
/// step; without Commit() the destructor removes it. A killed program or a full disk so never leaves half a file under
/// the target's name, and the old file stays until the new one is whole.
///
///     ReplacementFile file(target);  // a path or wide text
///     TiffExporter().WriteUInt16Image(file.WidePath(), pixels, width, height, &metadata);
///     file.Commit();
///
/// On Linux the file has no name at all until Commit() where the target's file system has such files and /proc is
/// mounted: a program that is killed while it writes leaves nothing. Otherwise, and always on Windows, it has a
/// temporary name: ".", 16 hexadecimal digits and ".part". A killed program leaves such a file; so does, in either
/// case, one that is killed at the very moment of the replacement, and that file is complete.
///
/// What belongs to the old file and not to its name is not taken over: its owner, its access list and other attributes,
/// and its further names (hard links), which go on naming the old contents. On Linux the permission bits are (without
/// the set-user-ID and set-group-ID bits), and the group where the system allows it; where it does not, the group's
/// permissions are reduced to those of others. A new file has the permissions of any new file of the process. Before
/// Commit() what will replace a file is for its owner alone.
///
/// One thread at a time.
class KILN_EXPORT ReplacementFile
{
public:
    /// Creates the empty file.
    /// \param target the final name; a relative one counts from the current folder of this moment. A symbolic link is
    ///        followed, also one to a file that does not exist yet: that file is written, and the link stays.
    /// \throws std::filesystem::filesystem_error when the target is something other than a regular file, is read-only
    ///         (see IsReadOnly) or may not be written by this process, when links lead in a circle, or when the folder
    ///         does not take a new file. Its text is valid UTF-8. The code is is_a_directory for a folder,
    ///         invalid_argument for a pipe, a device and a name that can be none, permission_denied for a file that may
    ///         not be written, else the system's.
    explicit ReplacementFile(const std::filesystem::path& target);

    /// The same for wide text: ToPath(\p target).
    /// \throws std::range_error of ToPath.
    template <std::convertible_to<std::wstring> Wide>
    explicit ReplacementFile(const Wide& target) : ReplacementFile(ToPath(target))
    {
    }

    /// Removes the file unless Commit() succeeded.
    ~ReplacementFile();
    ReplacementFile(const ReplacementFile&) = delete;
    ReplacementFile& operator=(const ReplacementFile&) = delete;

    /// Opens the file, in this process only, until Commit(); empty after it. To be opened and written as it is, not to
    /// be replaced by another file.
    std::filesystem::path Path() const;

    /// The same as the library's image functions take it: ToWide(Path()).
    std::wstring WidePath() const;

    /// Flushes the file to the disk and gives it the target's name. Whoever wrote it must have closed it.
    /// \throws std::filesystem::filesystem_error with the system's reason; the target is then as it was, and Commit()
    ///         may be tried again. After a success it throws, too.
    void Commit();

private:
    std::filesystem::path m_target; ///< Absolute, and no link.
    std::unique_ptr<Platform::TemporaryFile> m_file;
};

} // namespace Ardo::Kiln::FileSystem
