#pragma once

#include "Ardo/Imaging/rgb_type.h"
#include "Ardo/Imaging/rgba_type.h"
#include "Ardo/KilnExport.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace Ardo::Imaging
{
class const_raw_image;
}

namespace Ardo::MetadataLib
{
struct Metadata;
}

namespace Ardo::Kiln::ImageIO
{

class TiffFile;

/// Writes images as uncompressed single-page classic TIFF files, with their metadata in private tags.
///
/// A file holds the pixels in strips of 32 rows if the height is a multiple of 32, in one strip if it is not, and in
/// strips of one row if the rows are padded. With metadata it also holds the whole metadata as an XML document (tag
/// 34683); if the pixel size is given, the pixels per centimetre (65450, 65451, and 65452 = 3); and if the pixel size
/// is in metres, the legacy text (34682). For the pixels per centimetre the pixel size is taken as metres, whatever its
/// unit text and its prefix power are. A value that the tag cannot hold is replaced by the nearest one that it can
/// hold. With a pixel size that is not positive and
/// finite, the tags 65450 to 65452 are not written.
///
/// The file of the last write stays open until the next write or the destructor; it is complete on return. Neither
/// pixels nor metadata are kept after a call. A write needs less than 2 MiB of memory beyond the metadata text.
/// Thread-safety: an exporter belongs to one thread at a time; different exporters work side by side.
///
///     TiffExporter exporter;
///     exporter.WriteUInt16Image(L"image.tif", pixels.data(), width, height, &metadata);
///
/// Every write
/// - takes the path \p fileName (as FileSystem::ToWide gives it), \p width and \p height in pixels, and \p metadata,
///   which may be null: then none of the private tags is written;
/// - replaces an existing file, but only after everything that can be checked without it has been: a null pointer, a
///   size of 0, an empty name, a stride below the row size, an image that a classic TIFF file cannot hold (with its
///   tags 4 GiB or more) and metadata that cannot be written leave it as it was;
/// - throws ExportRawImageException and nothing else: "Failed to write TIFF image." and the detail, which is "Invalid
///   data parameters.", "Unable to open file.", "Error during writing of image data.", "Error during writing of TIFF
///   directory." (each followed by the reason where one is known) or the text of what was thrown on the way. What has
///   been written by then is no readable image: its directory, which comes last, is missing. The exporter can be used
///   again.
class KILN_EXPORT TiffExporter
{
public:
    TiffExporter();
    ~TiffExporter();
    TiffExporter(const TiffExporter&) = delete;
    TiffExporter& operator=(const TiffExporter&) = delete;
    /// \p other has no open file afterwards.
    TiffExporter(TiffExporter&& other) noexcept;
    TiffExporter& operator=(TiffExporter&& other) noexcept;

    /// Called during a write, on the writing thread, with the number of bytes written and the approximate size of the
    /// file; for the first time after 8 MiB at the latest. If it returns false the write ends and throws
    /// ExportRawImageException "Failed to write TIFF image. Cancelled."; an exception that it throws ends the write,
    /// too.
    using Progress = std::function<bool(std::uint64_t written, std::uint64_t size)>;

    /// Sets the function that later writes call; empty for none.
    void SetProgress(Progress progress);

    /// Writes an image of any kind with the operation for its kind. Rows with gaps between them are written without the
    /// gaps, for which the image is copied.
    void WriteImage(const std::wstring& fileName, const Imaging::const_raw_image& image,
                    const MetadataLib::Metadata* metadata);

    /// Writes unsigned samples of 8 bits, as they are. \p pixels: \p width x \p height samples, row by row.
    void WriteUInt8Image(const std::wstring& fileName, const std::uint8_t* pixels, std::uint32_t width,
                         std::uint32_t height, const MetadataLib::Metadata* metadata);

    /// Writes signed samples of 8 bits as unsigned ones.
    /// \warning Negative samples are lost: they are set to 0 in \p pixels itself before it is written.
    void WriteInt8Image(const std::wstring& fileName, std::int8_t* pixels, std::uint32_t width, std::uint32_t height,
                        const MetadataLib::Metadata* metadata);

    /// Writes signed samples of 16 bits as unsigned ones.
    /// \warning Negative samples are lost: they are set to 0 in \p pixels itself before it is written.
    void WriteInt16Image(const std::wstring& fileName, std::int16_t* pixels, std::uint32_t width, std::uint32_t height,
                         const MetadataLib::Metadata* metadata);

    /// Writes unsigned samples of 16 bits, as they are. \p pixels: \p width x \p height samples, row by row.
    void WriteUInt16Image(const std::wstring& fileName, const std::uint16_t* pixels, std::uint32_t width,
                          std::uint32_t height, const MetadataLib::Metadata* metadata);

    /// Writes IEEE samples of 32 bits, as they are. \p pixels: \p width x \p height samples, row by row.
    void WriteFloatImage(const std::wstring& fileName, const float* pixels, std::uint32_t width, std::uint32_t height,
                         const MetadataLib::Metadata* metadata);

    /// Writes RGB pixels. A row begins \p stride bytes after the one before, at least 3 x \p width; 0 means exactly
    /// that. Padded rows are written with what pads them: \p pixels holds \p stride x \p height bytes.
    void WriteRgbImage(const std::wstring& fileName, const Imaging::rgb_type<unsigned char>* pixels,
                       std::uint32_t width, std::uint32_t height, std::uint32_t stride,
                       const MetadataLib::Metadata* metadata);

    /// Writes RGBA pixels, without an ExtraSamples tag. A row begins \p stride bytes after the one before, at least
    /// 4 x \p width; 0 means exactly that. Padded rows are written with what pads them: \p pixels holds
    /// \p stride x \p height bytes.
    void WriteRgbaImage(const std::wstring& fileName, const Imaging::rgba_type<unsigned char>* pixels,
                        std::uint32_t width, std::uint32_t height, std::uint32_t stride,
                        const MetadataLib::Metadata* metadata);

private:
    struct Image;

    void Write(const std::wstring& fileName, const Image& image, const MetadataLib::Metadata* metadata);
    void WriteFile(const std::wstring& fileName, const Image& image, const MetadataLib::Metadata* metadata);
    static void SetTags(TiffFile& file, const Image& image, std::uint32_t rowsPerStrip);
    void OpenFile(const std::wstring& fileName, std::uint64_t size);
    void WriteStrips(const Image& image, std::uint64_t stripSize, std::uint32_t stripCount);

    std::unique_ptr<TiffFile> m_file; ///< The file of the last write; null before it.
    Progress m_progress;
};

} // namespace Ardo::Kiln::ImageIO
