#include "Ardo/Kiln/Formatting/Superscript_p.h"

#include "Ardo/Kiln/Formatting/Characters.h"
#include "Ardo/Kiln/Formatting/Text_p.h"
#include "Ardo/Kiln/Formatting/Units.h"

#include <algorithm>

namespace Ardo::Kiln::Formatting
{

namespace
{

wchar_t SuperscriptDigit(wchar_t digit) noexcept
{
    constexpr wchar_t digits[] = {Characters::SuperscriptOne, Characters::SuperscriptTwo, Characters::SuperscriptThree};
    return digit >= L'1' && digit <= L'3' ? digits[digit - L'1'] : L'\0';
}

// True if the exponent whose first digit was just read continues in the rest.
bool GoesOn(std::wstring_view rest) noexcept
{
    if (!rest.empty() && rest.front() == L'.')
    {
        rest.remove_prefix(1);
    }
    return !rest.empty() && IsDigit(rest.front());
}

} // namespace

bool SuperscriptReader::Next(wchar_t& character) noexcept
{
    if (m_digit != 0)
    {
        character = m_digit;
        m_digit = 0;
        return true;
    }
    while (!m_rest.empty())
    {
        character = m_rest.front();
        const bool isNegative = m_rest.size() > 1 && m_rest[1] == L'-';
        const std::size_t length = isNegative ? 3 : 2;
        const wchar_t digit =
            character == L'^' && m_rest.size() >= length ? SuperscriptDigit(m_rest[length - 1]) : L'\0';
        if (digit == 0 || GoesOn(m_rest.substr(length)))
        {
            m_rest.remove_prefix(1);
            return true;
        }
        m_rest.remove_prefix(length);
        if (isNegative)
        {
            character = Characters::RaisedMinus;
            m_digit = digit;
            return true;
        }
        if (digit != Characters::SuperscriptOne)
        {
            character = digit;
            return true;
        }
    }
    return false;
}

bool ReadAlike(std::wstring_view unit, std::wstring_view other) noexcept
{
    SuperscriptReader left(unit);
    SuperscriptReader right(other);
    wchar_t leftCharacter = 0;
    wchar_t rightCharacter = 0;
    while (left.Next(leftCharacter))
    {
        if (!right.Next(rightCharacter) || leftCharacter != rightCharacter)
        {
            return false;
        }
    }
    return !right.Next(rightCharacter);
}

template <typename Number>
std::wstring JoinNumberAndUnit(const Number& number, std::wstring_view prefix, std::wstring_view unit,
                               bool degreeWithoutSpace)
{
    // Superscripts never make a unit longer, so this is the only allocation.
    std::wstring text(number.size() + 1 + prefix.size() + unit.size(), L' ');
    wchar_t* const space = std::copy(number.begin(), number.end(), text.data());
    wchar_t* const unitBegin = space + 1;
    wchar_t* end = std::copy(prefix.begin(), prefix.end(), unitBegin);
    if (Find(unit, L'^') == unit.size())
    {
        end = std::copy(unit.begin(), unit.end(), end);
    }
    else
    {
        SuperscriptReader reader(unit);
        for (wchar_t character = 0; reader.Next(character); ++end)
        {
            *end = character;
        }
    }

    const std::wstring_view shown(unitBegin, static_cast<std::size_t>(end - unitBegin));
    if (degreeWithoutSpace && Equals(shown, Units::Degree))
    {
        *space = shown.front();
        end = unitBegin;
    }
    text.resize(shown.empty() ? number.size() : static_cast<std::size_t>(end - text.data()));
    return text;
}

template std::wstring JoinNumberAndUnit(const std::string_view&, std::wstring_view, std::wstring_view, bool);
template std::wstring JoinNumberAndUnit(const std::wstring_view&, std::wstring_view, std::wstring_view, bool);

} // namespace Ardo::Kiln::Formatting
