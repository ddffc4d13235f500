#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Ardo::Kiln::Support
{

/// The result of a finished program.
struct ProcessResult
{
    int status;         ///< The exit status; 128 plus the number of the signal if a signal ended it.
    std::string output; ///< The text on standard output.
    std::string error;  ///< The text on standard error.
};

/// A program to be run, without a shell.
struct Program
{
    std::vector<std::string> words;    ///< The program and its arguments, in UTF-8.
    std::filesystem::path folder = {}; ///< The working folder; empty: that of this process.
    std::string input = {};            ///< What standard input holds.
    std::vector<std::pair<std::string, std::string>> variables = {}; ///< Additional environment variables.
};

/// Starts all \p programs, waits until all have ended, and returns their results in the same order.
std::vector<ProcessResult> RunSideBySide(const std::vector<Program>& programs);

/// Starts a program and waits for its end.
ProcessResult Run(const Program& program);

/// Runs a program that is written as a command line: words, of which those in single quotes may contain blanks. "<" and
/// ">" before the last words redirect standard input and standard output to files, as in a shell.
/// \param folder the working folder.
ProcessResult RunLine(const std::string& line, const std::filesystem::path& folder);

/// Runs a line of the system's shell and waits for its end. The working folder is \p folder; standard input is empty
/// unless the line redirects it. Only on systems with a POSIX shell.
ProcessResult RunShell(const std::string& line, const std::filesystem::path& folder);

/// Quotes any \p text as one word of such a line.
std::string Quoted(const std::string& text);

/// The bytes of a file; empty if it cannot be read.
std::string ReadFile(const std::filesystem::path& path);

/// Creates a file with these bytes, or replaces the bytes of the file.
void WriteFile(const std::filesystem::path& path, const std::string& bytes);

/// How often \p text has \p part.
std::size_t Count(const std::string& text, const std::string& part);

/// \p text with each \p from replaced by \p to.
std::string Replaced(std::string text, const std::string& from, const std::string& to);

} // namespace Ardo::Kiln::Support
