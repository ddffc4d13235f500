#pragma once

#include "Ardo/Kiln/FileSystem/TemporaryFile.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace Ardo::Kiln::Tool
{

/// The name that stands for standard input or standard output.
inline constexpr std::string_view StandardStream = "-";

/// A file that a command reads. A pipe and standard input are copied to a temporary file, because readers of images
/// need one and read it more than once.
class InputFile
{
public:
    /// A file is not opened yet, because most readers open it themselves.
    /// \param name a path in UTF-8, or "-".
    /// \throws Failure when there is no such file, when it is a folder or a device, or when the copy fails.
    explicit InputFile(const std::string& name) : InputFile(name, false) {}
    /// \param isRegular it is known to be a regular file.
    InputFile(const std::string& name, bool isRegular);
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    /// The path as the library's image functions take it.
    std::wstring WidePath() const;

    /// The first 4096 bytes of the file, or all of a shorter one.
    /// \throws Failure when it cannot be read.
    std::string Head() const;

    /// The whole file.
    /// \throws Failure when it is longer than \p limit bytes or cannot be read.
    std::string Text(std::size_t limit) const;

private:
    std::string m_name; ///< For messages.
    std::optional<FileSystem::TemporaryFile> m_copy;
    std::filesystem::path m_path;
};

/// \p name as a path.
/// \param name UTF-8.
std::filesystem::path ToPath(const std::string& name);

/// The way back: ToPath(ToName(path)) is the same path.
std::string ToName(const std::filesystem::path& path);

/// Writes \p text to standard output.
/// \throws Failure when it cannot be written completely.
void Print(std::string_view text);

/// Writes \p text to a file that is complete or not there, or to standard output for "-".
/// \throws Failure.
void WriteText(const std::string& name, std::string_view text);

/// Calls \p write with the path of a new file, which then is the file \p name or goes to standard output for "-". A
/// file is complete or not there.
/// \throws Failure.
void WriteOutput(const std::string& name, const std::function<void(const std::wstring& path)>& write);

/// \throws UsageError if both names are the same file, which would be lost.
void RefuseInput(const std::string& input, const std::string& output);

/// The reason of a failure of FileSystem::ReplacementFile, for messages.
std::string ReasonOf(const std::filesystem::filesystem_error& error);

/// Copies a temporary file to standard output.
/// \throws Failure when it cannot be written completely.
void PrintFile(const std::filesystem::path& path);

/// \p text for a terminal: control characters, with which a hostile document could control it, become "?", and bytes
/// that are not UTF-8 become U+FFFD.
std::string Printable(std::string_view text);

/// Appends \p text to \p target as Printable gives it.
void AppendPrintable(std::string& target, std::string_view text);

} // namespace Ardo::Kiln::Tool
