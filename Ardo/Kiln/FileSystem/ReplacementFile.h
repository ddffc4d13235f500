#pragma once

#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/KilnExport.h"

#include <concepts>
#include <filesystem>
#include <memory>
#include <string>

namespace Ardo::Kiln::Platform
{
class PartialFile;
}

namespace Ardo::Kiln::FileSystem
{

/// A new file that replaces another one when it is complete.
///
/// The file is written in the folder of the target, but not under its name. Commit() flushes it and gives it the name
/// in one step. Without Commit() the destructor removes it. So a killed program or a full disk never leaves an
/// incomplete file under the name of the target, and the old file exists until the new one is complete.
///
///     ReplacementFile file(target);  // a path or wide text
///     TiffExporter().WriteUInt16Image(file.WidePath(), pixels, width, height, &metadata);
///     file.Commit();
///
/// On Linux the file has no name until Commit() if the file system of the target supports that and /proc is mounted: a
/// program that is killed while it writes then leaves nothing. Otherwise, and always on Windows, the file has a
/// temporary name: ".", 16 hexadecimal digits and ".part". A killed program leaves that file. In either case a program
/// that is killed during the replacement may leave a complete file under a temporary name.
///
/// On Linux the new file gets the permission bits of the old one, without the set-user-ID and set-group-ID bits, and
/// its group. If the system refuses the group, the permissions of the group are reduced to those of others. Owner,
/// access list and other attributes of the old file are lost, and its other names (hard links) keep the old contents.
/// Without an old file, the new file has the permissions of any new file of the process. A file that will replace
/// another one is accessible to its owner only until Commit().
///
/// One thread at a time.
class KILN_EXPORT ReplacementFile
{
public:
    /// Creates the empty file.
    /// \param target the final name, absolute or relative to the current folder at the time of this call. A symbolic
    ///        link is followed, also to a file that does not exist yet; the link stays.
    /// \throws std::filesystem::filesystem_error when the target exists and is no regular file, is read-only (see
    ///         IsReadOnly) or not writable for this process, when links form a circle, or when no file can be created
    ///         in the folder. The text is valid UTF-8. The code is is_a_directory for a folder, invalid_argument for a
    ///         pipe, a device and an invalid name, permission_denied for a file that is not writable, and otherwise
    ///         that of the system.
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

    /// A path that opens the file, valid in this process until Commit(); empty after it. The caller writes to this file
    /// and must not replace it by another one.
    std::filesystem::path Path() const;

    /// The same path as the image functions of the library take it: ToWide(Path()).
    std::wstring WidePath() const;

    /// Flushes the file to the disk and gives it the name of the target. The file must be closed before.
    /// \throws std::filesystem::filesystem_error with the system's reason. The target is then unchanged, and Commit()
    ///         may be called again. Also throws after a successful Commit().
    void Commit();

private:
    std::filesystem::path m_target; ///< An absolute path that is no link.
    std::unique_ptr<Platform::PartialFile> m_file;
};

} // namespace Ardo::Kiln::FileSystem
