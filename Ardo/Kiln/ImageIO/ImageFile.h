#pragma once

#include "Ardo/Imaging/const_raw_image.h"
#include "Ardo/KilnExport.h"
#include "Ardo/MetadataLib/Metadata.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace Ardo::Kiln::ImageIO
{

class TiffReader;

/// An image file of any format, open for reading: its images, and the record of each.
///
/// The format is recognised by the content, never by the name. TIFF files may have several images, called pages. A file
/// of another format counts as one image; of an animation it is the first.
///
/// Samples are converted as follows:
/// - 8 and 16 bits of grey, floats, and RGB and RGBA of 8 bits stay as they are. Grey with an opacity becomes Rgba8.
/// - Grey of less than 8 bits is scaled to 0 to 255; of 9 to 15 bits it keeps its values, in 16 bits.
/// - Grey whose 0 is white (TIFF) is inverted, so that 0 is black.
/// - A palette becomes UInt8 if all its colours are grey, else Rgb8 or Rgba8.
/// - Signed integers of 8 and 16 bits become Float32, every value as it is. Integers of 32 bits do if a float holds
///   each of them. Floats of 64 bits are rounded to 32.
/// - Premultiplied colours are divided by their opacity.
/// - YCbCr becomes Rgb8, in JPEG files, too. Samples of a PNM file stay as they are whatever its largest value is.
/// - Colours of more than 8 bits a sample, other colour spaces, complex numbers and floats of 16 bits are refused.
///
/// Rows and columns are in display order: the orientation that a TIFF or JPEG file states is applied.
///
/// Files may be hostile: the file is not read whole before its kind and the size of its image are known, an image that
/// it cannot hold is refused before memory is allocated, and memory stays within a small multiple of the image and the
/// file. TIFF, PNG, JPEG, BMP, GIF, PNM and XBM files that are cut are refused; for XPM, and for formats of further
/// readers of Qt, those readers decide about a cut file. Messages of Qt's readers go to Qt's message handler, which
/// belongs to the application.
///
/// Needs no application object. Belongs to one thread at a time; different ones work side by side.
///
///     ImageFile file(L"image.tif");
///     const auto image = file.ReadImage();
///     const auto record = file.ReadMetadata(); // of the same open file
class KILN_EXPORT ImageFile
{
public:
    /// Opens \p path. Of a TIFF file the places of the pages are found here. The rest, and a file of another kind, also
    /// one that is no image, is checked by the functions that read it. On Linux a byte of the name that is not valid
    /// UTF-8 is represented as U+DC80 to U+DCFF (FileSystem::ToWide).
    /// \throws ReadImageException
    /// \throws std::range_error of FileSystem::ToPath if the name can be no path.
    explicit ImageFile(const std::wstring& path);
    /// Takes over the file that \p reader has open, so that it is not opened and read a second time. The reader keeps
    /// the data that it has read, as after TiffReader::Close().
    /// \throws ReadImageException
    /// \throws std::logic_error if the reader has no open file.
    explicit ImageFile(TiffReader& reader);
    ~ImageFile();
    ImageFile(const ImageFile&) = delete;
    ImageFile& operator=(const ImageFile&) = delete;
    /// \p other can only be destroyed or assigned to.
    ImageFile(ImageFile&& other) noexcept;
    ImageFile& operator=(ImageFile&& other) noexcept;

    /// Called while an image is read, on the reading thread, about every 4 MiB, with the number of bytes of the file
    /// that were read so far and the size of the file. A reader may leave out parts of the file, or read them twice;
    /// the number is never greater than the size. If it returns false, the reading ends with a ReadImageException of
    /// cause Cancelled; an exception that it throws ends the reading, too. A decoder that has its bytes goes on to the
    /// end of its work first.
    using Progress = std::function<bool(std::uint64_t read, std::uint64_t size)>;

    /// Sets the function that later calls of ReadImage() call; empty for none.
    void SetProgress(Progress progress);

    /// The number of images, at least 1.
    [[nodiscard]] std::uint32_t PageCount() const noexcept;

    /// The pixels of an image.
    /// \param page from 0.
    /// \throws ReadImageException
    /// \throws std::out_of_range if there is no such page.
    std::unique_ptr<Imaging::const_raw_image> ReadImage(std::uint32_t page = 0);

    /// The document of tag 34683 of a TIFF image, whether it is a record or not; empty if there is none. Neither the
    /// pixels nor the fields that describe them are read: it is there also if those are damaged.
    /// \param page from 0.
    /// \throws ReadImageException
    /// \throws std::out_of_range if there is no such page.
    std::string ReadMetadataText(std::uint32_t page = 0);

    /// The record of an image; nothing if it has none. The pixels are not read.
    /// \param page from 0.
    /// \throws ReadImageException of cause Unsupported for a document above
    ///         MetadataSerializer::Serializable::MaxTextSize.
    /// \throws what ReadMetadataText() and MetadataSerializer::Serializable::DeserializeFromString throw.
    std::optional<MetadataLib::Metadata> ReadMetadata(std::uint32_t page = 0);

private:
    struct Content;
    std::unique_ptr<Content> m_content;
};

} // namespace Ardo::Kiln::ImageIO
