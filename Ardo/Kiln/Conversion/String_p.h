#pragma once

#include "Ardo/KilnExport.h"

#include <cstddef>
#include <string_view>
#include <type_traits>

namespace Ardo::Kiln::Conversion
{

/// Checks that the system's conversion accepts a text of \p length code units.
/// \throws std::range_error with "bad conversion, invalid parameter" from 2^31 units on.
KILN_EXPORT_FOR_TESTS void CheckLength(std::size_t length);

/// True if all units of \p text are below 0x80.
template <typename Char>
bool IsAscii(std::basic_string_view<Char> text) noexcept
{
    // Without an early return the compiler vectorises the loop. Most texts are short or ASCII.
    std::make_unsigned_t<Char> bits = 0;
    for (const Char unit : text)
    {
        bits |= static_cast<std::make_unsigned_t<Char>>(unit);
    }
    return bits < 0x80;
}

} // namespace Ardo::Kiln::Conversion
