#pragma once

#include "Ardo/MetadataLib/Quantity.h"
#include "Ardo/MetadataLib/Rectangle.h"
#include "Ardo/MetadataLib/Size2D.h"
#include "Ardo/MetadataLib/TransformMatrix.h"
#include "Ardo/MetadataLib/Vector.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Ardo::MetadataLib
{

/// Distance of neighbouring pixels.
struct PixelSizeRecord
{
    Quantity X; ///< From column to column.
    Quantity Y; ///< From row to row.

    bool operator==(const PixelSizeRecord&) const = default;
};

/// What the pixels of the image mean. "Of the pixels" values are in units of the stored samples. All texts are UTF-8.
struct BinaryResultRecord
{
    std::optional<std::string> AcquisitionUnit;             ///< For example "Camera".
    std::optional<std::string> CompositionType;             ///< For example "Single" or "Mixed".
    std::optional<Size2D<double>> ImageSize;                ///< In pixels (documents spell it "X", "Y").
    std::optional<std::int32_t> DetectorIndex;              ///< Index in the list of detectors, from 0.
    std::optional<std::string> Detector;                    ///< Name of the detector.
    std::optional<std::string> FilterType;                  ///< For example "Averaging".
    std::optional<double> RecursiveFilterCoefficient;       ///< Weight of the new frame, 0 to 1.
    std::optional<std::int32_t> FilterFrameCount;           ///< Frames that were averaged.
    std::optional<PixelSizeRecord> PixelSize;               ///< Distance of neighbouring pixels.
    std::optional<Vector2<double>> Offset;                  ///< Of the image centre from the optical axis, in m.
    std::optional<CompleteQuantity> IntensityScale;         ///< What a step of the pixels is worth.
    std::optional<double> IntensityOffset;                  ///< What a pixel of 0 is worth, in the scale's unit.
    std::optional<double> BlackLevel;                       ///< Sample shown as black.
    std::optional<double> WhiteLevel;                       ///< Sample shown as white.
    std::optional<double> Gamma;                            ///< Exponent of the display, without unit.
    std::optional<double> Sigma;                            ///< Contrast stretch in standard deviations.
    std::optional<std::string> Encoding;                    ///< For example "uint16".
    std::optional<std::int32_t> BitsPerPixel;               ///< Of a stored pixel.
    std::optional<double> PixelValueMaximum;                ///< Of the pixels.
    std::optional<double> PixelValueMinimum;                ///< Of the pixels.
    std::optional<double> PixelValueMean;                   ///< Of the pixels.
    std::optional<double> PixelValueStandardDeviation;      ///< Of the pixels.
    std::optional<double> Sharpness;                        ///< As the algorithm below gives it.
    std::optional<std::string> SharpnessAlgorithm;          ///< Name of the sharpness measure.
    std::optional<double> DigitalContrast;                  ///< Factor applied after acquisition.
    std::optional<double> DigitalBrightness;                ///< Offset applied after acquisition.
    std::optional<TransformMatrix> ReferenceTransformation; ///< From pixels to stage coordinates in m.
    std::optional<Rectangle<double>> AcquisitionArea;       ///< Part of the full field; 0 to 1 is all of it.

    bool operator==(const BinaryResultRecord&) const = default;
};

} // namespace Ardo::MetadataLib
