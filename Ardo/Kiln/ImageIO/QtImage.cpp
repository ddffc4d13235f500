#include "Ardo/Kiln/ImageIO/QtImage_p.h"

#include <cstdint>
#include <limits>
#include <new>
#include <stdexcept>
#include <string_view>

#include <boost/crc.hpp>
#include <QBuffer>
#include <QByteArray>
#include <QImage>
#include <QImageReader>

namespace Ardo::Kiln::ImageIO
{

namespace
{

using Imaging::PixelKind;

/// The most pixels that one byte of a file can become: black-and-white ones of a deflated PNG, 8 in a byte, 1032 bytes
/// in a byte. No format of real images comes near.
constexpr std::uint64_t LargestExpansion = 8256; // 8 x 1032

PixelKind KindOf(const QImage& image)
{
    switch (image.format())
    {
    case QImage::Format_Grayscale8:
        return PixelKind::UInt8;
    case QImage::Format_Grayscale16:
        return PixelKind::UInt16;
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

std::uint32_t BigEndian(std::string_view bytes)
{
    std::uint32_t value = 0;
    for (const char byte : bytes.substr(0, 4))
    {
        value = value << 8 | static_cast<unsigned char>(byte);
    }
    return value;
}

/// Refuses a PNG file that is cut or has a wrong checksum (ISO/IEC 15948, section 5). Qt would answer the rows
/// before the damage as if they were the whole image, and its decoder prints what it thinks of the rest.
void CheckPng(std::string_view bytes)
{
    constexpr std::string_view Signature = "\x89PNG\r\n\x1A\n";
    constexpr std::size_t ChunkFrame = 12; // length and name before, checksum behind the data
    if (!bytes.starts_with(Signature))
    {
        return;
    }
    bytes.remove_prefix(Signature.size());
    for (std::string_view name; name != "IEND";)
    {
        const std::size_t length = BigEndian(bytes);
        if (bytes.size() < ChunkFrame || length > bytes.size() - ChunkFrame)
        {
            throw std::runtime_error("the PNG file is cut");
        }
        name = bytes.substr(4, 4);
        boost::crc_32_type checksum;
        checksum.process_bytes(name.data(), name.size() + length);
        if (checksum.checksum() != BigEndian(bytes.substr(8 + length)))
        {
            throw std::runtime_error("the PNG file is damaged");
        }
        bytes.remove_prefix(ChunkFrame + length);
    }
}

/// Refuses a JPEG file that ends before its end marker (ITU-T T.81, annex B). Qt would fill up what is missing in grey.
void CheckJpeg(std::string_view bytes)
{
    constexpr std::string_view StartOfImage = "\xFF\xD8";
    constexpr unsigned int EndOfImage = 0xD9;
    if (!bytes.starts_with(StartOfImage))
    {
        return;
    }
    for (std::size_t at = bytes.find('\xFF', 2); at < bytes.size() - 1; at = bytes.find('\xFF', at))
    {
        const auto marker = static_cast<unsigned char>(bytes[at + 1]);
        if (marker == EndOfImage)
        {
            return;
        }
        const bool isFill = marker == 0xFF;
        const bool isInsideScan = marker <= 0x01 || (marker >= 0xD0 && marker <= 0xD7); // stuffed bytes and restarts
        at += isFill ? 1 : isInsideScan ? 2 : at + 4 > bytes.size() ? 4 : 2 + (BigEndian(bytes.substr(at)) & 0xFFFF);
    }
    throw std::runtime_error("the JPEG file is cut");
}

/// Refuses a Windows bitmap that is shorter than it says. Qt would answer what is missing in black.
void CheckBitmap(std::string_view bytes)
{
    constexpr std::size_t HeaderSize = 14;
    if (!bytes.starts_with("BM") || bytes.size() < HeaderSize)
    {
        return;
    }
    std::uint32_t size = 0;
    for (std::size_t at = 5; at > 1; --at)
    {
        size = size << 8 | static_cast<unsigned char>(bytes[at]);
    }
    if (size > bytes.size())
    {
        throw std::runtime_error("the bitmap file is cut");
    }
}

} // namespace

bool HasQtImageReaders()
{
    return !QImageReader::supportedImageFormats().isEmpty();
}

std::unique_ptr<Imaging::const_raw_image> DecodeWithQt(const unsigned char* bytes, std::size_t size)
{
    if (size > static_cast<std::size_t>(std::numeric_limits<int>::max()))
    {
        throw std::runtime_error("larger than 2 GiB");
    }
    const std::string_view file(reinterpret_cast<const char*>(bytes), size);
    CheckPng(file);
    CheckJpeg(file);
    CheckBitmap(file);

    QByteArray content = QByteArray::fromRawData(reinterpret_cast<const char*>(bytes), static_cast<int>(size));
    QBuffer buffer(&content);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);

    // Qt makes room for whatever size the file states.
    const QSize stated = reader.size();
    if (!reader.canRead() || !stated.isValid() || stated.isEmpty())
    {
        throw std::runtime_error("no image of a known format");
    }
    if (static_cast<std::uint64_t>(stated.width()) * static_cast<std::uint64_t>(stated.height()) >
        size * LargestExpansion)
    {
        throw std::runtime_error(std::to_string(stated.width()) + " x " + std::to_string(stated.height()) +
                                 " pixels in " + std::to_string(size) + " bytes");
    }
    QImage image = reader.read();
    if (image.isNull())
    {
        throw std::runtime_error(reader.errorString().toStdString());
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

} // namespace Ardo::Kiln::ImageIO
