#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace Ardo::Kiln::FileSystem
{

// Text files: UTF-8 and UTF-16, with and without a byte order mark. In memory the text is UTF-8. Any thread may call
// the functions.

/// The encoding of a text file.
enum class TextEncoding : std::int32_t
{
    Utf8 = 0,              ///< UTF-8.
    Utf16LittleEndian = 1, ///< UTF-16, the low byte first: "Unicode" of Windows programs.
    Utf16BigEndian = 2,    ///< UTF-16, the high byte first.
};

/// The end of a line.
enum class LineEnd : std::int32_t
{
    Keep = 0,                   ///< The ends stay as they are.
    LineFeed = 1,               ///< "\n"
    CarriageReturnLineFeed = 2, ///< "\r\n"
};

/// How a text is stored in a file.
struct TextFormat
{
    TextEncoding encoding = TextEncoding::Utf8; ///< The encoding.
    bool hasMark = false;                       ///< A byte order mark stands before the text.
    LineEnd lineEnd = LineEnd::Keep;            ///< What each "\n", "\r\n" and "\r" becomes.

    bool operator==(const TextFormat&) const = default;
};

/// The contents of a text file.
struct TextFile
{
    std::string text;  ///< UTF-8, without the mark.
    TextFormat format; ///< How it was stored. The line end is that of the first line, Keep if there is none or "\r".
};

/// The largest file that is read unless the caller chooses another limit: 64 MiB.
inline constexpr std::uint64_t MaxTextFileSize = std::uint64_t{64} << 20U;

/// How ReadTextFile reads.
struct TextReading
{
    std::optional<TextEncoding> encoding{};  ///< Of a file without a mark. Not given: recognised, see ReadTextFile.
    LineEnd lineEnd = LineEnd::Keep;         ///< What each end of a line becomes in memory.
    std::uint64_t maxSize = MaxTextFileSize; ///< In bytes of the file.
};

/// Reads a whole text file.
///
/// A byte order mark decides the encoding. Without a mark a file is UTF-16 if exactly one of its first two bytes is 0,
/// otherwise UTF-8.
/// \throws std::filesystem::filesystem_error with valid UTF-8 text and one of these codes. invalid_argument: \p path is
///         no regular file. file_too_large: it is longer than the limit, or gets longer meanwhile.
///         illegal_byte_sequence: it is not valid in its encoding; the text has the offset of the first fault.
///         Otherwise the code of the system.
KILN_EXPORT TextFile ReadTextFile(const std::filesystem::path& path, const TextReading& reading = {});

/// Replaces the text of a file, or makes the file: in one step, so that nobody sees a part of it (ReplacementFile).
/// \param text UTF-8. It may contain NUL characters.
/// \throws std::filesystem::filesystem_error like ReplacementFile; with the code illegal_byte_sequence if \p text is
///         not valid UTF-8. The old file is then unchanged.
KILN_EXPORT void WriteTextFile(const std::filesystem::path& path, std::string_view text, const TextFormat& format = {});

} // namespace Ardo::Kiln::FileSystem
