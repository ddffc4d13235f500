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

/// Position of the stage.
struct StagePositionRecord
{
    double X = 0.0;                 ///< In m.
    double Y = 0.0;                 ///< In m.
    double Z = 0.0;                 ///< In m.
    std::optional<double> Rotation; ///< In rad.
    StageTiltRecord Tilt;           ///< Written even when neither angle is given.

    bool operator==(const StagePositionRecord&) const = default;
};

/// The stage, the sample holder and the loader. All texts are UTF-8.
struct StageRecord
{
    StagePositionRecord StagePosition;       ///< Position of the stage.
    std::optional<std::string> HolderType;   ///< Name of the sample holder.
    std::optional<double> HolderTemperature; ///< In K.
    std::optional<std::string> SampleLoader; ///< Name of the sample loader.

    bool operator==(const StageRecord&) const = default;
};

} // namespace Ardo::MetadataLib
