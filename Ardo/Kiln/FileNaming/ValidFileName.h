#pragma once

#include "Ardo/KilnExport.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace Ardo::Kiln::FileNaming
{

// Names of files and folders that are valid on Windows and on Linux. Any thread may call the functions; they throw
// std::bad_alloc only.

/// The longest name of a file or folder, in bytes of UTF-8. Windows counts 255 units of UTF-16, which are never more.
inline constexpr std::size_t MaxFileNameBytes = 255;

/// The name that is nearest to \p text and valid on both systems; the same text if it is valid already.
///
/// - `< > : " / \ | ? *`, control characters, marks of writing direction, invisible format characters and units that
///   are not part of valid text become "_".
/// - Blanks at both ends and dots at the end are removed; a dot at the beginning, which hides a file on Linux, becomes
///   "_".
/// - A name of a device of Windows, also with an extension, gets a "_": "con" becomes "con_", "NUL.tif" "NUL_.tif".
/// - The name is cut at a character to \p maxBytes.
/// \param text may be of any length.
/// \param maxBytes in UTF-8, from 1 to MaxFileNameBytes; other values are limited to this range.
/// \returns an empty text if no character is left.
KILN_EXPORT std::wstring ToValidFileName(std::wstring_view text, std::size_t maxBytes = MaxFileNameBytes);

/// True if \p name is not empty and ToValidFileName does not change it.
KILN_EXPORT bool IsValidFileName(std::wstring_view name);

} // namespace Ardo::Kiln::FileNaming
