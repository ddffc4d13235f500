#pragma once

#include <filesystem>
#include <string>

namespace Ardo::Kiln::Support
{

/// The result of a finished program.
struct ProcessResult
{
    int status;         ///< The exit status; 128 plus the number of the signal if a signal ended it.
    std::string output; ///< The text on standard output.
    std::string error;  ///< The text on standard error.
};

/// Runs a line of the system's shell and waits for its end. The working folder is \p folder; standard input is empty
/// unless the line redirects it.
ProcessResult RunShell(const std::string& line, const std::filesystem::path& folder);

/// Quotes any \p text as one word of such a line.
std::string Quoted(const std::string& text);

/// The bytes of a file; empty if it cannot be read.
std::string ReadFile(const std::filesystem::path& path);

/// Creates a file with these bytes, or replaces the bytes of the file.
void WriteFile(const std::filesystem::path& path, const std::string& bytes);

} // namespace Ardo::Kiln::Support
