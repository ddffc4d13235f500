#pragma once

/// The characters beyond ASCII that quantity texts contain. Each is one `wchar_t` on every system.
namespace Ardo::Kiln::Formatting::Characters
{

/// "·", which separates two factors of a unit.
inline constexpr wchar_t MiddleDot = L'\u00B7';
/// The sign of a negative superscript exponent: "ˉ", a modifier letter that most fonts have.
inline constexpr wchar_t RaisedMinus = L'\u02C9';
/// "¹"
inline constexpr wchar_t SuperscriptOne = L'\u00B9';
/// "²"
inline constexpr wchar_t SuperscriptTwo = L'\u00B2';
/// "³"
inline constexpr wchar_t SuperscriptThree = L'\u00B3';
/// "∞"
inline constexpr wchar_t Infinity = L'\u221E';
/// "µ", the micro sign: the prefix that is written for 1e-6.
inline constexpr wchar_t MicroSign = L'\u00B5';
/// "μ", the Greek letter: read like the micro sign and never written.
inline constexpr wchar_t GreekSmallMu = L'\u03BC';

} // namespace Ardo::Kiln::Formatting::Characters
