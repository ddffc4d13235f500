#pragma once

#include "Ardo/KilnExport.h"

#include <filesystem>
#include <memory>
#include <string>

namespace Ardo::Kiln::Platform
{
class TemporaryFile;
}

namespace Ardo::Kiln::FileSystem
{

/// An empty file in the system's temporary folder, for this user alone, that is gone with its object.
///
/// On Linux it has no name where the file system has such files and /proc is mounted, so that nothing is left even of a
/// process that is killed. Otherwise it has a name of its own, which a killed process leaves behind.
///
/// One thread at a time.
class KILN_EXPORT TemporaryFile
{
public:
    /// \throws std::filesystem::filesystem_error when there is no temporary folder or it does not take a file.
    TemporaryFile();
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    /// Opens the file for reading and writing, in this process only.
    std::filesystem::path Path() const;

    /// The same as the library's image functions take it: ToWide(Path()).
    std::wstring WidePath() const;

private:
    std::unique_ptr<Platform::TemporaryFile> m_file; ///< Never null.
};

} // namespace Ardo::Kiln::FileSystem
