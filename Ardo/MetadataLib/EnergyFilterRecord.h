#pragma once

#include <optional>
#include <string>

namespace Ardo::MetadataLib
{

/// Settings of the energy filter. All texts are UTF-8.
struct EnergyFilterRecord
{
    std::optional<double> AccelerationVoltageOffset; ///< In V.
    std::optional<double> DriftTubeVoltage;          ///< In V.
    std::optional<double> EnergyShift;               ///< In eV.
    std::optional<double> EnergySelectionSlitWidth;  ///< In eV.
    std::optional<bool> EnergySelectionSlitInserted; ///< The slit is in the beam.
    std::optional<double> EntranceApertureDiameter;  ///< In m.
    std::string EntranceApertureType;                ///< For example "Circular"; empty for none.

    bool operator==(const EnergyFilterRecord&) const = default;
};

} // namespace Ardo::MetadataLib
