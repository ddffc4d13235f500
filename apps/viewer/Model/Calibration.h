#pragma once

#include "Ardo/MetadataLib/Metadata.h"

#include <QLineF>
#include <QPointF>
#include <QString>

#include <optional>
#include <string>
#include <vector>

namespace Ardo::Kiln::Viewer
{

/// What positions and sample values of an image mean, by its record. A value.
///
/// A record that gives no pixel size, or one that is not positive and finite or has no unit, calibrates nothing:
/// positions are then in pixels.
class Calibration
{
public:
    /// Knows nothing: pixels and counts.
    Calibration() = default;

    /// What \p metadata says.
    explicit Calibration(const MetadataLib::Metadata& metadata);

    /// One pixel; empty if it is not known.
    const std::optional<MetadataLib::PixelSizeRecord>& PixelSize() const noexcept { return m_pixelSize; }

    /// The unit of lengths, "px" if the pixel size is not known.
    std::string LengthUnit() const;

    /// The unit of values; empty for counts.
    const std::string& ValueUnit() const noexcept { return m_valueUnit; }

    /// The length of a line between two positions in pixels, in LengthUnit().
    double Length(const QLineF& line) const;

    /// A sample value in ValueUnit().
    double Value(double sample) const noexcept { return m_valueOffset + m_valueScale * sample; }

    /// The text of a length between two positions in pixels: "12.5 nm", "120.5 px".
    QString LengthText(const QLineF& line) const;

    /// The text of a position in pixels from the upper left corner: "1.25 µm, 0.38 µm".
    QString PositionText(const QPointF& position) const;

    /// The text of the samples of one pixel.
    QString ValueText(const std::vector<double>& samples) const;

private:
    std::optional<MetadataLib::PixelSizeRecord> m_pixelSize;
    std::string m_valueUnit;
    double m_valueScale = 1.0;
    double m_valueOffset = 0.0;
};

} // namespace Ardo::Kiln::Viewer
