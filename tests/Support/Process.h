#pragma once

#include <filesystem>
#include <string>

namespace Ardo::Kiln::Support
{

/// What a finished program left behind.
struct ProcessResult
{
    int status;         ///< Its exit status; 128 and the signal's number when a signal ended it.
    std::string output; ///< What it wrote to standard output.
    std::string error;  ///< What it wrote to standard error.
};

/// Runs a line of the system's shell to its end, with \p folder as working folder and nothing on standard input unless
/// the line says otherwise.
ProcessResult RunShell(const std::string& line, const std::filesystem::path& folder);

/// \p text as one word of such a line, whatever it contains.
std::string Quoted(const std::string& text);

/// The bytes of a file; empty when it cannot be read.
std::string ReadFile(const std::filesystem::path& path);

/// Replaces the bytes of a file.
void WriteFile(const std::filesystem::path& path, const std::string& bytes);

} // namespace Ardo::Kiln::Support
