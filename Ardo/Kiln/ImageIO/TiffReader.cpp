#include "Ardo/Kiln/ImageIO/TiffReader.h"

#include "Ardo/Kiln/ImageIO/PixelBuffer_p.h"
#include "Ardo/Kiln/ImageIO/TiffBounds_p.h"
#include "Ardo/Kiln/ImageIO/TiffFile_p.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"

#include <algorithm>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

#include <tiffio.h>

namespace Ardo::Kiln::ImageIO
{

namespace
{

const std::string OpenError = "Unable to open Tiff file";
const std::string StripsError = "Unable to open Tiff file, tiff not in strips";
const std::string PixelsError = "Unable to open Tiff file, error while reading image data";

} // namespace

TiffReader::TiffReader()
{
    InstallTagExtender();
}

TiffReader::TiffReader(TiffReader&& other) noexcept
{
    *this = std::move(other);
}

TiffReader& TiffReader::operator=(TiffReader&& other) noexcept
{
    m_file = std::move(other.m_file);
    m_pixels = std::move(other.m_pixels);
    m_rawImageDataSize = std::exchange(other.m_rawImageDataSize, 0);
    m_rowsPerStrip = std::exchange(other.m_rowsPerStrip, 0);
    m_width = std::exchange(other.m_width, 0);
    m_height = std::exchange(other.m_height, 0);
    m_bitsPerSample = std::exchange(other.m_bitsPerSample, std::uint16_t{0});
    m_samplesPerPixel = std::exchange(other.m_samplesPerPixel, std::uint16_t{0});
    m_photometric = std::exchange(other.m_photometric, std::uint16_t{0});
    m_sampleFormat = std::exchange(other.m_sampleFormat, TiffSampleFormat::UnsignedInteger);
    m_metadata = std::exchange(other.m_metadata, {});
    return *this;
}

TiffReader::~TiffReader() = default;

void TiffReader::Open(const std::wstring& file)
{
    OpenFields(file);
    ReadMetadata();
    ReadPixels();
}

void TiffReader::Close() noexcept
{
    m_file.reset();
}

std::uint32_t TiffReader::GetStripCount() const noexcept
{
    return m_rowsPerStrip == 0 ? 0 : m_height / m_rowsPerStrip + (m_height % m_rowsPerStrip == 0 ? 0 : 1);
}

const unsigned char* TiffReader::GetRawImageData() const noexcept
{
    return m_rawImageDataSize == 0 ? nullptr : m_pixels->Data();
}

std::string TiffReader::GetMetadataText() const
{
    const char* const text = m_file ? m_file->MetadataText() : nullptr;
    return text != nullptr ? text : "";
}

void TiffReader::OpenFields(const std::wstring& file)
{
    m_file.reset();
    m_rawImageDataSize = 0;
    m_rowsPerStrip = m_width = m_height = 0;
    m_bitsPerSample = m_samplesPerPixel = m_photometric = 0;
    m_sampleFormat = TiffSampleFormat::UnsignedInteger;
    m_metadata = {};

    try
    {
        m_file = std::make_unique<TiffFile>(file, TiffFile::Access::Read);
    }
    catch (const std::runtime_error& exception)
    {
        throw std::runtime_error(WithReason(OpenError, exception.what()));
    }
    ReadFields();
    if (const std::string& fault = m_file->DirectoryFault(); !fault.empty())
    {
        throw std::runtime_error(WithReason(OpenError, fault));
    }
}

void TiffReader::ReadFields()
{
    TIFF* const tiff = m_file->Handle();
    std::uint16_t sampleFormat = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &m_width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &m_height);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &m_bitsPerSample);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &m_samplesPerPixel);
    if (TIFFGetFieldDefaulted(tiff, TIFFTAG_PHOTOMETRIC, &m_photometric) != 1)
    {
        m_photometric = m_samplesPerPixel >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    }
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &sampleFormat);
    m_sampleFormat = static_cast<TiffSampleFormat>(sampleFormat);

    if (TIFFIsTiled(tiff) != 0 || TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &m_rowsPerStrip) != 1)
    {
        m_rowsPerStrip = 0;
        throw std::runtime_error(WithReason(StripsError, m_file->TakeError()));
    }
    // For a file without the tag libtiff returns the largest number: one strip.
    m_rowsPerStrip = std::min(m_rowsPerStrip, m_height);
}

void TiffReader::ReadMetadata()
{
    m_metadata = {};
    if (const char* const text = m_file ? m_file->MetadataText() : nullptr)
    {
        MetadataSerializer::Record(m_metadata).DeserializeFromString(text, MetadataSerializer::SerializeType::Xml);
    }
}

/// The size of the image in bytes, checked against the address space and against the size of the file.
/// \throws std::runtime_error
std::uint64_t TiffReader::CheckedImageSize() const
{
    const auto refuse = [](const std::string& reason) { throw std::runtime_error(WithReason(PixelsError, reason)); };

    TIFF* const tiff = m_file->Handle();
    const std::uint32_t bytesPerPixel = std::uint32_t{GetBytesPerSample()} * m_samplesPerPixel;
    if (m_width == 0 || m_height == 0 || m_rowsPerStrip == 0 || bytesPerPixel == 0)
    {
        refuse("no samples of whole bytes");
    }
    if (bytesPerPixel > std::numeric_limits<std::uint16_t>::max())
    {
        refuse(BytesText(bytesPerPixel) + " a pixel");
    }
    std::uint16_t planarConfiguration = PLANARCONFIG_CONTIG;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &planarConfiguration);
    if (planarConfiguration != PLANARCONFIG_CONTIG && m_samplesPerPixel > 1)
    {
        refuse("samples in separate planes");
    }

    const std::uint64_t rowSize = std::uint64_t{bytesPerPixel} * m_width;
    try
    {
        const std::uint32_t strips = std::min(GetStripCount(), TIFFNumberOfStrips(tiff));
        CheckExpansion(*m_file, PresentBytes(*m_file, strips), rowSize, m_height);
    }
    catch (const std::runtime_error& error)
    {
        refuse(error.what());
    }
    return rowSize * m_height;
}

void TiffReader::ReadPixels()
{
    if (m_file == nullptr)
    {
        throw std::runtime_error(WithReason(PixelsError, "no open file"));
    }
    m_rawImageDataSize = 0;
    const std::uint64_t imageSize = CheckedImageSize();
    try
    {
        if (m_pixels == nullptr)
        {
            m_pixels = std::make_unique<PixelBuffer>();
        }
        m_pixels->Resize(imageSize);
    }
    catch (const std::bad_alloc&)
    {
        throw std::runtime_error(WithReason(PixelsError, "no memory for " + BytesText(imageSize)));
    }

    const std::uint64_t stripSize = imageSize / m_height * m_rowsPerStrip;
    const std::uint32_t strips = GetStripCount();
    for (std::uint32_t strip = 0; strip < strips; ++strip)
    {
        // A partial last strip is refused here, before a read past the end of the image.
        const auto size = static_cast<tmsize_t>(stripSize);
        if (stripSize > imageSize - m_rawImageDataSize ||
            TIFFReadEncodedStrip(m_file->Handle(), strip, m_pixels->Data() + m_rawImageDataSize, size) != size)
        {
            throw std::runtime_error(WithReason(PixelsError, m_file->TakeError()));
        }
        m_rawImageDataSize += stripSize;
    }
}

} // namespace Ardo::Kiln::ImageIO
