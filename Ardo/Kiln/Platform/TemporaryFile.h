#pragma once

#include "Ardo/KilnExport.h"

#include <filesystem>
#include <memory>
#include <system_error>

namespace Ardo::Kiln::Platform
{

/// A new file that is gone with its object unless MoveTo() gives it a name.
///
/// On Linux it has no name where the folder's file system has such files and /proc is mounted: then nothing is left of
/// it even if the process is killed. Otherwise, and on Windows, it has a temporary name in the folder, RandomName().
/// One thread at a time.
class KILN_EXPORT_FOR_TESTS TemporaryFile
{
public:
    /// Who may use the file on Linux until MoveTo(). On Windows it gets the access list that the folder hands down.
    enum class Rights
    {
        Owner,  ///< the user of this process alone
        NewFile ///< whoever may use a new file of this process
    };

    TemporaryFile();
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    /// Creates the empty file. To be called once. \p folder: absolute.
    /// \throws std::bad_alloc, or std::exception without random numbers.
    /// \returns the system's reason on failure.
    std::error_code Create(const std::filesystem::path& folder, Rights rights);

    /// Opens the file, in this process only, until MoveTo() has succeeded. Empty before Create() and after MoveTo().
    std::filesystem::path Path() const;

    /// Writes the file to the disk and gives it the name \p target, which lies in the folder of Create(), replacing a
    /// file of that name in one step: who opens it meanwhile gets the old file or the new one. Then waits until the
    /// name is on the disk, too, where the file system can do that. Others must have closed the file.
    ///
    /// On Linux the new file gets the permission bits of a replaced one without the set-user-ID and set-group-ID bits,
    /// and its group. If the system refuses the group, the group's permissions are reduced to those of others.
    /// \throws std::bad_alloc, or std::exception without random numbers.
    /// \returns the system's reason on failure; then a file of that name is as it was, and this one stays temporary.
    std::error_code MoveTo(const std::filesystem::path& target);

    /// A name for a file that no other file has, unknown to others: ".", 16 random hexadecimal digits and ".part".
    static std::filesystem::path RandomName();

private:
    struct System;
    std::unique_ptr<System> m_system; ///< Null before Create() and after MoveTo().
};

} // namespace Ardo::Kiln::Platform
