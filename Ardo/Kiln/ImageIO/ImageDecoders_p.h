#pragma once

#include "Ardo/Imaging/const_raw_image.h"
#include "Ardo/Kiln/ImageIO/ReadImageException.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

class QIODevice;
class QSize;

/// The decoders behind ImageFile: one a format, or a family of formats. They throw ReadImageException, or
/// std::runtime_error whose text is the reason for a damaged file.
namespace Ardo::Kiln::ImageIO
{

class TiffFile;

/// The image of the current directory. ImageFile describes how samples are converted.
std::unique_ptr<Imaging::const_raw_image> DecodeTiff(TiffFile& file);

/// The image in a file that is not TIFF; the format is recognised by the content.
std::unique_ptr<Imaging::const_raw_image> DecodeDevice(QIODevice& file);

/// The image in a JPEG file, rotated as its Exif data say.
std::unique_ptr<Imaging::const_raw_image> DecodeJpeg(QIODevice& file);

/// The image in a file of the portable any-map family, P1 to P6: PBM, PGM, PPM.
std::unique_ptr<Imaging::const_raw_image> DecodePnm(QIODevice& file);

/// The image in a file of a format that Qt has a reader for.
/// \throws NoImageReaders
std::unique_ptr<Imaging::const_raw_image> DecodeWithQt(QIODevice& file);

/// Qt has no image readers, or they cannot be loaded.
class NoImageReaders : public ReadImageException
{
public:
    explicit NoImageReaders(const std::string& reason) : ReadImageException(Cause::System, reason) {}
};

/// Refuses a PNG, BMP or GIF file that is cut, as far as that is visible without decoding it. Qt's readers would fill
/// the missing part.
/// \returns false for a file of another format.
bool CheckIsWhole(QIODevice& file);

/// Refuses an XBM file, a piece of C source, that has fewer numbers than its size needs.
/// \param size in pixels.
void CheckXbm(QIODevice& file, const QSize& size);

/// \throws std::runtime_error with the numbers if \p fileSize bytes cannot hold \p width x \p height pixels. \p
///        pixelsPerByte is the most pixels that one byte of the format gives.
void CheckCanHold(std::uint64_t fileSize, std::uint64_t width, std::uint64_t height, std::uint64_t pixelsPerByte);

/// \throws ReadImageException of cause Unsupported.
[[noreturn]] void RefuseKind(const std::string& reason);

/// An image whose pixels are still to be filled in, without gaps between the rows.
struct NewImage
{
    NewImage(std::uint64_t width, std::uint64_t height, Imaging::PixelKind kind);

    unsigned char* Row(std::uint64_t y) const noexcept { return bytes + rowSize * y; }
    std::unique_ptr<Imaging::const_raw_image> Finish() const;

    std::shared_ptr<const void> owner;
    unsigned char* bytes;
    std::size_t rowSize;
    Imaging::size_2d size;
    Imaging::PixelKind kind;
};

/// \p image with its rows and columns in display order.
/// \param orientation the code of the tag Orientation (TIFF 6.0, section 8), which Exif has too; 1 and unknown codes
///        leave the image as it is.
std::unique_ptr<Imaging::const_raw_image> Oriented(std::unique_ptr<Imaging::const_raw_image> image, int orientation);

} // namespace Ardo::Kiln::ImageIO
