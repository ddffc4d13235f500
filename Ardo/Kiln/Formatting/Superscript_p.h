#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Ardo::Kiln::Formatting
{

/// Reads a unit character by character in its display form: the exponents 2, 3, -1, -2 and -3 are superscripts, the
/// exponent 1 is left out, and every other exponent stays in caret form. Only whole exponents are replaced: "m^12" and
/// "m^2.5" are unchanged.
class SuperscriptReader
{
public:
    explicit SuperscriptReader(std::wstring_view unit) noexcept : m_rest(unit) {}

    /// Reads the next character. \p character is unspecified at the end.
    /// \returns false at the end.
    bool Next(wchar_t& character) noexcept;

private:
    std::wstring_view m_rest;
    wchar_t m_digit = 0; ///< The superscript digit that follows a raised minus, or 0.
};

/// Compares the display forms of both units character by character.
bool ReadAlike(std::wstring_view unit, std::wstring_view other) noexcept;

/// True if both units have the same display form.
inline bool AreShownAlike(std::wstring_view unit, std::wstring_view other) noexcept
{
    // In the usual case one of them has a prefix, so the first characters differ.
    const bool differAtOnce = !unit.empty() && !other.empty() && unit.front() != other.front() &&
                              unit.front() != L'^' && other.front() != L'^';
    return !differAtOnce && ReadAlike(unit, other);
}

/// The text of number, one space, prefix and the display form of the unit. Without the space if there is neither prefix
/// nor unit.
/// \param number ASCII, or wide text.
/// \param degreeWithoutSpace whether "°" follows the number without a space.
template <typename Number>
std::wstring JoinNumberAndUnit(const Number& number, std::wstring_view prefix, std::wstring_view unit,
                               bool degreeWithoutSpace);
extern template std::wstring JoinNumberAndUnit(const std::string_view&, std::wstring_view, std::wstring_view, bool);
extern template std::wstring JoinNumberAndUnit(const std::wstring_view&, std::wstring_view, std::wstring_view, bool);

} // namespace Ardo::Kiln::Formatting
