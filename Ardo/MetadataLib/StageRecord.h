#pragma once

#include <optional>
#include <string>

namespace Ardo::MetadataLib
{

/// Tilt of the stage about its two axes.
struct StageTiltRecord
{
    std::optional<double> Alpha; ///< In rad.
    std::optional<double> Beta;  ///< In rad.

    bool operator==(const StageTiltRecord&) const = default;
};

/// Where the stage stands.
struct StagePositionRecord
{
    double X = 0.0;                 ///< In m.
    double Y = 0.0;                 ///< In m.
    double Z = 0.0;                 ///< In m.
    std::optional<double> Rotation; ///< In rad.
    StageTiltRecord Tilt;           ///< Written even when neither angle is given.

    bool operator==(const StagePositionRecord&) const = default;
};

/// The stage and what is mounted on it. All texts are UTF-8.
struct StageRecord
{
    StagePositionRecord StagePosition;       ///< Where the stage stands.
    std::optional<std::string> HolderType;   ///< Name of the sample holder.
    std::optional<double> HolderTemperature; ///< In K.
    std::optional<std::string> SampleLoader; ///< Name of the sample loader.

    bool operator==(const StageRecord&) const = default;
};

} // namespace Ardo::MetadataLib
