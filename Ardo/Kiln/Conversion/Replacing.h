#pragma once

#include "Ardo/KilnExport.h"

#include <string>
#include <string_view>

namespace Ardo::Kiln::Conversion
{

// Conversions that accept any text, for logs, messages and file names. The replacement character U+FFFD replaces each
// unit that is not part of valid text. They throw std::bad_alloc only. Any thread may call them.

/// Appends \p utf8 to \p wide.
KILN_EXPORT void AppendReplacing(std::wstring& wide, std::string_view utf8);

/// Appends \p wide to \p utf8.
KILN_EXPORT void AppendReplacing(std::string& utf8, std::wstring_view wide);

/// Appends \p text, which may contain invalid UTF-8, to \p utf8.
KILN_EXPORT void AppendReplacing(std::string& utf8, std::string_view text);

} // namespace Ardo::Kiln::Conversion
