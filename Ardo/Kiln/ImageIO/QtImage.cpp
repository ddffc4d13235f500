#include "Ardo/Kiln/ImageIO/ImageDecoders_p.h"
#include "Ardo/Kiln/ImageIO/ReadImageException.h"

#include <new>
#include <stdexcept>

#include <QImage>
#include <QImageReader>
#include <QIODevice>
#include <QtEndian>

namespace Ardo::Kiln::ImageIO
{

namespace
{

using Imaging::PixelKind;

PixelKind KindOf(const QImage& image)
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
        RefuseKind("colours, or grey with an opacity, of more than 8 bits a sample");
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

/// The most pixels that one byte of a file can become.
std::uint64_t MaxExpansion(QIODevice& file, const std::string& format)
{
    constexpr std::uint64_t Deflate = 1032; // bytes: 258 of two bits, see zlib's technical notes
    constexpr std::uint64_t Lzw = 2731;     // a table entry of 4096 pixels of 12 bits
    if (format == "gif")
    {
        return Lzw;
    }
    if (format == "png")
    {
        // Depth and colour type of the header, ISO/IEC 15948, section 11.2.2.
        const QByteArray header = file.peek(26);
        const int channels = header.size() < 26 || header[25] == 0 || header[25] == 3 ? 1 : header[25] == 4 ? 2 : 3;
        const auto bits = static_cast<std::uint64_t>(header.size() < 26 ? 1 : header[24] * channels);
        return 8 * Deflate / std::max<std::uint64_t>(bits, 1);
    }
    return 8 * Deflate;
}

} // namespace

bool HasQtImageReaders()
{
    return !QImageReader::supportedImageFormats().isEmpty();
}

std::unique_ptr<Imaging::const_raw_image> DecodeWithQt(QIODevice& file)
{
    // Readers of text formats may search the whole file for the beginning of an image.
    constexpr qint64 MaxTextFormat = qint64{256} << 20;
    const bool isKnown = CheckIsWhole(file);
    QImageReader reader(&file);
    reader.setDecideFormatFromContent(true);
    if ((!isKnown && file.size() > MaxTextFormat) || !reader.canRead())
    {
        throw ReadImageException(ReadImageException::Cause::NotAnImage, "no image of a known format");
    }

    // Qt allocates the size that the file states, without a check.
    const std::string format = reader.format().toStdString();
    const QSize stated = reader.size();
    if (!stated.isValid() || stated.isEmpty())
    {
        throw std::runtime_error("the " + format + " file states no size");
    }
    file.seek(0);
    CheckCanHold(static_cast<std::uint64_t>(file.size()), static_cast<std::uint64_t>(stated.width()),
                 static_cast<std::uint64_t>(stated.height()), MaxExpansion(file, format));
    if (format == "xbm")
    {
        CheckXbm(file, stated);
        file.seek(0);
    }

    // The first reader is already positioned at the pixels.
    QImageReader again(&file, reader.format());
    QImage image = again.read();
    if (image.isNull())
    {
        throw std::runtime_error("the " + format + " file is damaged: " + again.errorString().toStdString());
    }

    const PixelKind kind = KindOf(image);
    const auto pixels = std::make_shared<QImage>(std::move(image).convertToFormat(FormatOf(kind)));
    if (pixels->isNull())
    {
        throw std::bad_alloc();
    }
    return std::make_unique<Imaging::const_raw_image>(
        std::shared_ptr<const void>(pixels, pixels->constBits()),
        Imaging::size_2d{static_cast<std::uint32_t>(pixels->width()), static_cast<std::uint32_t>(pixels->height())},
        kind, static_cast<std::size_t>(pixels->bytesPerLine()));
}

std::unique_ptr<Imaging::const_raw_image> DecodeDevice(QIODevice& file)
{
    const QByteArray start = file.peek(3);
    if (start.startsWith("\xFF\xD8"))
    {
        return DecodeJpeg(file);
    }
    const bool isPnm = start.size() == 3 && start[0] == 'P' && start[1] >= '1' && start[1] <= '6' &&
                       (QChar(start[2]).isSpace() || start[2] == '#');
    return isPnm ? DecodePnm(file) : DecodeWithQt(file);
}

} // namespace Ardo::Kiln::ImageIO
