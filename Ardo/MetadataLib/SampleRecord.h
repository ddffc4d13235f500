#pragma once

#include "Ardo/MetadataLib/Uuid.h"

#include <optional>
#include <string>

namespace Ardo::MetadataLib
{

/// The sample in the microscope. All texts are UTF-8.
struct SampleRecord
{
    std::optional<Uuid> SampleGuid;                ///< Identifies the sample.
    std::optional<std::string> SampleID;           ///< Identification used in the laboratory.
    std::optional<std::string> SampleDescription;  ///< Free text.
    std::optional<std::string> SampleSessionID;    ///< The session at the microscope.
    std::optional<std::string> RegionOfInterestID; ///< The region within the sample.

    bool operator==(const SampleRecord&) const = default;
};

} // namespace Ardo::MetadataLib
