#pragma once

#include "Ardo/MetadataLib/TimePoint.h"
#include "Ardo/MetadataLib/Uuid.h"

#include <optional>
#include <string>

namespace Ardo::MetadataLib
{

/// Time of the acquisition and kind of beam. All texts are UTF-8.
struct AcquisitionRecord
{
    std::optional<TimePoint> AcquisitionStartDatetime; ///< Start of the exposure or scan.
    TimePoint AcquisitionDatetime;                     ///< End of the exposure or scan.
    std::optional<Uuid> AcquisitionID;                 ///< Common to all images of one acquisition.
    std::optional<std::string> BeamType;               ///< For example "Electron" or "Ion".
    std::optional<std::string> ColumnType;             ///< For example "TEM" or "SEM".
    std::optional<std::string> SourceType;             ///< For example "FEG".

    bool operator==(const AcquisitionRecord&) const = default;
};

} // namespace Ardo::MetadataLib
