#pragma once

#include "Ardo/KilnExport.h"

#include <cstddef>
#include <string_view>

namespace Ardo::Kiln::Crash
{

/// Copies \p text into \p target, null-terminated, as valid UTF-8 on one line: texts of exceptions come from anywhere,
/// and none may look like further lines of a report.
///
/// Line ends and tabs become `\n`, `\r` and `\t`, other control characters and bytes that are not UTF-8 `\xHH`, the
/// line and paragraph separators of Unicode `\u2028` and the like. A text that does not fit is cut between two
/// characters and ends with " [cut: N bytes]", where N is the length of \p text in bytes.
/// \param size of \p target in
/// bytes, at least 64. No allocation, no lock, no locale; a signal handler may call it.
KILN_EXPORT_FOR_TESTS void CopyVisible(char* target, std::size_t size, std::string_view text) noexcept;

/// The same for an array.
template <std::size_t Size>
void CopyVisible(char (&target)[Size], std::string_view text) noexcept
{
    static_assert(Size >= 64);
    CopyVisible(target, Size, text);
}

} // namespace Ardo::Kiln::Crash
