#pragma once

#include "Ardo/Kiln/Formatting/Prefix.h"
#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::Formatting
{

/// Quantities as text with an SI prefix chosen from the magnitude: "12.5 nm", "1.20 µs", "5 µmˉ¹".
///
/// Values are in base units (Units), texts have "." and no grouping whatever the locale, and any thread may call every
/// function. NaN is shown as "-", the infinities as "∞" and "-∞"; no value is an error. What all forms share:
///
/// - The prefix counts with the power of the first factor of the unit: 2.5e-12 m^2 is "2.5 µm²", 5e6 m^-1 is "5 µmˉ¹".
/// - Units::WithoutPrefix get none. Mass gets its prefix on the gram: 0.005 kg is "5 g".
/// - A unit "1/..." is shown as reciprocal: "1/m" as "mˉ¹".
/// - 0 gets the smallest allowed prefix.
/// - A shown number of 1e9 or more, which a limited prefix can cause, is written as "1.50E+09" and keeps its zeros.
/// - "°" follows the number without a space; "frame" gets an "s" unless the value is within 0.01 of 1.
///
/// All throw std::invalid_argument ("invalid stoi argument") or std::out_of_range ("stoi argument out of range") if the
/// exponent of \p unit is malformed, see PrefixExponent.
///
///     SI(1234.5, L"m", 2)                // "1.23 km"
///     SI(1234.5, L"m", 2, Prefix::None)  // "1234.50 m"
/// \param decimals digits after the point, at most 1100. A negative count rounds to that power of ten and shows none.
/// @{

/// Without decimals, with any prefix.
KILN_EXPORT std::wstring SI(double value, const std::wstring& unit);

/// With any prefix.
KILN_EXPORT std::wstring SI(double value, const std::wstring& unit, int decimals);

/// With this prefix.
KILN_EXPORT std::wstring SI(double value, const std::wstring& unit, int decimals, Prefix prefix);

/// With a prefix between two bounds, both included.
KILN_EXPORT std::wstring SI(double value, const std::wstring& unit, int decimals, Prefix minPrefix, Prefix maxPrefix);

/// The full form that keeps zeros at the end.
KILN_EXPORT std::wstring SI(double value, const std::wstring& unit, int decimals, double resolution, double reference,
                            Prefix minPrefix, Prefix maxPrefix);

/// The full form.
/// \param resolution in the base unit: as many decimals are shown as are needed to tell values that differ by it apart.
///        \p decimals is then ignored. Its sign does not matter. 0 or not finite: not given.
/// \param reference in the base unit: selects the prefix instead of \p value, so that all numbers of a column can have
///        the same prefix. Its sign does not matter. Not finite: not given.
/// \param minPrefix the smallest prefix allowed.
/// \param maxPrefix the largest prefix allowed.
/// \param keepTrailingZeros false: zeros at the end of the decimals are left out.
KILN_EXPORT std::wstring SI(double value, const std::wstring& unit, int decimals, double resolution, double reference,
                            Prefix minPrefix, Prefix maxPrefix, bool keepTrailingZeros);

/// With the digits that \p uncertainty, in the base unit, justifies: 1234 m with 50 m is "1.23 km".
KILN_EXPORT std::wstring SIUsingUncertainty(double value, const std::wstring& unit, double uncertainty);

/// With the digits that \p uncertainty justifies and the prefix of \p reference, both in the base unit.
KILN_EXPORT std::wstring SIUsingUncertainty(double value, const std::wstring& unit, double uncertainty,
                                            double reference);

/// @}

} // namespace Ardo::Kiln::Formatting
