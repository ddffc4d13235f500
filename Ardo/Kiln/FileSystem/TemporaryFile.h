#pragma once

#include "Ardo/KilnExport.h"

#include <filesystem>
#include <memory>
#include <string>

namespace Ardo::Kiln::Platform
{
class PartialFile;
}

namespace Ardo::Kiln::FileSystem
{

/// A new file in the system's temporary folder, accessible to this user only. The destructor removes it.
///
/// On Linux the file has no name if the file system supports that and /proc is mounted: a killed process then leaves
/// nothing. Otherwise it has a temporary name, and a killed process leaves the file.
///
/// One thread at a time.
class KILN_EXPORT TemporaryFile
{
public:
    /// Creates the empty file.
    /// \throws std::filesystem::filesystem_error when there is no temporary folder or no file can be created in it.
    TemporaryFile();
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    /// A path that opens the file for reading and writing, valid in this process only.
    std::filesystem::path Path() const;

    /// The same path as the image functions of the library take it: ToWide(Path()).
    std::wstring WidePath() const;

private:
    std::unique_ptr<Platform::PartialFile> m_file; ///< Never null.
};

} // namespace Ardo::Kiln::FileSystem
