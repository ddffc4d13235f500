#include "Ardo/Kiln/Conversion/Replacing.h"
#include "Ardo/Kiln/Formatting/Characters.h"
#include "Ardo/Kiln/Formatting/MicroscopeQuantities.h"
#include "Ardo/Kiln/Formatting/Parse.h"
#include "Ardo/Kiln/Formatting/QuantityUnits_p.h"
#include "Ardo/Kiln/Formatting/Superscript_p.h"
#include "Ardo/Kiln/Formatting/Text_p.h"
#include "Ardo/Kiln/Formatting/UnitAlgebra.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace Ardo::Kiln::Formatting
{

namespace
{

std::string ToUtf8(std::wstring_view text)
{
    std::string utf8;
    Conversion::AppendReplacing(utf8, text);
    return utf8;
}

/// "Defocus: \"5 kg\" ": the beginning of every message.
std::string Subject(const QuantityFormat& format, const std::wstring& text)
{
    constexpr std::size_t maxQuoted = 60; // a text of any length comes from outside
    std::wstring quoted = text.substr(0, maxQuoted);
    std::replace_if(
        quoted.begin(), quoted.end(), [](wchar_t character) { return character < L' ' || character == L'\u007F'; },
        L'?');
    return ToUtf8(format.name) + ": \"" + ToUtf8(quoted) + (text.size() > maxQuoted ? "...\" " : "\" ");
}

std::string AcceptedUnits(std::wstring_view base)
{
    std::string units;
    for (const QuantityUnit* unit : QuantityUnits())
    {
        if (unit->base == base)
        {
            units += (units.empty() ? "" : ", ") + (unit->text.empty() ? "none" : ToUtf8(unit->text));
        }
    }
    return units;
}

// The characters that a keyboard or a printed text has for those of a unit.
wchar_t Normalized(wchar_t character) noexcept
{
    switch (character)
    {
    case L'\u212B': // the sign of the unit, whose canonical equivalent is the letter
        return L'\u00C5';
    case L'\u207B': // superscript minus
        return Characters::RaisedMinus;
    case L'\u2212': // the minus of printed text
        return L'-';
    default:
        return IsBlank(character) ? L' ' : character;
    }
}

// Without the blanks around it, and with "nm^-1" for "1/nm" behind a blank.
std::wstring Normalized(const std::wstring& text)
{
    std::wstring result(text.size(), L' ');
    std::transform(text.begin(), text.end(), result.begin(), [](wchar_t character) { return Normalized(character); });
    result.erase(0, std::min(result.find_first_not_of(L' '), result.size()));
    result.erase(result.find_last_not_of(L' ') + 1);
    if (const std::size_t fraction = result.find(L" 1/"); fraction != std::wstring::npos)
    {
        result = result.substr(0, fraction + 1) + InvertUnit(result.substr(fraction + 3));
    }
    return result;
}

// True if the text is the unit behind at most one of its prefixes.
bool IsUnit(std::wstring_view text, const QuantityUnit& unit)
{
    if (AreShownAlike(text, unit.text))
    {
        return true;
    }
    if (text.empty() || !AreShownAlike(text.substr(1), unit.text))
    {
        return false;
    }
    const auto prefix = PrefixFromSymbol(std::wstring(text.substr(0, 1)));
    return prefix && *prefix >= unit.minPrefix && *prefix <= unit.maxPrefix;
}

const QuantityUnit* FindUnit(std::wstring_view text, std::wstring_view base)
{
    for (const QuantityUnit* unit : QuantityUnits())
    {
        if (unit->base == base && IsUnit(text, *unit))
        {
            return unit;
        }
    }
    return nullptr;
}

std::uint32_t ParseExtent(const std::wstring& text)
{
    const double extent = ParseQuantity(text, Quantity::ImageSize);
    if (extent != std::floor(extent))
    {
        throw std::invalid_argument(Subject(FormatOf(Quantity::ImageSize), text) + "is not a whole number");
    }
    if (extent < 1 || extent > std::numeric_limits<std::uint32_t>::max())
    {
        throw std::out_of_range(Subject(FormatOf(Quantity::ImageSize), text) + "is out of range");
    }
    return static_cast<std::uint32_t>(extent);
}

} // namespace

double ParseQuantity(const std::wstring& text, Quantity quantity)
{
    const QuantityFormat& format = FormatOf(quantity);
    const std::wstring normalized = Normalized(text);
    std::wstring unitText = SplitNumberAndUnit(normalized).second;
    unitText.erase(0, std::min(unitText.find_first_not_of(L' '), unitText.size()));
    const QuantityUnit* const unit = FindUnit(unitText, format.unit->base);
    if (unit == nullptr)
    {
        throw std::invalid_argument(Subject(format, text) +
                                    "needs one of the units: " + AcceptedUnits(format.unit->base));
    }
    double value = 0;
    try
    {
        value = ParseStrictly(normalized, std::wstring(unit->text)) * unit->inBase + unit->zeroInBase;
    }
    catch (const std::invalid_argument&)
    {
        throw std::invalid_argument(Subject(format, text) + "is not a number with a unit");
    }
    catch (const std::out_of_range&)
    {
        throw std::out_of_range(Subject(format, text) + "is out of range");
    }
    if (!std::isfinite(value))
    {
        throw std::out_of_range(Subject(format, text) + "is not finite");
    }
    if (value < 0 && format.sign == QuantitySign::NotNegative)
    {
        throw std::out_of_range(Subject(format, text) + "must not be negative");
    }
    return value;
}

bool TryParseQuantity(const std::wstring& text, Quantity quantity, double& result) noexcept
try
{
    result = ParseQuantity(text, quantity);
    return true;
}
catch (...)
{
    // Also if there is no memory: the caller learns only whether the text is a value.
    return false;
}

std::pair<std::uint32_t, std::uint32_t> ParseImageSize(const std::wstring& text)
{
    // The "x" of "px" separates nothing.
    std::size_t times = text.find_first_of(L"x\u00D7");
    while (times != std::wstring::npos && times > 0 && text[times - 1] == L'p')
    {
        times = text.find_first_of(L"x\u00D7", times + 1);
    }
    const std::uint32_t width = ParseExtent(text.substr(0, times));
    return {width, times == std::wstring::npos ? width : ParseExtent(text.substr(times + 1))};
}

} // namespace Ardo::Kiln::Formatting
