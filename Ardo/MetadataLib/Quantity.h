#pragma once

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

/// A number whose unit and prefix are always given.
///
/// Readers of the documents insist on all three parts, so a quantity of this kind cannot be made without one of them:
/// what is written can be read. A number without a unit has an empty unit and the power 0.
struct CompleteQuantity
{
    double Value = 0.0;               ///< In 10^UnitPrefixPower units.
    std::string Unit{};               ///< Unit symbol without prefix, UTF-8; empty for a pure number.
    std::int32_t UnitPrefixPower = 0; ///< Decimal exponent of the prefix; 0 for none.

    bool operator==(const CompleteQuantity&) const = default;
};

} // namespace Ardo::MetadataLib
