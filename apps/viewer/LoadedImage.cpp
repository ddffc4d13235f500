#include "apps/viewer/LoadedImage.h"

#include "Ardo/Imaging/const_raw_image.h"
#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/Kiln/Exception/ErrorDialog.h"
#include "Ardo/Kiln/Exception/Warning.h"
#include "Ardo/Kiln/Formatting/SI.h"
#include "Ardo/Kiln/ImageIO/ReadImageFromFile.h"
#include "Ardo/Kiln/ImageIO/TiffReader.h"
#include "Ardo/Kiln/Time/IsoString.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <string>

namespace Ardo::Kiln::Viewer
{

namespace
{

using Imaging::const_raw_image;
using Imaging::PixelKind;

/// Makes samples of type \p Sample grey values of 8 bits. What is no number becomes black.
template <class Sample>
void Stretch(const const_raw_image& image, QImage& picture)
{
    const Imaging::size_2d size = image.Size();
    double smallest = std::numeric_limits<double>::infinity();
    double largest = -smallest;
    const auto forEach = [&](const auto& function)
    {
        for (std::uint32_t y = 0; y < size.height; ++y)
        {
            const auto* const row = static_cast<const Sample*>(image.Row(y));
            uchar* const line = picture.scanLine(static_cast<int>(y));
            for (std::uint32_t x = 0; x < size.width; ++x)
            {
                const double value = row[x];
                function(std::isfinite(value), value, line[x]);
            }
        }
    };
    forEach(
        [&](bool isNumber, double value, uchar& grey)
        {
            grey = 0;
            smallest = isNumber ? std::min(smallest, value) : smallest;
            largest = isNumber ? std::max(largest, value) : largest;
        });
    const double scale = largest > smallest ? 255.0 / (largest - smallest) : 0.0;
    forEach([&](bool isNumber, double value, uchar& grey)
            { grey = isNumber ? static_cast<uchar>((value - smallest) * scale) : grey; });
}

QImage MakePicture(const const_raw_image& image)
{
    const QImage::Format format = image.Kind() == PixelKind::Rgb8    ? QImage::Format_RGB888
                                  : image.Kind() == PixelKind::Rgba8 ? QImage::Format_RGBA8888
                                                                     : QImage::Format_Grayscale8;
    constexpr std::uint32_t MostPixels = 32767; // of a side, in Qt's painter
    const auto [width, height] = image.Size();
    QImage picture;
    if (width <= MostPixels && height <= MostPixels)
    {
        picture = QImage(static_cast<int>(width), static_cast<int>(height), format);
    }
    if (picture.isNull())
    {
        throw Exception::Error("The image is too large to be shown.");
    }
    switch (image.Kind())
    {
    case PixelKind::UInt16:
        Stretch<std::uint16_t>(image, picture);
        break;
    case PixelKind::Float32:
        Stretch<float>(image, picture);
        break;
    default:
        for (std::uint32_t y = 0; y < height; ++y)
        {
            std::memcpy(picture.scanLine(static_cast<int>(y)), image.Row(y), image.RowSize());
        }
    }
    return picture;
}

QString Text(const std::wstring& text)
{
    return QString::fromStdWString(text);
}

/// A line, unless there is nothing to say.
QString Line(const char* name, const QString& text)
{
    return text.isEmpty() ? QString() : QStringLiteral("%1: %2\n").arg(QLatin1String(name), text);
}

QString Facts(const MetadataLib::Metadata& metadata)
{
    const auto quantity = [](double value, const std::optional<std::string>& unit)
    {
        using Formatting::Prefix;
        constexpr double NotGiven = std::numeric_limits<double>::quiet_NaN();
        return Text(Formatting::SI(value, Conversion::String::FromUtf8(unit.value_or("")), 3, NotGiven, NotGiven,
                                   Prefix::Femto, Prefix::Exa, false));
    };
    const auto size = [&](const MetadataLib::Quantity& value)
    { return quantity(value.Value * std::pow(10.0, value.UnitPrefixPower.value_or(0)), value.Unit); };
    QString facts = Line("Instrument", QString::fromStdString(metadata.Instrument.InstrumentModel.value_or("")));
    facts +=
        Line("Acquired", QString::fromStdString(Time::ToLocalTimeISOString(metadata.Acquisition.AcquisitionDatetime)));
    if (const auto& voltage = metadata.Optics.AccelerationVoltage)
    {
        facts += Line("High voltage", quantity(*voltage, "V"));
    }
    if (const auto& pixelSize = metadata.BinaryResult.PixelSize)
    {
        facts += Line("Pixel", size(pixelSize->X) + QStringLiteral(" x ") + size(pixelSize->Y));
    }
    return facts + Line("Comment", QString::fromStdString(metadata.Core.Comment.value_or("")));
}

bool IsTiff(const QString& path)
{
    QFile file(path);
    const QByteArray begin = file.open(QIODevice::ReadOnly) ? file.read(2) : QByteArray();
    return begin == "II" || begin == "MM";
}

} // namespace

LoadedImage LoadImageFile(const QString& path)
{
    const std::unique_ptr<const_raw_image> image = ImageIO::ReadImageFromFile(path.toStdWString());
    LoadedImage loaded;
    loaded.picture = MakePicture(*image);
    loaded.facts = Line("File", QFileInfo(path).fileName()) +
                   Line("Size", QStringLiteral("%1 x %2").arg(image->Size().width).arg(image->Size().height));
    if (IsTiff(path))
    {
        try
        {
            ImageIO::TiffReader reader;
            reader.Open(path.toStdWString());
            if (!reader.GetMetadataText().empty())
            {
                loaded.facts += Facts(reader.GetMetadata());
            }
        }
        catch (const std::exception& exception)
        {
            // The picture is worth showing without them.
            Exception::ErrorDialog::ShowWarningDialog(
                Exception::Warning(std::string("The metadata cannot be read: ") + exception.what()));
        }
    }
    return loaded;
}

} // namespace Ardo::Kiln::Viewer
