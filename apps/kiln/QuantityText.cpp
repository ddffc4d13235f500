#include "apps/kiln/QuantityText.h"

#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/Formatting/SI.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace Ardo::Kiln::Tool
{

std::string NumberText(double value)
{
    std::array<char, 32> digits{};
    constexpr int Digits = std::numeric_limits<double>::digits10;
    return {digits.data(),
            std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::general, Digits).ptr};
}

std::string QuantityText(double value, const std::string& unit)
{
    using Formatting::Prefix;
    constexpr int Decimals = 3;
    constexpr double NotGiven = std::numeric_limits<double>::quiet_NaN();

    if (std::isnan(value))
    {
        return "-";
    }
    try
    {
        // Zero fits every prefix; it is written without one.
        const Prefix smallest = value == 0.0 ? Prefix::None : Prefix::Femto;
        std::string text = Conversion::String::ToUtf8(Formatting::SI(
            value, Conversion::String::FromUtf8(unit), Decimals, NotGiven, NotGiven, smallest, Prefix::Exa, false));
        while (text.ends_with(' '))
        {
            text.pop_back(); // a pure number has a space before its empty unit
        }
        return text;
    }
    catch (const std::logic_error&)
    {
        return NumberText(value) + " " + unit; // the text from the document is no unit
    }
}

} // namespace Ardo::Kiln::Tool
