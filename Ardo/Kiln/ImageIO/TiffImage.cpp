#include "Ardo/Kiln/ImageIO/ImageDecoders_p.h"
#include "Ardo/Kiln/ImageIO/PixelBuffer_p.h"
#include "Ardo/Kiln/ImageIO/TiffBounds_p.h"
#include "Ardo/Kiln/ImageIO/TiffFile_p.h"
#include "Ardo/Kiln/ImageIO/TiffSampleFormat.h"
#include "Ardo/Kiln/ImageIO/TiffSamples_p.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>
#include <vector>

#include <tiffio.h>

namespace Ardo::Kiln::ImageIO
{

namespace
{

using Imaging::PixelKind;

/// The description of the samples in the directory.
TiffSamples SamplesOf(TIFF* tiff)
{
    TiffSamples samples;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &samples.width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &samples.height);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &samples.bits);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples.count);
    if (TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &samples.photometric) != 1)
    {
        samples.photometric = samples.count >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    }
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &samples.format);
    std::uint16_t planes = PLANARCONFIG_CONTIG;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &planes);
    samples.isPlanar = planes == PLANARCONFIG_SEPARATE && samples.count > 1;
    std::uint16_t extraCount = 0;
    const std::uint16_t* extras = nullptr;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &extraCount, &extras);
    samples.isPremultiplied = extraCount > 0 && extras[0] == EXTRASAMPLE_ASSOCALPHA;
    return samples;
}

/// Assembles strips and tiles, of pixels or of planes, to an image with interleaved samples.
class Assembly
{
public:
    /// \param samples of the image in the file; \p pixels has room for them, unpacked.
    Assembly(TiffFile& file, const TiffSamples& samples, unsigned char* pixels)
        : m_file(file), m_samples(samples), m_pixels(pixels), m_perBlock(samples.isPlanar ? 1 : samples.count)
    {
    }

