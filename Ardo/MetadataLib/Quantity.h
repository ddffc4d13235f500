#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Ardo::MetadataLib
{

/// A number with the unit that it is given in, for example 2.5e-10 "m".
struct Quantity
{
    double Value = 0.0;                            ///< In 10^UnitPrefixPower units.
    std::optional<std::string> Unit{};             ///< Unit symbol without prefix, UTF-8, for example "m".
    std::optional<std::int32_t> UnitPrefixPower{}; ///< Decimal exponent of the prefix, for example -9 for nano.

    bool operator==(const Quantity&) const = default;
};

/// The value in the unit without prefix: 1.07e-7 for 107 with the prefix power -9. If the power is 0 or not given, the
/// value is returned unchanged. A result out of range is 0 or infinite.
KILN_EXPORT double InBaseUnit(const Quantity& quantity) noexcept;

/// A number whose unit and prefix are always given.
///
/// Readers of the documents require all three parts, so none of them is optional here. A number without a unit has an
/// empty unit and the power 0.
struct CompleteQuantity
{
    double Value = 0.0;               ///< In 10^UnitPrefixPower units.
    std::string Unit{};               ///< Unit symbol without prefix, UTF-8; empty for a pure number.
    std::int32_t UnitPrefixPower = 0; ///< Decimal exponent of the prefix; 0 for none.

    bool operator==(const CompleteQuantity&) const = default;
};

} // namespace Ardo::MetadataLib
