#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/ImageIO/PictureFormats_p.h"
#include "Ardo/Kiln/ImageIO/TiffFile_p.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

#include <tiffio.h>

namespace Ardo::Kiln::ImageIO
{

void WritePictureTiff(const std::filesystem::path& path, const Imaging::const_raw_image& picture,
                      const std::optional<TiffResolution>& resolution, const std::string& description)
{
    using Imaging::PixelKind;
    TiffFile file(FileSystem::ToWide(path), TiffFile::Access::Replace);
    TIFF* const tiff = file.Handle();
    bool isWritten = true;
    const auto set = [&](std::uint32_t tag, auto... values)
    { isWritten = isWritten && TIFFSetField(tiff, tag, values...) == 1; };
    // About 64 KiB a strip, as TIFF recommends for readers with little memory.
    constexpr std::size_t StripSize = 65'536;
    const auto rowsPerStrip = static_cast<std::uint32_t>(std::max<std::size_t>(1, StripSize / picture.RowSize()));
    const bool isGrey = picture.Kind() != PixelKind::Rgb8;
    const std::size_t samples = isGrey ? 1 : 3;
    set(TIFFTAG_IMAGEWIDTH, picture.Size().width);
    set(TIFFTAG_IMAGELENGTH, picture.Size().height);
    set(TIFFTAG_BITSPERSAMPLE, static_cast<int>(8 * Imaging::BytesPerPixel(picture.Kind()) / samples));
    set(TIFFTAG_SAMPLESPERPIXEL, static_cast<int>(samples));
    set(TIFFTAG_SAMPLEFORMAT, picture.Kind() == PixelKind::Float32 ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
    set(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    set(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    set(TIFFTAG_PHOTOMETRIC, isGrey ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    set(TIFFTAG_ROWSPERSTRIP, rowsPerStrip);
    if (!description.empty())
    {
        set(TIFFTAG_IMAGEDESCRIPTION, description.c_str());
    }
    if (resolution)
    {
        // Readers take these for the pixel size whatever the picture shows.
        set(TIFFTAG_XRESOLUTION, resolution->x);
        set(TIFFTAG_YRESOLUTION, resolution->y);
        set(TIFFTAG_RESOLUTIONUNIT, resolution->isPerCentimetre ? RESUNIT_CENTIMETER : RESUNIT_NONE);
    }
    std::vector<unsigned char> strip; // for rows with gaps between them
    for (std::uint32_t y = 0; isWritten && y < picture.Size().height; y += rowsPerStrip)
    {
        const std::uint32_t rows = std::min(rowsPerStrip, picture.Size().height - y);
        const auto size = static_cast<tmsize_t>(picture.RowSize() * rows);
        const void* samplesOfStrip = picture.Row(y);
        if (picture.Stride() != picture.RowSize())
        {
            strip.clear();
            for (std::uint32_t row = y; row < y + rows; ++row)
            {
                const auto* const begin = static_cast<const unsigned char*>(picture.Row(row));
                strip.insert(strip.end(), begin, begin + picture.RowSize());
            }
            samplesOfStrip = strip.data();
        }
        // libtiff only reads the samples of a strip that is not compressed.
        isWritten = TIFFWriteEncodedStrip(tiff, y / rowsPerStrip, const_cast<void*>(samplesOfStrip), size) == size;
    }
    isWritten = isWritten && TIFFWriteDirectory(tiff) == 1;
    if (!isWritten)
    {
        file.Abandon();
        throw std::runtime_error(WithReason("the picture cannot be written", file.TakeError()));
    }
}

} // namespace Ardo::Kiln::ImageIO
