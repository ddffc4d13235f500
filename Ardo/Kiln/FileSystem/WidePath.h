#pragma once

#include "Ardo/KilnExport.h"

#include <filesystem>
#include <string>

namespace Ardo::Kiln::FileSystem
{

// Conversions between paths, wide text (which the functions of the library take) and text for people. Any thread may
// call them.
//
// On Windows the wide text is the path itself. On Linux a path is a sequence of bytes, which is read as UTF-8 in every
// locale. The conversions of `std::filesystem::path` (its constructor from wide text, `wstring()`) depend on the locale
// and throw for most names in the locale "C".
//
// A name on Linux need not be valid UTF-8. Each byte from 0x80 to 0xFF that is not part of valid UTF-8 is represented
// by the unit U+DC80 to U+DCFF, a lone surrogate, which valid text does not contain (PEP 383, "surrogateescape"). So
// ToPath(ToWide(path)) is the same path for every path. Conversion::String::ToUtf8 refuses wide text with such a unit.

/// The path with the wide text \p text.
/// \throws std::range_error of Conversion::String::ToUtf8 on Linux for a surrogate other than U+DC80 to U+DCFF and for
///         a value above 0x10FFFF.
KILN_EXPORT std::filesystem::path ToPath(const std::wstring& text);

/// The wide text of a path.
///
///     TiffReader reader;
///     reader.Open(FileSystem::ToWide(path));
/// \throws std::bad_alloc only.
KILN_EXPORT std::wstring ToWide(const std::filesystem::path& path);

/// The text of a path for messages, logs and records: always valid UTF-8. The replacement character U+FFFD replaces
/// each byte or unit that is not part of valid text. The result is then not a name of the file.
/// \throws std::bad_alloc only.
KILN_EXPORT std::string ToDisplayText(const std::filesystem::path& path);

} // namespace Ardo::Kiln::FileSystem
