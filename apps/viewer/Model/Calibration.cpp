#include "apps/viewer/Model/Calibration.h"

#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/Formatting/SI.h"

#include <QStringList>

#include <cmath>
#include <limits>

namespace Ardo::Kiln::Viewer
{

namespace
{

constexpr double NotGiven = std::numeric_limits<double>::quiet_NaN();

bool IsLength(const MetadataLib::Quantity& quantity)
{
    const double value = InBaseUnit(quantity);
    return std::isnormal(value) && value > 0.0 && quantity.Unit && !quantity.Unit->empty();
}

/// \p value with as many decimals as show a difference of \p resolution, both in \p unit.
QString Text(double value, const std::string& unit, double resolution, double reference)
{
    using Formatting::Prefix;
    return QString::fromStdWString(Formatting::SI(value, Conversion::String::FromUtf8(unit), 3, resolution, reference,
                                                  Prefix::Femto, Prefix::Exa));
}

} // namespace

Calibration::Calibration(const MetadataLib::Metadata& metadata)
{
    const auto& result = metadata.BinaryResult;
    if (result.PixelSize && IsLength(result.PixelSize->X) && IsLength(result.PixelSize->Y) &&
        result.PixelSize->X.Unit == result.PixelSize->Y.Unit)
    {
        m_pixelSize = result.PixelSize;
    }
    if (const auto& scale = result.IntensityScale)
    {
        const double factor = MetadataLib::InBaseUnit({scale->Value, scale->Unit, scale->UnitPrefixPower});
        if (std::isnormal(factor))
        {
            m_valueScale = factor;
            m_valueUnit = scale->Unit;
            m_valueOffset =
                std::isfinite(result.IntensityOffset.value_or(0.0)) ? result.IntensityOffset.value_or(0.0) : 0.0;
        }
    }
}

std::string Calibration::LengthUnit() const
{
    return m_pixelSize ? *m_pixelSize->X.Unit : "px";
}

double Calibration::Length(const QLineF& line) const
{
    if (!m_pixelSize)
    {
        return line.length();
    }
    return std::hypot(line.dx() * InBaseUnit(m_pixelSize->X), line.dy() * InBaseUnit(m_pixelSize->Y));
}

QString Calibration::LengthText(const QLineF& line) const
{
    constexpr double Part = 10.0; // of a pixel, which is about as exact as a person can point
    if (!m_pixelSize)
    {
        return QString::number(line.length(), 'f', 1) + QStringLiteral(" px");
    }
    return Text(Length(line), LengthUnit(), InBaseUnit(m_pixelSize->X) / Part, NotGiven);
}

QString Calibration::PositionText(const QPointF& position) const
{
    if (!m_pixelSize)
    {
        return QStringLiteral("%1, %2 px").arg(std::floor(position.x())).arg(std::floor(position.y()));
    }
    const auto text = [this](double pixels, const MetadataLib::Quantity& size)
    { return Text(pixels * InBaseUnit(size), LengthUnit(), InBaseUnit(size), 100 * InBaseUnit(size)); };
    return text(position.x(), m_pixelSize->X) + QStringLiteral(", ") + text(position.y(), m_pixelSize->Y);
}

QString Calibration::ValueText(const std::vector<double>& samples) const
{
    constexpr int Digits = 6; // as many as a float has
    QStringList texts;
    for (const double sample : samples)
    {
        texts += m_valueUnit.empty() ? QString::number(Value(sample), 'g', Digits)
                                     : Text(Value(sample), m_valueUnit, NotGiven, NotGiven);
    }
    return texts.join(QStringLiteral(", "));
}

} // namespace Ardo::Kiln::Viewer
