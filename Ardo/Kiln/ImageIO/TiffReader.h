#pragma once

#include "Ardo/Kiln/ImageIO/TiffSampleFormat.h"
#include "Ardo/KilnExport.h"
#include "Ardo/MetadataLib/Metadata.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace Ardo::Kiln::ImageIO
{

class ImageFile;
class PixelBuffer;
class TiffFile;

/// Reads the first image of a TIFF file that is organised in strips: its raw samples, and the metadata of tag 34683.
///
/// Classic and BigTIFF of both byte orders, with the compressions that libtiff has. Samples arrive decompressed and in
/// the machine's byte order, rows from top to bottom as they are in the file, without anything between them. Every
/// strip, the last one included, must be full: a file whose height is no multiple of its rows per strip is refused
/// unless it has one strip only.
///
/// Files may be hostile: memory stays within the image and a small multiple of the file's own size, and an image that
/// the file cannot possibly hold is refused before memory is asked for. The file is never mapped into memory. A file
/// that was cut is an error: every entry of the directory has to lie inside the file.
/// Thread-safety: a reader belongs to one thread at a time; different readers work side by side.
///
///     TiffReader reader;
///     reader.Open(L"image.tif");
///     Show(reader.GetRawImageData(), reader.GetImageWidth(), reader.GetImageHeight());
///
/// Open() is OpenFields(), ReadMetadata() and ReadPixels(), which can be called one by one: for the record without the
/// pixels, or for the pixels in spite of a record that cannot be read.
class KILN_EXPORT TiffReader
{
public:
    TiffReader();
    ~TiffReader();
    TiffReader(const TiffReader&) = delete;
    TiffReader& operator=(const TiffReader&) = delete;
    /// \p other becomes a reader that has opened nothing.
    TiffReader(TiffReader&& other) noexcept;
    TiffReader& operator=(TiffReader&& other) noexcept;

    /// Reads \p file (a path as FileSystem::ToWide gives it): first the fields, then the metadata, then the pixels. The
    /// data of an earlier call are discarded; their memory is reused. The file stays open until the next call, Close()
    /// or the destructor.
    ///
    /// After a failure the accessors return the parts that were read before it: a file with damaged pixels still has
    /// fields and metadata.
    /// \throws what OpenFields(), ReadMetadata() and ReadPixels() throw.
    void Open(const std::wstring& file);

    /// Opens \p file and reads its fields only, which costs reading its directory. The data of an earlier call are
    /// discarded. After a failure that leaves a width, the file is open and the other two parts can still be tried.
    /// \throws std::runtime_error beginning "Unable to open Tiff file" (no such file, no TIFF, an entry of the
    ///         directory that cannot be read, as in a file that was cut) or "Unable to open Tiff file, tiff not in
    ///         strips" (tiles), followed by the reason in parentheses where one is known.
    void OpenFields(const std::wstring& file);

    /// Reads the metadata of the open file. Does nothing if it has none, or if none is open.
    /// \throws what MetadataSerializer::Serializable::DeserializeFromString throws for metadata that is no record.
    void ReadMetadata();

    /// Reads the pixels of the open file.
    /// \throws std::runtime_error "Unable to open Tiff file, error while reading image data" (damaged or missing
    ///         strips, a partial last strip, samples of less than 8 bits, samples in separate planes, sizes that the
    ///         file cannot hold, no open file), followed by the reason in parentheses where one is known.
    void ReadPixels();

    /// Closes the file. The data that were read stay. Does nothing without an open file.
    void Close() noexcept;

    /// In pixels; 0 before Open().
    [[nodiscard]] std::uint32_t GetImageWidth() const noexcept { return m_width; }

    /// In pixels; 0 before Open().
    [[nodiscard]] std::uint32_t GetImageHeight() const noexcept { return m_height; }

    /// The bits of a sample.
    [[nodiscard]] std::uint16_t GetBitsPerSample() const noexcept { return m_bitsPerSample; }

    /// The bits of a sample divided by 8 and rounded down: 1 for 12 bits.
    [[nodiscard]] std::uint16_t GetBytesPerSample() const noexcept { return m_bitsPerSample / 8; }

    /// 1 for grey images, 3 for RGB.
    [[nodiscard]] std::uint16_t GetSamplesPerPixel() const noexcept { return m_samplesPerPixel; }

    /// The code of the tag PhotometricInterpretation (TIFF 6.0, section 8): 1 for grey images whose 0 is black, 2 for
    /// RGB. A file without the tag counts as 2 from 3 samples on, else as 1.
    [[nodiscard]] std::uint16_t GetPhotometric() const noexcept { return m_photometric; }

    /// The code of the tag SampleFormat; unsigned for a file without it.
    [[nodiscard]] TiffSampleFormat GetSampleFormat() const noexcept { return m_sampleFormat; }

    /// Rows of a strip; at most the height.
    [[nodiscard]] std::uint32_t GetRowsPerStrip() const noexcept { return m_rowsPerStrip; }

    /// The number of strips; 0 before Open().
    [[nodiscard]] std::uint32_t GetStripCount() const noexcept;

    /// The first byte of the pixels; null if there are none. Valid until the next Open() or the destructor.
    [[nodiscard]] const unsigned char* GetRawImageData() const noexcept;

    /// The number of bytes at GetRawImageData(): those of the whole image, or of the strips before the damaged one.
    [[nodiscard]] std::size_t GetRawImageDataSize() const noexcept { return m_rawImageDataSize; }

    /// The metadata; an empty record if the file has none.
    [[nodiscard]] const MetadataLib::Metadata& GetMetadata() const noexcept { return m_metadata; }

    /// The document of tag 34683 as it stands in the open file, whether it is a record or not; empty if there is none.
    /// \throws std::bad_alloc only.
    [[nodiscard]] std::string GetMetadataText() const;

private:
    friend class ImageFile; // takes the open file over

    void ReadFields();
    std::uint64_t CheckedImageSize() const;

    std::unique_ptr<TiffFile> m_file;      ///< Null without an open file.
    std::unique_ptr<PixelBuffer> m_pixels; ///< May be larger than the data read; null before the first read.
    std::size_t m_rawImageDataSize = 0;
    std::uint32_t m_rowsPerStrip = 0;
    std::uint32_t m_width = 0;
    std::uint32_t m_height = 0;
    std::uint16_t m_bitsPerSample = 0;
    std::uint16_t m_samplesPerPixel = 0;
    std::uint16_t m_photometric = 0;
    TiffSampleFormat m_sampleFormat = TiffSampleFormat::UnsignedInteger;
    MetadataLib::Metadata m_metadata;
};

} // namespace Ardo::Kiln::ImageIO
