#pragma once

#include "Ardo/KilnExport.h"

#include <filesystem>
#include <memory>
#include <system_error>

namespace Ardo::Kiln::Platform
{

/// A new file that the destructor removes unless MoveTo() gives it a name.
///
/// On Linux the file has no name if the file system of the folder supports that and /proc is mounted: a killed process
/// then leaves nothing. Otherwise, and on Windows, it has the temporary name RandomName() in the folder.
/// One thread at a time.
class KILN_EXPORT_FOR_TESTS PartialFile
{
public:
    /// The permissions of the file on Linux until MoveTo(). On Windows the file inherits the access list of the folder.
    enum class Rights
    {
        Owner,  ///< read and write for the user of this process only
        NewFile ///< those of any new file of this process
    };

    PartialFile();
    ~PartialFile();
    PartialFile(const PartialFile&) = delete;
    PartialFile& operator=(const PartialFile&) = delete;

    /// Creates the empty file. To be called once.
    /// \param folder an absolute path.
    /// \throws std::bad_alloc, or std::exception without random numbers.
    /// \returns the system's reason on failure.
    std::error_code Create(const std::filesystem::path& folder, Rights rights);

    /// A path that opens the file, valid in this process only. Empty before Create() and after a successful MoveTo().
    std::filesystem::path Path() const;

    /// Flushes the file to the disk and gives it the name \p target, which is in the folder of Create(). A file of that
    /// name is replaced in one step: a program that opens \p target meanwhile gets the old or the new file. Then waits
    /// until the name is on the disk, too, if the file system supports that. The file must be closed elsewhere.
    ///
    /// On Linux the new file gets the permission bits of a replaced one without the set-user-ID and set-group-ID bits,
    /// and its group. If the system refuses the group, the group's permissions are reduced to those of others.
    /// \throws std::bad_alloc, or std::exception without random numbers.
    /// \returns the system's reason on failure. A file of that name is then unchanged, and this file stays temporary.
    std::error_code MoveTo(const std::filesystem::path& target);

    /// A file name that cannot be predicted: ".", 16 random hexadecimal digits and ".part".
    static std::filesystem::path RandomName();

private:
    struct System;
    std::unique_ptr<System> m_system; ///< Null before Create() and after MoveTo().
};

} // namespace Ardo::Kiln::Platform
