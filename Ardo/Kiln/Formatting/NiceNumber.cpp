#include "Ardo/Kiln/Formatting/NiceNumber.h"

#include "Ardo/Kiln/Formatting/PowerOfTen_p.h"

#include <cmath>

namespace Ardo::Kiln::Formatting
{

double CreateNiceNumber(double value) noexcept
{
    const double power = PowerOfTen(std::floor(std::log10(value)));
    const double ratio = value / power;
    if (ratio <= 2)
    {
        return 2 * power;
    }
    return (ratio <= 5 ? 5 : 10) * power;
}

} // namespace Ardo::Kiln::Formatting
