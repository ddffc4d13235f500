#include "Ardo/MetadataLib/Quantity.h"

#include <cmath>

namespace Ardo::MetadataLib
{

double InBaseUnit(const Quantity& quantity) noexcept
{
    const int power = quantity.UnitPrefixPower.value_or(0);
    if (power == 0 || quantity.Value == 0.0)
    {
        return quantity.Value;
    }
    // 10^n is exact up to n = 22, 10^-n is not. So a division rounds once where a multiplication would round twice.
    return power < 0 ? quantity.Value / std::pow(10.0, -static_cast<double>(power))
                     : quantity.Value * std::pow(10.0, power);
}

} // namespace Ardo::MetadataLib
