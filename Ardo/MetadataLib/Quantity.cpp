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
    // Powers of ten up to 22 are exact, so a quotient has one rounding where a product with a negative power has two.
    return power < 0 ? quantity.Value / std::pow(10.0, -static_cast<double>(power))
                     : quantity.Value * std::pow(10.0, power);
}

} // namespace Ardo::MetadataLib
