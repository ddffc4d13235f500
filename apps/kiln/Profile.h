#pragma once

#include "Ardo/Kiln/FileSystem/ReplacementFile.h"

#include <optional>
#include <string>

namespace Ardo::Kiln::Tool
{

/// Records the stages of a command, for --profile.
class Profile
{
public:
    /// Starts the recording and creates the file, so that a wrong name fails before the command does anything.
    /// \param file UTF-8; "-" is standard output; empty: nothing is recorded.
    /// \throws Failure if the file cannot be created.
    explicit Profile(const std::string& file);
    Profile(const Profile&) = delete;
    Profile& operator=(const Profile&) = delete;

    /// Ends the recording, writes the trace and prints the table to standard error.
    /// \throws Failure if the trace cannot be written.
    void Write();

private:
    const std::string m_name;
    std::optional<FileSystem::ReplacementFile> m_file; ///< Nothing for standard output.
};

} // namespace Ardo::Kiln::Tool
