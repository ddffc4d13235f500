#include "Ardo/Kiln/ImageIO/TiffExporter.h"

#include "Ardo/Imaging/const_raw_image.h"
#include "Ardo/Kiln/ImageIO/ClampNegative_p.h"
#include "Ardo/Kiln/ImageIO/ExportRawImageException.h"
#include "Ardo/Kiln/ImageIO/TiffFile_p.h"
#include "Ardo/Kiln/ImageIO/TiffTags_p.h"
#include "Ardo/Kiln/MetadataSerializer/ConvertToQd.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/MetadataLib/Metadata.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include <tiffio.h>

namespace Ardo::Kiln::ImageIO
{

namespace
{

const std::string Prefix = "Failed to write TIFF image. ";
const std::string InvalidParameters = "Invalid data parameters.";

/// The largest file that the 32-bit offsets of a classic TIFF can address.
constexpr std::uint64_t MaxFile = std::numeric_limits<std::uint32_t>::max();

/// The first strip begins on a page boundary of the file. If it began right after the 8-byte header, every page of a
/// page-aligned image would be copied to an address that is off by 8 bytes, which costs some processors more than half
/// of their speed.
constexpr std::uint64_t FirstStrip = 4096;

constexpr std::uint16_t Centimetre = 3;

/// The values of the private tags.
struct PrivateTags
{
    struct Resolution
    {
        float x; ///< pixels per centimetre
        float y; ///< pixels per centimetre
    };

