#pragma once

#include "Ardo/Kiln/Formatting/Prefix.h"
#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::Formatting
{

/// The text of a quantity with an SI prefix that is chosen by the magnitude: "12.5 nm", "1.20 µs", "5 µmˉ¹".
///
/// Values are in base units (Units). Texts have "." and no grouping in every locale. NaN is written as "-", the
/// infinities as "∞" and "-∞"; no value is an error. Any thread may call every function. Rules for all functions:
///
/// - The prefix is raised to the power of the unit's first factor: 2.5e-12 m^2 is "2.5 µm²", 5e6 m^-1 is "5 µmˉ¹".
/// - Units::WithoutPrefix have no prefix. The prefix of a mass is that of the gram: 0.005 kg is "5 g".
/// - A unit "1/..." is written as reciprocal: "1/m" as "mˉ¹".
/// - 0 has the smallest allowed prefix.
/// - If a limited prefix makes the number 1e9 or more, it is written as "1.50E+09" and keeps its zeros.
/// - "°" follows the number without a space. "frame" is "frames" unless the value is within 0.01 of 1.
///
/// All functions throw std::invalid_argument ("invalid stoi argument") or std::out_of_range ("stoi argument out of
/// range") if the exponent of \p unit is malformed, see PrefixExponent.
///
///     SI(1234.5, L"m", 2)                // "1.23 km"
///     SI(1234.5, L"m", 2, Prefix::None)  // "1234.50 m"
/// \param decimals digits after the point, at most 1100. A negative number rounds to that power of ten; no decimals are
///        then written.
/// @{

/// Any prefix, no decimals.
KILN_EXPORT std::wstring SI(double value, const std::wstring& unit);

/// Any prefix.
KILN_EXPORT std::wstring SI(double value, const std::wstring& unit, int decimals);

/// The prefix \p prefix.
KILN_EXPORT std::wstring SI(double value, const std::wstring& unit, int decimals, Prefix prefix);

/// A prefix from \p minPrefix to \p maxPrefix.
KILN_EXPORT std::wstring SI(double value, const std::wstring& unit, int decimals, Prefix minPrefix, Prefix maxPrefix);

/// The form below with \p keepTrailingZeros true.
KILN_EXPORT std::wstring SI(double value, const std::wstring& unit, int decimals, double resolution, double reference,
                            Prefix minPrefix, Prefix maxPrefix);

/// The form with all parameters.
/// \param resolution in the base unit: as many decimals are written as show a difference of \p resolution.
///        \p decimals is then ignored. Its sign does not matter. 0 or not finite: not given.
/// \param reference in the base unit: selects the prefix instead of \p value, so that all numbers of a column can have
///        the same prefix. Its sign does not matter. Not finite: not given.
/// \param minPrefix the smallest prefix allowed.
/// \param maxPrefix the largest prefix allowed.
/// \param keepTrailingZeros false: zeros at the end of the decimals are left out.
KILN_EXPORT std::wstring SI(double value, const std::wstring& unit, int decimals, double resolution, double reference,
                            Prefix minPrefix, Prefix maxPrefix, bool keepTrailingZeros);

/// As many digits as \p uncertainty, in the base unit, justifies: 1234 m with 50 m is "1.23 km".
KILN_EXPORT std::wstring SIUsingUncertainty(double value, const std::wstring& unit, double uncertainty);

/// As many digits as \p uncertainty justifies, and the prefix of \p reference. Both are in the base unit.
KILN_EXPORT std::wstring SIUsingUncertainty(double value, const std::wstring& unit, double uncertainty,
                                            double reference);

/// @}

} // namespace Ardo::Kiln::Formatting
