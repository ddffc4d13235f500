#include "Ardo/Kiln/ImageIO/QtImageReaders_p.h"

#include <QImage>
#include <QImageReader>
#include <QIODevice>

#include <new>
#include <optional>
#include <stdexcept>

namespace Ardo::Kiln::ImageIO
{

namespace
{

using Imaging::PixelKind;

/// Empty for a kind that would lose something.
std::optional<PixelKind> KindOf(const QImage& image)
{
    switch (image.format())
    {
    case QImage::Format_Grayscale8:
        return PixelKind::UInt8;
    case QImage::Format_Grayscale16:
        return PixelKind::UInt16;
    case QImage::Format_RGBX64:
    case QImage::Format_RGBA64:
    case QImage::Format_RGBA64_Premultiplied:
    case QImage::Format_BGR30:
    case QImage::Format_RGB30:
    case QImage::Format_A2BGR30_Premultiplied:
    case QImage::Format_A2RGB30_Premultiplied:
        return std::nullopt;
    case QImage::Format_Mono:
    case QImage::Format_MonoLSB:
    case QImage::Format_Indexed8:
        if (image.allGray() && !image.hasAlphaChannel())
        {
            return PixelKind::UInt8;
        }
        [[fallthrough]];
    default:
        return image.hasAlphaChannel() ? PixelKind::Rgba8 : PixelKind::Rgb8;
    }
}

QImage::Format FormatOf(PixelKind kind)
{
    switch (kind)
    {
    case PixelKind::UInt8:
        return QImage::Format_Grayscale8;
    case PixelKind::UInt16:
        return QImage::Format_Grayscale16;
    case PixelKind::Rgb8:
        return QImage::Format_RGB888;
    default:
        return QImage::Format_RGBA8888;
    }
}

class Readers final : public QtImageReaders
{
public:
    Header ReadHeader(QIODevice& file) const override
    {
        QImageReader reader(&file);
        reader.setDecideFormatFromContent(true);
        return reader.canRead() ? Header{reader.format().toStdString(), reader.size()} : Header{};
    }

    std::unique_ptr<Imaging::const_raw_image> Decode(QIODevice& file, const std::string& format,
                                                     std::string& refusal) const override
    {
        QImageReader reader(&file, QByteArray::fromStdString(format));
        QImage image = reader.read();
        if (image.isNull())
        {
            throw std::runtime_error("the " + format + " file is damaged: " + reader.errorString().toStdString());
        }
        const auto kind = KindOf(image);
        if (!kind)
        {
            refusal = "colours, or grey with an opacity, of more than 8 bits a sample";
            return nullptr;
        }
        const auto pixels = std::make_shared<QImage>(std::move(image).convertToFormat(FormatOf(*kind)));
        if (pixels->isNull())
        {
            throw std::bad_alloc();
        }
        return std::make_unique<Imaging::const_raw_image>(
            std::shared_ptr<const void>(pixels, pixels->constBits()),
            Imaging::size_2d{static_cast<std::uint32_t>(pixels->width()), static_cast<std::uint32_t>(pixels->height())},
            *kind, static_cast<std::size_t>(pixels->bytesPerLine()));
    }
};

} // namespace

} // namespace Ardo::Kiln::ImageIO

const Ardo::Kiln::ImageIO::QtImageReaders* KilnQtImageReaders()
{
    static const Ardo::Kiln::ImageIO::Readers g_readers;
    return QImageReader::supportedImageFormats().isEmpty() ? nullptr : &g_readers;
}
