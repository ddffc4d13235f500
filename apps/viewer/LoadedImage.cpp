#include "apps/viewer/LoadedImage.h"

#include "Ardo/Imaging/const_raw_image.h"
#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/Kiln/Exception/ErrorDialog.h"
#include "Ardo/Kiln/Exception/Warning.h"
#include "Ardo/Kiln/Formatting/SI.h"
#include "Ardo/Kiln/ImageIO/ImageFile.h"
#include "Ardo/Kiln/ImageIO/ReadImageException.h"
#include "Ardo/Kiln/Time/IsoString.h"

#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace Ardo::Kiln::Viewer
{

namespace
{

using Imaging::const_raw_image;
using Imaging::PixelKind;

/// The values that are shown black and white.
struct Limits
{
    double black = std::numeric_limits<double>::infinity();
    double white = -std::numeric_limits<double>::infinity();
};

/// Limits that leave out a thousandth of the values on each side, so that a few hot or dead pixels have no influence.
/// If the limits are equal, the smallest and the largest value are taken. They are computed from every pixel of a small
/// image and from a million of a large one.
template <class Sample>
Limits FindLimits(const const_raw_image& image)
{
    constexpr std::uint64_t MaxSamples = 1'000'000;
    const auto [width, height] = image.Size();
    const std::uint64_t step = std::max<std::uint64_t>(1, std::uint64_t{width} * height / MaxSamples);
    std::vector<double> samples;
    Limits all;
    std::uint64_t index = 0;
    for (std::uint32_t y = 0; y < height; ++y)
    {
        const auto* const row = static_cast<const Sample*>(image.Row(y));
        for (std::uint32_t x = 0; x < width; ++x, ++index)
        {
            const double value = row[x];
            if (std::isfinite(value))
            {
                all = {std::min(all.black, value), std::max(all.white, value)};
                if (index % step == 0)
                {
                    samples.push_back(value);
                }
            }
        }
    }
    constexpr std::size_t FewSamples = 64; // too few to leave some out
    if (samples.size() < FewSamples)
    {
        return all;
    }
    const auto outliers = static_cast<std::ptrdiff_t>(std::max<std::size_t>(1, samples.size() / 1000));
    std::nth_element(samples.begin(), samples.begin() + outliers, samples.end());
    const double black = samples[static_cast<std::size_t>(outliers)];
    std::nth_element(samples.begin(), samples.end() - 1 - outliers, samples.end());
    const double white = *(samples.end() - 1 - outliers);
    return white > black ? Limits{black, white} : all;
}

/// Makes samples of type \p Sample grey values of 8 bits. NaN becomes black.
template <class Sample>
void Stretch(const const_raw_image& image, QImage& picture)
{
    const auto [black, white] = FindLimits<Sample>(image);
    const double scale = white > black ? 255.0 / (white - black) : 0.0;
    for (std::uint32_t y = 0; y < image.Size().height; ++y)
    {
        const auto* const row = static_cast<const Sample*>(image.Row(y));
        uchar* const line = picture.scanLine(static_cast<int>(y));
        for (std::uint32_t x = 0; x < image.Size().width; ++x)
        {
            const double value = row[x];
            const double grey = std::clamp((value - black) * scale, 0.0, 255.0);
            line[x] = std::isfinite(value) ? static_cast<uchar>(grey) : uchar{0};
        }
    }
}

QImage MakePicture(const const_raw_image& image)
{
    const QImage::Format format = image.Kind() == PixelKind::Rgb8    ? QImage::Format_RGB888
                                  : image.Kind() == PixelKind::Rgba8 ? QImage::Format_RGBA8888
                                                                     : QImage::Format_Grayscale8;
    constexpr std::uint32_t MaxPixels = 32767; // of a side, in Qt's painter
    const auto [width, height] = image.Size();
    QImage picture;
    if (width <= MaxPixels && height <= MaxPixels)
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
