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

/// The meaning of the pixels of the image. Pixel values are in units of the stored samples. All texts are UTF-8.
struct BinaryResultRecord
{
    std::optional<std::string> AcquisitionUnit;             ///< For example "Camera".
    std::optional<std::string> CompositionType;             ///< For example "Single" or "Mixed".
    std::optional<Size2D<double>> ImageSize;                ///< In pixels; "X" and "Y" in documents.
    std::optional<std::int32_t> DetectorIndex;              ///< Index in the list of detectors, from 0.
    std::optional<std::string> Detector;                    ///< Name of the detector.
    std::optional<std::string> FilterType;                  ///< For example "Averaging".
    std::optional<double> RecursiveFilterCoefficient;       ///< Weight of the new frame, 0 to 1.
    std::optional<std::int32_t> FilterFrameCount;           ///< Number of averaged frames.
    std::optional<PixelSizeRecord> PixelSize;               ///< Distance of neighbouring pixels.
    std::optional<Vector2<double>> Offset;                  ///< Of the image centre from the optical axis, in m.
    std::optional<CompleteQuantity> IntensityScale;         ///< Intensity per unit of the pixel value.
    std::optional<double> IntensityOffset;                  ///< Intensity of the pixel value 0, in the scale's unit.
    std::optional<double> BlackLevel;                       ///< Pixel value shown as black.
    std::optional<double> WhiteLevel;                       ///< Pixel value shown as white.
    std::optional<double> Gamma;                            ///< Exponent of the display, without unit.
    std::optional<double> Sigma;                            ///< Contrast stretch in standard deviations.
    std::optional<std::string> Encoding;                    ///< For example "uint16".
    std::optional<std::int32_t> BitsPerPixel;               ///< Of a stored pixel.
    std::optional<double> PixelValueMaximum;                ///< Of all pixels.
    std::optional<double> PixelValueMinimum;                ///< Of all pixels.
    std::optional<double> PixelValueMean;                   ///< Of all pixels.
    std::optional<double> PixelValueStandardDeviation;      ///< Of all pixels.
    std::optional<double> Sharpness;                        ///< Result of SharpnessAlgorithm.
    std::optional<std::string> SharpnessAlgorithm;          ///< Name of the sharpness measure.
    std::optional<double> DigitalContrast;                  ///< Factor applied after acquisition.
    std::optional<double> DigitalBrightness;                ///< Offset applied after acquisition.
    std::optional<TransformMatrix> ReferenceTransformation; ///< From pixels to stage coordinates in m.
    std::optional<Rectangle<double>> AcquisitionArea;       ///< Fraction of the full field; 0 to 1 is all of it.

    bool operator==(const BinaryResultRecord&) const = default;
};

} // namespace Ardo::MetadataLib