    std::optional<Resolution> resolution;
    std::string xml;
    std::optional<std::string> qd;
};

/// Pixels per centimetre for a pixel size in metres. The tag is a fraction of two 32-bit numbers, which libtiff makes
/// from a float. Values beyond the limits would get a numerator or a denominator of 0.
float PixelsPerCentimetre(double pixelSize)
{
    constexpr double Max = 4294967040.0;   // the largest float below 2^32
    constexpr double Min = 0x1.000002p-32; // the smallest float above 2^-32
    return static_cast<float>(std::clamp(0.01 / pixelSize, Min, Max));
}

PrivateTags MakePrivateTags(const MetadataLib::Metadata& metadata)
{
    PrivateTags tags;
    tags.xml = MetadataSerializer::Record(metadata).SerializeToString(MetadataSerializer::SerializeType::Xml);
    if (const auto& pixelSize = metadata.BinaryResult.PixelSize)
    {
        const double x = pixelSize->X.Value;
        const double y = pixelSize->Y.Value;
        if (std::isfinite(x) && std::isfinite(y) && x > 0 && y > 0)
        {
            tags.resolution = {PixelsPerCentimetre(x), PixelsPerCentimetre(y)};
        }
        if (pixelSize->X.Unit == "m" || pixelSize->Y.Unit == "m")
        {
            tags.qd = ConvertToQd(metadata);
        }
    }
    return tags;
}

/// How the rows of an image are divided into strips.
struct StripLayout
{
    std::uint32_t rowsPerStrip;
    std::uint64_t stripSize; ///< bytes
    std::uint32_t stripCount;
};

StripLayout MakeStripLayout(std::uint32_t height, std::uint64_t rowSize, std::uint64_t stride)
{
    constexpr std::uint32_t UsualRows = 32;
    // Readers take full strips only, so the usual number of rows is for heights that it divides.
    const std::uint32_t rows = stride > rowSize ? 1 : height % UsualRows == 0 ? UsualRows : height;
    return {rows, stride * rows, static_cast<std::uint32_t>((std::uint64_t{height} + rows - 1) / rows)};
}

/// The approximate size of the file in bytes.
/// \param stride bytes from row to row.
/// \throws std::runtime_error with the numbers if a classic TIFF cannot hold the image together with \p tags.
std::uint64_t CheckedFileSize(std::uint64_t stride, std::uint32_t height, const StripLayout& layout,
                              const PrivateTags& tags)
{
    constexpr std::uint64_t DirectoryBytes = 1024; // more than 18 entries and their values take
    constexpr std::uint64_t TableBytesPerStrip = 8;
    constexpr std::uint64_t Uncountable = std::numeric_limits<std::uint64_t>::max();

    const std::uint64_t pixels = stride > Uncountable / height ? Uncountable : stride * height;
    const std::uint64_t others = FirstStrip + DirectoryBytes + TableBytesPerStrip * layout.stripCount +
                                 tags.xml.size() + (tags.qd ? tags.qd->size() : 0);
    if (pixels > MaxFile || others > MaxFile - pixels)
    {
        throw std::runtime_error(InvalidParameters + " (" + std::to_string(pixels) + " bytes of pixels and " +
                                 std::to_string(others) + " bytes of tags; a TIFF file holds " +
                                 std::to_string(MaxFile) + ")");
    }
    return pixels + others;
}

template <typename... Value>
void SetTag(TiffFile& file, std::uint32_t tag, Value... value)
{
    if (TIFFSetField(file.Handle(), tag, value...) != 1)
    {
        throw std::runtime_error(WithReason("Error during writing of TIFF directory.", file.TakeError()));
    }
}

void SetPrivateTags(TiffFile& file, const PrivateTags& tags)
{
    if (tags.resolution)
    {
        SetTag(file, Tag::XPixelsPerUnit, double{tags.resolution->x});
        SetTag(file, Tag::YPixelsPerUnit, double{tags.resolution->y});
        SetTag(file, Tag::ResolutionUnit, int{Centimetre});
    }
    SetTag(file, Tag::XmlMetadata, tags.xml.c_str());
    if (tags.qd)
    {
        SetTag(file, Tag::QdMetadata, tags.qd->c_str());
    }
}

template <typename Sample>
void ClampImage(void* pixels, std::size_t samples)
{
    ClampNegative(static_cast<Sample*>(pixels), samples);
}

} // namespace

/// The image of one call.
struct TiffExporter::Image
{
    const void* pixels;
    std::uint32_t width;
    std::uint32_t height;
    std::uint16_t bitsPerSample;
    std::uint32_t stride = 0; ///< bytes; 0: the row size
    std::uint16_t samplesPerPixel = 1;
    std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    std::uint16_t sampleFormat = SAMPLEFORMAT_UINT;
    void* clampPixels = nullptr; ///< The same pixels if they are signed.
    void (*clamp)(void*, std::size_t) = nullptr;
};

void TiffExporter::SetTags(TiffFile& file, const Image& image, std::uint32_t rowsPerStrip)
{
    SetTag(file, TIFFTAG_IMAGEWIDTH, image.width);
    SetTag(file, TIFFTAG_IMAGELENGTH, image.height);
    SetTag(file, TIFFTAG_BITSPERSAMPLE, int{image.bitsPerSample});
    SetTag(file, TIFFTAG_SAMPLESPERPIXEL, int{image.samplesPerPixel});
    SetTag(file, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    SetTag(file, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    SetTag(file, TIFFTAG_PHOTOMETRIC, int{image.photometric});
    SetTag(file, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    SetTag(file, TIFFTAG_ROWSPERSTRIP, rowsPerStrip);
}

TiffExporter::TiffExporter()
{
    InstallTagExtender();
}

TiffExporter::~TiffExporter() = default;
TiffExporter::TiffExporter(TiffExporter&&) noexcept = default;
TiffExporter& TiffExporter::operator=(TiffExporter&&) noexcept = default;

void TiffExporter::SetProgress(Progress progress)
{
    m_progress = std::move(progress);
}

void TiffExporter::WriteImage(const std::wstring& fileName, const Imaging::const_raw_image& image,
                              const MetadataLib::Metadata* metadata)
try
{
    using Imaging::PixelKind;

    std::vector<unsigned char> packed; // grey images have no stride of their own in a TIFF file
    const void* pixels = image.Row(0);
    const auto [width, height] = image.Size();
    if (image.Stride() != image.RowSize())
    {
        packed.resize(image.RowSize() * height);
        for (std::uint32_t y = 0; y < height; ++y)
        {
            std::memcpy(packed.data() + y * image.RowSize(), image.Row(y), image.RowSize());
        }
        pixels = packed.data();
    }
    switch (image.Kind())
    {
    case PixelKind::UInt8:
        return WriteUInt8Image(fileName, static_cast<const std::uint8_t*>(pixels), width, height, metadata);
    case PixelKind::UInt16:
        return WriteUInt16Image(fileName, static_cast<const std::uint16_t*>(pixels), width, height, metadata);
    case PixelKind::Float32:
        return WriteFloatImage(fileName, static_cast<const float*>(pixels), width, height, metadata);
    case PixelKind::Rgb8:
        return WriteRgbImage(fileName, static_cast<const Imaging::rgb_type<unsigned char>*>(pixels), width, height, 0,
                             metadata);
    case PixelKind::Rgba8:
        return WriteRgbaImage(fileName, static_cast<const Imaging::rgba_type<unsigned char>*>(pixels), width, height, 0,
                              metadata);
    }
    throw std::runtime_error(InvalidParameters);
}
catch (const ExportRawImageException&)
{
    throw;
}
catch (const std::exception& exception)
{
    throw ExportRawImageException(Prefix + exception.what());
}

void TiffExporter::WriteUInt8Image(const std::wstring& fileName, const std::uint8_t* pixels, std::uint32_t width,
                                   std::uint32_t height, const MetadataLib::Metadata* metadata)
{
    Write(fileName, {.pixels = pixels, .width = width, .height = height, .bitsPerSample = 8}, metadata);
}

void TiffExporter::WriteInt8Image(const std::wstring& fileName, std::int8_t* pixels, std::uint32_t width,
                                  std::uint32_t height, const MetadataLib::Metadata* metadata)
{
    Write(fileName,
          {.pixels = pixels,
           .width = width,
           .height = height,
           .bitsPerSample = 8,
           .clampPixels = pixels,
           .clamp = &ClampImage<std::int8_t>},
          metadata);
}

void TiffExporter::WriteInt16Image(const std::wstring& fileName, std::int16_t* pixels, std::uint32_t width,
                                   std::uint32_t height, const MetadataLib::Metadata* metadata)
{
    Write(fileName,
          {.pixels = pixels,
           .width = width,
           .height = height,
           .bitsPerSample = 16,
           .clampPixels = pixels,
           .clamp = &ClampImage<std::int16_t>},
          metadata);
}

void TiffExporter::WriteUInt16Image(const std::wstring& fileName, const std::uint16_t* pixels, std::uint32_t width,
                                    std::uint32_t height, const MetadataLib::Metadata* metadata)
{
    Write(fileName, {.pixels = pixels, .width = width, .height = height, .bitsPerSample = 16}, metadata);
}

void TiffExporter::WriteFloatImage(const std::wstring& fileName, const float* pixels, std::uint32_t width,
                                   std::uint32_t height, const MetadataLib::Metadata* metadata)
{
    Write(
        fileName,
        {.pixels = pixels, .width = width, .height = height, .bitsPerSample = 32, .sampleFormat = SAMPLEFORMAT_IEEEFP},
        metadata);
}

void TiffExporter::WriteRgbImage(const std::wstring& fileName, const Imaging::rgb_type<unsigned char>* pixels,
                                 std::uint32_t width, std::uint32_t height, std::uint32_t stride,
                                 const MetadataLib::Metadata* metadata)
{
    Write(fileName,
          {.pixels = pixels,
           .width = width,
           .height = height,
           .bitsPerSample = 8,
           .stride = stride,
           .samplesPerPixel = 3,
           .photometric = PHOTOMETRIC_RGB},
          metadata);
}

void TiffExporter::WriteRgbaImage(const std::wstring& fileName, const Imaging::rgba_type<unsigned char>* pixels,
                                  std::uint32_t width, std::uint32_t height, std::uint32_t stride,
                                  const MetadataLib::Metadata* metadata)
{
    Write(fileName,
          {.pixels = pixels,
           .width = width,
           .height = height,
           .bitsPerSample = 8,
           .stride = stride,
           .samplesPerPixel = 4,
           .photometric = PHOTOMETRIC_RGB},
          metadata);
}

void TiffExporter::Write(const std::wstring& fileName, const Image& image, const MetadataLib::Metadata* metadata)
try
{
    WriteFile(fileName, image, metadata);
}
catch (const ExportRawImageException&)
{
    throw;
}
catch (const std::exception& exception)
{
    throw ExportRawImageException(Prefix + exception.what());
}

void TiffExporter::WriteFile(const std::wstring& fileName, const Image& image, const MetadataLib::Metadata* metadata)
{
    const std::uint64_t rowSize = std::uint64_t{image.width} * image.samplesPerPixel * (image.bitsPerSample / 8u);
    const std::uint64_t stride = image.stride == 0 ? rowSize : image.stride;
    if (image.pixels == nullptr || image.width == 0 || image.height == 0 || fileName.empty() || stride < rowSize)
    {
        throw std::runtime_error(InvalidParameters);
    }

    // Everything that may fail without the file is done before the file is changed.
    const StripLayout layout = MakeStripLayout(image.height, rowSize, stride);
    const PrivateTags tags = metadata != nullptr ? MakePrivateTags(*metadata) : PrivateTags();
    const std::uint64_t size = CheckedFileSize(stride, image.height, layout, tags);

    OpenFile(fileName, size);
    try
    {
        SetTags(*m_file, image, layout.rowsPerStrip);
        if (metadata != nullptr)
        {
            SetPrivateTags(*m_file, tags);
        }
        SetTag(*m_file, TIFFTAG_SAMPLEFORMAT, int{image.sampleFormat});
        if (image.clamp != nullptr)
        {
            image.clamp(image.clampPixels, std::size_t{image.width} * image.height);
        }
        WriteStrips(image, layout.stripSize, layout.stripCount);
        if (TIFFWriteDirectory(m_file->Handle()) != 1)
        {
            throw std::runtime_error(WithReason("Error during writing of TIFF directory.", m_file->TakeError()));
        }
        m_file->SetProgress({});
    }
    catch (...)
    {
        // Without this libtiff would write the directory when it closes the file.
        m_file->Abandon();
        m_file->ThrowIfCancelled();
        throw;
    }
}

void TiffExporter::OpenFile(const std::wstring& fileName, std::uint64_t size)
{
    m_file.reset(); // the next write may be to the same file
    try
    {
        m_file = std::make_unique<TiffFile>(fileName, TiffFile::Access::Replace);
    }
    catch (const std::runtime_error& exception)
    {
        throw std::runtime_error(WithReason("Unable to open file.", exception.what()));
    }
    if (m_progress)
    {
        m_file->SetProgress([this, size](std::uint64_t written) { return m_progress(written, size); });
    }
}

void TiffExporter::WriteStrips(const Image& image, std::uint64_t stripSize, std::uint32_t stripCount)
{
    m_file->ContinueAt(FirstStrip);
    const auto size = static_cast<tmsize_t>(stripSize);
    for (std::uint32_t strip = 0; strip < stripCount; ++strip)
    {
        // libtiff's interface lacks const. It changes the pixels only to swap bytes, which does not happen in the
        // machine's own byte order.
        auto* const pixels = static_cast<unsigned char*>(const_cast<void*>(image.pixels)) + stripSize * strip;
        if (TIFFWriteEncodedStrip(m_file->Handle(), strip, pixels, size) != size)
        {
            throw std::runtime_error(WithReason("Error during writing of image data.", m_file->TakeError()));
        }
    }
}

} // namespace Ardo::Kiln::ImageIO
