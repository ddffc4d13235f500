#pragma once

#include "Ardo/KilnExport.h"

#include <optional>
#include <string>

namespace Ardo::Kiln::Formatting
{

/// The SI prefixes of quantities. The value of each is its decimal exponent.
enum class Prefix : int
{
    Femto = -15, ///< "f"
    Pico = -12,  ///< "p"
    Nano = -9,   ///< "n"
    Micro = -6,  ///< "µ", the micro sign
    Milli = -3,  ///< "m"
    None = 0,    ///< ""
    Kilo = 3,    ///< "k"
    Mega = 6,    ///< "M"
    Giga = 9,    ///< "G"
    Tera = 12,   ///< "T"
    Peta = 15,   ///< "P"
    Exa = 18,    ///< "E"
};

/// The symbol that is written before a unit: an empty text or one character. A value between two enumerators gives the
/// symbol of the smaller one, a value beyond them that of the nearest. Any thread may call it.
KILN_EXPORT const wchar_t* PrefixSymbol(Prefix prefix) noexcept;

/// The prefix with the symbol \p symbol; empty if there is none. "" is Prefix::None. The Greek letter mu and "u" are
/// read like the micro sign. Any thread may call it.
KILN_EXPORT std::optional<Prefix> PrefixFromSymbol(const std::wstring& symbol) noexcept;

} // namespace Ardo::Kiln::Formatting