    void Run() { TIFFIsTiled(m_file.Handle()) != 0 ? ReadTiles() : ReadStrips(); }

private:
    void ReadStrips()
    {
        TIFF* const tiff = m_file.Handle();
        std::uint32_t rowsPerStrip = 0;
        TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &rowsPerStrip);
        rowsPerStrip = std::clamp<std::uint32_t>(rowsPerStrip, 1, m_samples.height);
        m_rowSize = m_samples.PackedRowSize(m_perBlock);
        const bool isWhole = !m_samples.isPlanar && m_samples.bits % 8 == 0; // as it is to be in memory
        PixelBuffer strip;
        if (!isWhole)
        {
            strip.Resize(m_rowSize * rowsPerStrip);
        }
        for (std::uint16_t plane = 0; plane < m_samples.Planes(); ++plane)
        {
            for (std::uint32_t y = 0; y < m_samples.height; y += std::min(rowsPerStrip, m_samples.height - y))
            {
                const std::uint32_t rows = std::min(rowsPerStrip, m_samples.height - y);
                unsigned char* const bytes = isWhole ? m_pixels + m_rowSize * y : strip.Data();
                const auto size = static_cast<tmsize_t>(m_rowSize * rows);
                Check(TIFFReadEncodedStrip(tiff, TIFFComputeStrip(tiff, y, plane), bytes, size), size);
                if (!isWhole)
                {
                    Place(bytes, {0, y}, {m_samples.width, rows}, plane);
                }
            }
        }
    }

    void ReadTiles()
    {
        TIFF* const tiff = m_file.Handle();
        std::uint32_t width = 0;
        std::uint32_t height = 0;
        TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &width);
        TIFFGetField(tiff, TIFFTAG_TILELENGTH, &height);
        const auto size = TIFFTileSize64(tiff);
        m_rowSize = TIFFTileRowSize64(tiff);
        constexpr std::uint64_t UsualTile = std::uint64_t{64} << 20;
        if (width == 0 || height == 0 || m_rowSize == 0 || size < m_rowSize * height ||
            size > std::max(UsualTile, m_samples.PackedRowSize(m_samples.count) * m_samples.height))
        {
            throw std::runtime_error("tiles of " + std::to_string(width) + " x " + std::to_string(height) + " pixels");
        }
        PixelBuffer tile;
        tile.Resize(size);
        for (std::uint16_t plane = 0; plane < m_samples.Planes(); ++plane)
        {
            for (std::uint32_t y = 0; y < m_samples.height; y += std::min(height, m_samples.height - y))
            {
                for (std::uint32_t x = 0; x < m_samples.width; x += std::min(width, m_samples.width - x))
                {
                    Check(TIFFReadEncodedTile(tiff, TIFFComputeTile(tiff, x, y, 0, plane), tile.Data(),
                                              static_cast<tmsize_t>(size)),
                          static_cast<tmsize_t>(size));
                    Place(tile.Data(), {x, y},
                          {std::min(width, m_samples.width - x), std::min(height, m_samples.height - y)}, plane);
                }
            }
        }
    }

    void Check(tmsize_t count, tmsize_t expected)
    {
        if (count != expected)
        {
            const std::string error = m_file.TakeError();
            throw std::runtime_error(error.empty() ? "a strip or tile of the TIFF file is too short" : error);
        }
    }

    struct Position
    {
        std::uint32_t x;
        std::uint32_t y;
    };

    /// Unpacks the upper left part of a block into the image.
    void Place(const unsigned char* block, Position at, Imaging::size_2d part, std::uint16_t plane)
    {
        const std::size_t sampleSize = m_samples.UnpackedSize();
        const std::size_t rowSize = sampleSize * m_samples.count * m_samples.width;
        for (std::uint32_t y = 0; y < part.height; ++y)
        {
            unsigned char* const target =
                m_pixels + rowSize * (at.y + y) + sampleSize * (std::size_t{m_samples.count} * at.x + plane);
            const unsigned char* const row = block + m_rowSize * y;
            if (m_samples.isPlanar)
            {
                Unpack(m_samples, row, part.width, target, m_samples.count);
            }
            else
            {
                Unpack(m_samples, row, std::size_t{part.width} * m_samples.count, target, 1);
            }
        }
    }

    TiffFile& m_file;
    const TiffSamples& m_samples;
    unsigned char* m_pixels;
    std::uint16_t m_perBlock;    ///< Samples of a pixel in a strip or tile.
    std::uint64_t m_rowSize = 0; ///< Bytes of a row of a strip or tile.
};

/// Converts with libtiff, for pixels with subsampled chrominance.
std::unique_ptr<Imaging::const_raw_image> DecodeYCbCr(TiffFile& file, const TiffSamples& samples)
{
    struct Conversion : TIFFRGBAImage
    {
        Conversion() : TIFFRGBAImage() {}
        ~Conversion() { TIFFRGBAImageEnd(this); }
        Conversion(const Conversion&) = delete;
        Conversion& operator=(const Conversion&) = delete;
    };
    constexpr int StopAtErrors = 1;
    std::array<char, 1024> reason{};
    Conversion conversion;
    if (TIFFRGBAImageOK(file.Handle(), reason.data()) != 1 ||
        TIFFRGBAImageBegin(&conversion, file.Handle(), StopAtErrors, reason.data()) != 1)
    {
        RefuseKind(samples.Description() + ": " + reason.data());
    }
    conversion.orientation = conversion.req_orientation = ORIENTATION_TOPLEFT; // rows as they are in the file
    PixelBuffer raster;
    const std::size_t count = std::size_t{samples.width} * samples.height;
    raster.Resize(4 * count);
    auto* const pixels = reinterpret_cast<std::uint32_t*>(raster.Data());
    if (TIFFRGBAImageGet(&conversion, pixels, samples.width, samples.height) != 1)
    {
        throw std::runtime_error(file.TakeError());
    }
    const NewImage image(samples.width, samples.height, PixelKind::Rgb8);
    for (std::size_t i = 0; i < count; ++i)
    {
        image.bytes[3 * i] = static_cast<unsigned char>(TIFFGetR(pixels[i]));
        image.bytes[3 * i + 1] = static_cast<unsigned char>(TIFFGetG(pixels[i]));
        image.bytes[3 * i + 2] = static_cast<unsigned char>(TIFFGetB(pixels[i]));
    }
    return image.Finish();
}

