#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Ardo::Kiln::Formatting
{

/// Reads a unit in the form in which it is shown: the exponents 2, 3, -1, -2 and -3 as superscripts, the exponent 1
/// left out, every other one in caret form. Only whole exponents are replaced: "m^12" and "m^2.5" stay.
class SuperscriptReader
{
public:
    explicit SuperscriptReader(std::wstring_view unit) noexcept : m_rest(unit) {}

    /// The next character in \p character; false at the end.
    bool Next(wchar_t& character) noexcept;

private:
    std::wstring_view m_rest;
    wchar_t m_digit = 0; ///< The superscript digit that follows a raised minus, or 0.
};

/// AreShownAlike, character by character.
bool ReadAlike(std::wstring_view unit, std::wstring_view other) noexcept;

/// True if both units are shown alike, whichever form their exponents have.
inline bool AreShownAlike(std::wstring_view unit, std::wstring_view other) noexcept
{
    // A prefix in front of one of them, the usual case, shows in the first character.
    const bool differAtOnce = !unit.empty() && !other.empty() && unit.front() != other.front() &&
                              unit.front() != L'^' && other.front() != L'^';
    return !differAtOnce && ReadAlike(unit, other);
}

/// Puts number, one space, prefix and unit, the unit as it is shown, together; without the space if nothing follows it.
/// \param number ASCII, or wide text.
/// \param degreeWithoutSpace whether "°" follows the number at once.
template <typename Number>
std::wstring JoinNumberAndUnit(const Number& number, std::wstring_view prefix, std::wstring_view unit,
                               bool degreeWithoutSpace);
extern template std::wstring JoinNumberAndUnit(const std::string_view&, std::wstring_view, std::wstring_view, bool);
extern template std::wstring JoinNumberAndUnit(const std::wstring_view&, std::wstring_view, std::wstring_view, bool);

} // namespace Ardo::Kiln::Formatting
