#include "Ardo/Kiln/ImageIO/TiffBounds_p.h"

#include "Ardo/Kiln/ImageIO/TiffFile_p.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

#include <tiffio.h>

namespace Ardo::Kiln::ImageIO
{

namespace
{

/// The most bytes that one byte of a strip or tile can become.
std::uint64_t MaxExpansion(std::uint16_t compression, std::uint64_t rowSize)
{
    switch (compression)
    {
    case COMPRESSION_NONE:
        return 1;
    case COMPRESSION_PACKBITS: // two bytes become 128
        return 64;
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_DEFLATE: // 258 bytes of two bits, see zlib's technical notes
        return 1032;
    case COMPRESSION_CCITTRLE:
    case COMPRESSION_CCITTRLEW:
    case COMPRESSION_CCITTFAX3:
    case COMPRESSION_CCITTFAX4: // a row like the one before is one bit
        return 8 * rowSize;
    case COMPRESSION_LZMA: // 273 bytes of 14 decisions of 0.022 bits each
        return 8192;
    case COMPRESSION_LZW: // a table entry of 4096 bytes of 9 bits is 3641
        return 4096;
    default: // Zstandard: a block of 128 KiB in four bytes (RFC 8878, section 3.1.1.2); others are held to the same
        return 32768;
    }
}

} // namespace

std::string BytesText(std::uint64_t count)
{
    return std::to_string(count) + " bytes";
}

std::uint64_t PresentBytes(TiffFile& file, std::uint32_t count)
{
    constexpr std::uint64_t HeaderSize = 8; // no strip begins in the header
    std::uint64_t present = 0;
    for (std::uint32_t i = 0; i < count; ++i)
    {
        const std::uint64_t offset = TIFFGetStrileOffset(file.Handle(), i);
        const std::uint64_t size = TIFFGetStrileByteCount(file.Handle(), i);
        present += offset >= HeaderSize && offset < file.Size() ? std::min(size, file.Size() - offset) : 0;
        if (present > file.Size())
        {
            throw std::runtime_error("strips of more than the file's " + BytesText(file.Size()));
        }
    }
    return present;
}

void CheckExpansion(TiffFile& file, std::uint64_t presentBytes, std::uint64_t rowSize, std::uint64_t rows)
{
    constexpr auto MaxImage = static_cast<std::uint64_t>(std::numeric_limits<std::ptrdiff_t>::max());
    if (rowSize > MaxImage / 8 / rows)
    {
        throw std::runtime_error(BytesText(rowSize) + " a row, " + std::to_string(rows) + " rows");
    }
    std::uint16_t compression = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(file.Handle(), TIFFTAG_COMPRESSION, &compression);
    if (rowSize * rows / MaxExpansion(compression, rowSize) > presentBytes)
    {
        throw std::runtime_error("an image of " + BytesText(rowSize * rows) + ", strips of " + BytesText(presentBytes));
    }
}

} // namespace Ardo::Kiln::ImageIO
