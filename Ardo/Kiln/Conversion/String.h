#pragma once

#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::Conversion
{

/// Converts between UTF-8 and wide text. Documents and logs are UTF-8; file names and texts for users are wide.
///
/// Wide text is UTF-16 on Windows; elsewhere a `wchar_t` has four bytes and holds one code point. Both directions are
/// strict: nothing is replaced or left out. NUL characters are converted like any other. Any thread may call them.
///
///     std::wstring name = Conversion::String::FromUtf8("25 \xC2\xB5m");
struct KILN_EXPORT String
{
    /// Converts UTF-8 to wide text; an empty text gives an empty text.
    /// \throws std::range_error with "bad conversion, converting: " and the system's error number in decimal (1113: no
    ///         such character in Unicode) if \p text is not valid UTF-8. Overlong forms, encoded surrogates, values
    ///         above 0x10FFFF and incomplete sequences are invalid.
    /// \throws std::range_error with "bad conversion, invalid parameter" if \p text has 2^31 bytes or more.
    static std::wstring FromUtf8(const std::string& text);

    /// Converts wide text to UTF-8; an empty text gives an empty text.
    /// \throws std::range_error with "bad conversion, converting: " and the system's error number in decimal (1113: no
    ///         such character in Unicode) if \p text contains an unpaired surrogate (where a unit is a code point: any
    ///         surrogate, or a value above 0x10FFFF).
    /// \throws std::range_error with "bad conversion, invalid parameter" if \p text has 2^31 units or more.
    static std::string ToUtf8(const std::wstring& text);
};

} // namespace Ardo::Kiln::Conversion
