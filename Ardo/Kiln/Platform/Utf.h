#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Ardo::Kiln::Platform
{

/// Converts UTF-8 to wide text and fails for invalid text.
///
/// On Windows the wide text is UTF-16, converted by the system's code page 65001. On Linux one unit is one code point.
/// Overlong forms, surrogates, values above 0x10FFFF and incomplete sequences are invalid on both systems.
/// Any thread may call it.
/// \param text not empty, shorter than 2^31 bytes; may contain NUL.
/// \param wide receives the result; unspecified on failure.
/// \returns 0, or the system's error number: 1113, ERROR_NO_UNICODE_TRANSLATION, for invalid text.
/// \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS std::uint32_t Utf8ToWide(std::string_view text, std::wstring& wide);

/// Converts wide text to UTF-8. Invalid are unpaired surrogates on Windows, and surrogates and values above 0x10FFFF on
/// Linux. Parameters, result and exceptions are those of Utf8ToWide.
KILN_EXPORT_FOR_TESTS std::uint32_t WideToUtf8(std::wstring_view text, std::string& utf8);

} // namespace Ardo::Kiln::Platform
