#include "Ardo/Kiln/Formatting/Parse.h"

#include "Ardo/Kiln/Formatting/Characters.h"
#include "Ardo/Kiln/Formatting/PowerOfTen_p.h"
#include "Ardo/Kiln/Formatting/Superscript_p.h"
#include "Ardo/Kiln/Formatting/Text_p.h"
#include "Ardo/Kiln/Formatting/UnitAlgebra_p.h"
#include "Ardo/Kiln/Formatting/Units.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace Ardo::Kiln::Formatting
{

namespace
{

constexpr wchar_t MinusSign = L'\u2212';
constexpr char NoNumber[] = "invalid stod argument";

bool IsSeparator(wchar_t character) noexcept
{
    return character == L'.' || character == L',';
}

bool IsMinus(wchar_t character) noexcept
{
    return character == L'-' || character == MinusSign;
}

bool EndsNumber(wchar_t character) noexcept
{
    return IsDigit(character) || character == L'+' || character == L'-' || character == L'.' ||
           character == Characters::Infinity;
}

// Also for the other characters that a person may write as separator or minus.
bool EndsWrittenNumber(wchar_t character) noexcept
{
    return EndsNumber(character) || character == L',' || character == MinusSign;
}

// The length of the number at the beginning of the text. The number ends before the first "^": digits behind it are
// exponents of the unit.
template <typename Predicate>
std::size_t NumberLength(std::wstring_view text, const Predicate& endsNumber) noexcept
{
    std::size_t length = Find(text, L'^');
    while (length > 0 && !endsNumber(text[length - 1]))
    {
        --length;
    }
    return length;
}

std::wstring_view WithoutBlanks(std::wstring_view text) noexcept
{
    while (!text.empty() && IsBlank(text.front()))
    {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsBlank(text.back()))
    {
        text.remove_suffix(1);
    }
    return text;
}

// The factor of the prefix that the unit begins with, if it begins with one.
std::optional<double> PrefixFactor(std::wstring_view unit) noexcept
{
    switch (unit.empty() ? L'\0' : unit.front())
    {
    case L'a':
        return 1e-18;
    case L'f':
        return 1e-15;
    case L'p':
        return 1e-12;
    case L'n':
        return 1e-9;
    case L'u':
    case Characters::MicroSign:
    case Characters::GreekSmallMu:
        return 1e-6;
    case L'm':
        return 1e-3;
    case L'k':
        return 1e3;
    case L'M':
        return 1e6;
    case L'G':
        return 1e9;
    case L'T':
        return 1e12;
    case L'P':
        return 1e15;
    case L'E':
        return 1e18;
    default:
        return std::nullopt;
    }
}

double Raised(double factor, int exponent) noexcept
{
    switch (exponent)
    {
    case 1:
        return factor;
    case 2:
        return factor * factor;
    default:
        return std::pow(factor, exponent);
    }
}

double KilogramsPerGram(int exponent) noexcept
{
    return exponent == 2 ? 1e-6 : Raised(0.001, exponent);
}

// The value of the "∞" in the number with its sign; 0 if there is none.
double FindInfinity(std::wstring_view number) noexcept
{
    constexpr double infinite = std::numeric_limits<double>::infinity();
    double found = 0;
    for (std::size_t i = 0; i < number.size(); ++i)
    {
        if (number[i] != Characters::Infinity)
        {
            continue;
        }
        if (i > 0 && IsMinus(number[i - 1]))
        {
            return -infinite;
        }
        found = infinite;
    }
    return found;
}

// Like std::strtod in the C locale: moves "first" behind the number. Uses neither errno nor the locale.
std::errc ToDouble(const char*& first, const char* last, double& value) noexcept
{
    const bool isNegative = first != last && *first == '-';
    const char* const digits = first + (isNegative || (first != last && *first == '+') ? 1 : 0);
    if (digits == last || *digits == '-')
    {
        return std::errc::invalid_argument;
    }
    auto result = std::from_chars(digits, last, value);
    const char* const hexDigits = digits + 2;
    if (last - digits > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X') && *hexDigits != '-')
    {
        if (const auto hex = std::from_chars(hexDigits, last, value, std::chars_format::hex); hex.ptr != hexDigits)
        {
            result = hex;
        }
    }
    first = result.ptr;
    value = isNegative ? -value : value;
    return result.ec;
}

// The value of a text of at most 15 digits and at most one separator; empty for any other text. Both operands of the
// division are exact, so the quotient is correctly rounded. Much faster than std::from_chars.
std::optional<double> ToPlainNumber(std::wstring_view text) noexcept
{
    constexpr std::size_t maxCharacters = 16; // 15 digits are less than 2^53
    if (text.size() > maxCharacters)
    {
        return std::nullopt;
    }
    std::int64_t digits = 0;
    int decimals = 0;
    bool hasSeparator = false;
    for (const wchar_t character : text)
    {
        if (IsDigit(character))
        {
            digits = 10 * digits + (character - L'0');
            decimals += hasSeparator ? 1 : 0;
        }
        else if (IsSeparator(character) && !hasSeparator)
        {
            hasSeparator = true;
        }
        else
        {
            return std::nullopt;
        }
    }
    const std::size_t count = text.size() - (hasSeparator ? 1 : 0);
    if (count == 0 || count == maxCharacters)
    {
        return std::nullopt;
    }
    return static_cast<double>(digits) / PowerOfTen(decimals);
}

// How much of a text may be ignored.
enum class Strictness
{
    Standard, // the text that std::stod ignores, and another unit than the expected one
    Strict,   // no text
};

// Converts the number at the beginning of the text. A separator behind the number is an error.
double ToDouble(std::wstring_view text, Strictness strictness)
{
    text = WithoutBlanks(text);
    if (const std::optional<double> plain = ToPlainNumber(text))
    {
        return *plain;
    }
    const auto isForeign = [](wchar_t character)
    { return character <= L' ' || (character > L'~' && character != MinusSign); };
    const auto toAscii = [](wchar_t character) {
        return IsSeparator(character) ? '.' : IsMinus(character) ? '-' : static_cast<char>(character);
    };

    const auto end = std::find_if(text.begin(), text.end(), isForeign);
    const auto length = static_cast<std::size_t>(end - text.begin());
    std::array<char, 64> usual;
    std::string unusual;
    char* ascii = usual.data();
    if (length > usual.size())
    {
        unusual.resize(length);
        ascii = unusual.data();
    }
    std::transform(text.begin(), end, ascii, toAscii);

    double value = 0;
    const char* position = ascii;
    const std::errc error = ToDouble(position, ascii + length, value);
    const auto rest = text.begin() + (position - ascii);
    const bool isCut =
        strictness == Strictness::Strict ? rest != text.end() : std::any_of(rest, text.end(), IsSeparator);
    if (error == std::errc::invalid_argument || isCut)
    {
        throw std::invalid_argument(NoNumber);
    }
    if (error == std::errc::result_out_of_range)
    {
        throw std::out_of_range("stod argument out of range");
    }
    return value;
}

// True if the parsed unit is the expected one behind one prefix, or its plural.
bool IsPrefixed(std::wstring_view parsed, std::wstring_view expected) noexcept
{
    if (Equals(expected, Units::Frame))
    {
        return Equals(parsed, L"frames");
    }
    return PrefixFactor(parsed) && AreShownAlike(parsed.substr(1), expected);
}

// Throws if the parsed unit is not the expected one, or if there is other text beside an infinity. Other numbers are
// checked when they are converted.
void CheckStrictly(std::wstring_view number, std::wstring_view parsedUnit, std::wstring_view expectedUnit)
{
    if (!parsedUnit.empty() && !AreShownAlike(parsedUnit, expectedUnit) && !IsPrefixed(parsedUnit, expectedUnit))
    {
        throw std::invalid_argument("unexpected unit");
    }
    number = WithoutBlanks(number);
    if (!number.empty() && (IsMinus(number.front()) || number.front() == L'+'))
    {
        number.remove_prefix(1);
    }
    if (number.size() > 1 && Find(number, Characters::Infinity) != number.size())
    {
        throw std::invalid_argument(NoNumber);
    }
}

double Read(const std::wstring& text, const std::wstring& unit, Strictness strictness)
{
    const std::size_t length = NumberLength(text, [](wchar_t character) { return EndsWrittenNumber(character); });
    const std::wstring_view number = std::wstring_view(text).substr(0, length);
    std::wstring_view parsedUnit = WithoutBlanks(std::wstring_view(text).substr(length));
    std::wstring withAsciiMinus;
    if (Find(parsedUnit, MinusSign) != parsedUnit.size())
    {
        withAsciiMinus = parsedUnit;
        std::replace(withAsciiMinus.begin(), withAsciiMinus.end(), MinusSign, L'-');
        parsedUnit = withAsciiMinus;
    }

    std::wstring storage;
    std::wstring_view expectedUnit = WithoutFraction(unit, storage);
    double massFactor = 1;
    if (BeginsWith(expectedUnit, Units::Kilogram))
    {
        massFactor = KilogramsPerGram(UnitExponent(expectedUnit));
        expectedUnit.remove_prefix(1);
    }
    if (strictness == Strictness::Strict)
    {
        CheckStrictly(number, parsedUnit, expectedUnit);
        // A mass without a unit is in kilograms here. Parse reads it in grams.
        massFactor = parsedUnit.empty() ? 1 : massFactor;
    }
    if (const double infinity = FindInfinity(number); infinity != 0)
    {
        return infinity;
    }
    double prefixFactor = 1;
    if (!Equals(expectedUnit, Units::Frame) && !AreShownAlike(parsedUnit, expectedUnit))
    {
        prefixFactor = Raised(PrefixFactor(parsedUnit).value_or(1), UnitExponent(expectedUnit));
    }
    return ToDouble(number, strictness) * prefixFactor * massFactor;
}

} // namespace

double Parse(const std::wstring& text, const std::wstring& unit)
{
    return Read(text, unit, Strictness::Standard);
}

double ParseStrictly(const std::wstring& text, const std::wstring& unit)
{
    return Read(text, unit, Strictness::Strict);
}

bool TryParse(const std::wstring& text, const std::wstring& unit, double& result) noexcept
try
{
    result = Parse(text, unit);
    return true;
}
catch (...)
{
    // Also if there is no memory: the caller learns only whether the text is a number.
    return false;
}

std::pair<std::wstring, std::wstring> SplitNumberAndUnit(const std::wstring& text)
{
    const std::size_t length = NumberLength(text, [](wchar_t character) { return EndsNumber(character); });
    return {text.substr(0, length), text.substr(length)};
}

} // namespace Ardo::Kiln::Formatting
