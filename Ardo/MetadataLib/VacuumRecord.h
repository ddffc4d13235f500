#pragma once

#include <optional>
#include <string>

namespace Ardo::MetadataLib
{

/// Pressures in the microscope. All texts are UTF-8.
struct VacuumRecord
{
    std::optional<double> SamplePressure;            ///< In Pa.
    std::string VacuumMode;                          ///< For example "HighVacuum"; empty for none.
    std::optional<double> ElectronSourcePressure;    ///< In Pa.
    std::optional<double> IonSourcePressure;         ///< In Pa.
    std::optional<double> ElectronColumnPressure;    ///< In Pa.
    std::optional<double> IonColumnPressure;         ///< In Pa.
    std::optional<double> ProjectionChamberPressure; ///< In Pa.

    bool operator==(const VacuumRecord&) const = default;
};

} // namespace Ardo::MetadataLib
