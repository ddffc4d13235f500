#pragma once

#include "Ardo/MetadataLib/Vector.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Ardo::MetadataLib
{

/// One aperture of the column. All texts are UTF-8.
struct Aperture
{
    std::optional<std::string> Name;               ///< For example "C2".
    std::int32_t Number = 0;                       ///< Position of the mechanism in the column.
    std::string MechanismType;                     ///< For example "Motorized".
    std::string Type;                              ///< Shape, for example "Circular" ("Cicular" in documents).
    std::optional<double> Diameter;                ///< In m.
    std::optional<std::int32_t> Index;             ///< The opening of the mechanism that is in the beam.
    std::optional<Vector2<double>> PositionOffset; ///< From the column axis, in m.

    bool operator==(const Aperture&) const = default;
};

} // namespace Ardo::MetadataLib
