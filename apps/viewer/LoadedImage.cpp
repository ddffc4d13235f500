#include "apps/viewer/LoadedImage.h"

#include "Ardo/Imaging/const_raw_image.h"
#include "Ardo/Imaging/DisplayBuffer.h"
#include "Ardo/Imaging/Histogram.h"
#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/Kiln/Exception/ErrorDialog.h"
#include "Ardo/Kiln/Exception/Warning.h"
#include "Ardo/Kiln/Formatting/SI.h"
#include "Ardo/Kiln/ImageIO/ImageFile.h"
#include "Ardo/Kiln/ImageIO/ReadImageException.h"
#include "Ardo/Kiln/Time/IsoString.h"

#include <QFileInfo>

#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <string>

namespace Ardo::Kiln::Viewer
{

namespace
{

using Imaging::const_raw_image;
using Imaging::PixelKind;

/// The settings that show \p image: samples of 8 bits as they are, others from black to white without a thousandth at
/// each end, so that a few hot or dead pixels have no influence.
Imaging::DisplaySettings SettingsFor(const const_raw_image& image)
{
    Imaging::DisplaySettings settings;
    if (image.Kind() == PixelKind::UInt16 || image.Kind() == PixelKind::Float32)
    {
        const Imaging::ValueRange range = Imaging::Histogram(image).AutomaticRange(0.1, 99.9);
        settings.black = range.low;
        settings.white = range.high;
    }
    return settings;
}

QImage MakePicture(const const_raw_image& image)
{
    using Imaging::DisplayBuffer;
    constexpr std::uint32_t MaxPixels = 32767; // of a side, in Qt's painter
    const auto [width, height] = image.Size();
    if (width > MaxPixels || height > MaxPixels)
    {
        throw Exception::Error("The image is too large to be shown.");
    }
    const Imaging::DisplayMapping mapping(image.Kind(), SettingsFor(image));
    auto buffer = std::make_unique<DisplayBuffer>(image.Size(), mapping.Format());
    buffer->Update(image, mapping);
    const std::uint8_t* const pixels = buffer->Pixels();
    const auto stride = static_cast<int>(buffer->Stride());
    return {pixels,          static_cast<int>(width), static_cast<int>(height),
            stride,          QImage::Format_RGB32,    [](void* owned) { delete static_cast<DisplayBuffer*>(owned); },
            buffer.release()};
}

QString Text(const std::wstring& text)
{
    return QString::fromStdWString(text);
}

/// A line, or nothing if \p text is empty.
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

} // namespace

LoadedImage LoadImageFile(const QString& path)
try
{
    ImageIO::ImageFile file(path.toStdWString());
    const std::unique_ptr<const_raw_image> image = file.ReadImage();
    LoadedImage loaded;
    loaded.picture = MakePicture(*image);
    loaded.facts = Line("File", QFileInfo(path).fileName()) +
                   Line("Size", QStringLiteral("%1 x %2").arg(image->Size().width).arg(image->Size().height));
    if (file.PageCount() > 1)
    {
        loaded.facts += Line("Images", QStringLiteral("the first of %1").arg(file.PageCount()));
    }
    try
    {
        if (const auto metadata = file.ReadMetadata())
        {
            loaded.facts += Facts(*metadata);
        }
    }
    catch (const std::exception& exception)
    {
        // The picture is shown without them.
        Exception::ErrorDialog::ShowWarningDialog(
            Exception::Warning(std::string("The metadata cannot be read: ") + exception.what()));
    }
    return loaded;
}
catch (const ImageIO::ReadImageException& failure)
{
    throw Exception::Error(QFileInfo(path).fileName().toStdString() + ": " + failure.Reason());
}

} // namespace Ardo::Kiln::Viewer
