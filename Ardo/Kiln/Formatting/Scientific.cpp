#include "Ardo/Kiln/Formatting/Scientific.h"

#include "Ardo/Kiln/Formatting/NumberText_p.h"
#include "Ardo/Kiln/Formatting/Superscript_p.h"

#include <cmath>
#include <stdexcept>

namespace Ardo::Kiln::Formatting
{

std::wstring Scientific(double value, const std::wstring& unit, int fractionDigits)
{
    if (fractionDigits < 1)
    {
        throw std::runtime_error("The fraction digits must be > 0");
    }
    if (!std::isfinite(value))
    {
        return JoinNumberAndUnit(std::string_view("-"), {}, unit, false);
    }
    NumberText number;
    number.WriteScientific(value, fractionDigits, 'e');
    return JoinNumberAndUnit(number.Get(), {}, unit, false);
}

} // namespace Ardo::Kiln::Formatting
