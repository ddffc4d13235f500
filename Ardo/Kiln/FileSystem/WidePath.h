#pragma once

#include "Ardo/KilnExport.h"

#include <filesystem>
#include <string>

namespace Ardo::Kiln::FileSystem
{

// Paths as wide text, which is what the library's functions take, and as text for people. Any thread may call the
// functions.
//
// On Windows the wide text is the path. On Linux a path is bytes, which are taken as UTF-8 whatever the locale; the
// conversions of `std::filesystem::path` itself (its constructor from wide text, `wstring()`) follow the locale instead
// and throw for most names in the locale "C". The bytes of a name need not be UTF-8. Each byte from 0x80 to 0xFF that
// is no part of UTF-8 travels as the unit U+DC80 to U+DCFF, a lone surrogate that no valid text contains (the
// convention that Python calls "surrogateescape", PEP 383). So every path comes back from its wide text as it was.
// Wide text with such a unit is no valid Unicode: Conversion::String::ToUtf8 refuses it.

/// The path of a wide text.
/// \throws std::range_error of Conversion::String::ToUtf8 on Linux for a surrogate other than U+DC80 to U+DCFF and for
///         a value above 0x10FFFF.
KILN_EXPORT std::filesystem::path ToPath(const std::wstring& text);

/// The wide text of a path: ToPath(ToWide(path)) is \p path.
/// \throws std::bad_alloc only.
///
///     TiffReader reader;
///     reader.Open(FileSystem::ToWide(path));
KILN_EXPORT std::wstring ToWide(const std::filesystem::path& path);

/// The text of a path in messages, logs and records: always valid UTF-8. U+FFFD, the replacement character, takes the
/// place of each byte or unit that is no part of valid text, so that the result does not always name the file.
/// \throws std::bad_alloc only.
KILN_EXPORT std::string ToDisplayText(const std::filesystem::path& path);

} // namespace Ardo::Kiln::FileSystem