/// The colours of the palette, three of 8 bits an entry.
std::vector<std::array<unsigned char, 3>> PaletteOf(TIFF* tiff, std::uint16_t bits)
{
    std::array<const std::uint16_t*, 3> columns{};
    if (bits > 8 || TIFFGetField(tiff, TIFFTAG_COLORMAP, columns.data(), columns.data() + 1, columns.data() + 2) != 1)
    {
        throw std::runtime_error("a palette image without its palette");
    }
    std::vector<std::array<unsigned char, 3>> palette(std::size_t{1} << bits);
    // Some old programs wrote values of 8 bits where the format has 16.
    bool isNarrow = true;
    for (const std::uint16_t* const column : columns)
    {
        isNarrow = isNarrow && std::all_of(column, column + palette.size(), [](auto value) { return value < 256; });
    }
    for (std::size_t i = 0; i < palette.size(); ++i)
    {
        for (std::size_t colour = 0; colour < 3; ++colour)
        {
            palette[i][colour] = static_cast<unsigned char>(columns[colour][i] >> (isNarrow ? 0 : 8));
        }
    }
    return palette;
}

} // namespace

std::unique_ptr<Imaging::const_raw_image> DecodeTiff(TiffFile& file)
{
    TIFF* const tiff = file.Handle();
    std::uint16_t compression = COMPRESSION_NONE;
    std::uint16_t orientation = ORIENTATION_TOPLEFT;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &compression);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &orientation);

    TiffSamples samples = SamplesOf(tiff);
    if (samples.width == 0 || samples.height == 0 || samples.bits == 0 || samples.count == 0)
    {
        throw std::runtime_error("a TIFF image without pixels");
    }
    if (TIFFIsCODECConfigured(compression) != 1)
    {
        RefuseKind("a TIFF image of compression " + std::to_string(compression));
    }
    const bool isTiled = TIFFIsTiled(tiff) != 0;
    CheckExpansion(file, PresentBytes(file, isTiled ? TIFFNumberOfTiles(tiff) : TIFFNumberOfStrips(tiff)),
                   samples.PackedRowSize(samples.photometric == PHOTOMETRIC_YCBCR ? 1 : samples.count), samples.height);
    if (samples.photometric == PHOTOMETRIC_YCBCR && samples.bits == 8 && samples.count == 3)
    {
        if (compression != COMPRESSION_JPEG || samples.isPlanar)
        {
            return Oriented(DecodeYCbCr(file, samples), orientation);
        }
        TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB); // the JPEG library converts
        samples.photometric = PHOTOMETRIC_RGB;
    }

    const TiffConversion conversion(samples);
    const bool isPalette = samples.photometric == PHOTOMETRIC_PALETTE;
    const auto palette = isPalette ? PaletteOf(tiff, samples.bits) : decltype(PaletteOf(tiff, 8))();
    if (conversion.IsNone())
    {
        const NewImage image(samples.width, samples.height, conversion.Kind());
        Assembly(file, samples, image.bytes).Run();
        return Oriented(image.Finish(), orientation);
    }
    PixelBuffer unpacked;
    unpacked.Resize(samples.UnpackedSize() * samples.count * samples.width * samples.height);
    Assembly(file, samples, unpacked.Data()).Run();
    return Oriented(conversion.Convert(unpacked.Data(), palette), orientation);
}

} // namespace Ardo::Kiln::ImageIO
