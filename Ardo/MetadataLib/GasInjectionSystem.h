#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Ardo::MetadataLib
{

/// State of the needle of a gas injection system.
enum class GasInjectionSystemNeedleState : std::int32_t
{
    Unset = 0, ///< Not given.
    Offline = 1,
    Inserted = 2,
    Retracted = 3,
    Inserting = 4,
    Retracting = 5,
    Error = 6,
    MaskOnline = 7,
    Venting = 8,
    Unknown = 9,
};

/// One gas of a gas injection system.
struct Gas
{
    std::optional<double> CrucibleTemperature; ///< In K.
    std::string GasType;                       ///< Name of the gas, UTF-8.

    bool operator==(const Gas&) const = default;
};

/// One gas injection system. All texts are UTF-8.
struct GasInjectionSystem
{
    std::optional<std::int32_t> PortNumber;                                           ///< Number of the chamber's port.
    std::optional<std::string> PortName;                                              ///< Name of the chamber's port.
    std::optional<bool> HeaterOn;                                                     ///< The crucible is heated.
    std::optional<bool> GasFlowOn;                                                    ///< The valve is open.
    GasInjectionSystemNeedleState NeedleState = GasInjectionSystemNeedleState::Unset; ///< State of the needle.
    std::optional<double> NeedleTemperature;                                          ///< In K.
    std::vector<Gas> Gases; ///< In the order of the crucibles.

    bool operator==(const GasInjectionSystem&) const = default;
};

} // namespace Ardo::MetadataLib
