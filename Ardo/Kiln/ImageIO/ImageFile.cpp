#include "Ardo/Kiln/ImageIO/ImageFile.h"

#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/ImageIO/FileDevice_p.h"
#include "Ardo/Kiln/ImageIO/ImageDecoders_p.h"
#include "Ardo/Kiln/ImageIO/ReadImageException.h"
#include "Ardo/Kiln/ImageIO/ReadProgress_p.h"
#include "Ardo/Kiln/ImageIO/TiffDirectory_p.h"
#include "Ardo/Kiln/ImageIO/TiffFile_p.h"
#include "Ardo/Kiln/ImageIO/TiffReader.h"
#include "Ardo/Kiln/ImageIO/TiffTags_p.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/Kiln/Platform/RandomAccessFile.h"

#include <algorithm>
#include <array>
#include <new>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <vector>

#include <tiffio.h>

namespace Ardo::Kiln::ImageIO
{

namespace
{

using Cause = ReadImageException::Cause;

/// Calls \p function. A std::runtime_error that it throws becomes a ReadImageException of cause Damaged.
template <typename Function>
auto Reading(Function function)
{
    try
    {
        return function();
    }
    catch (const ReadImageException&)
    {
        throw;
    }
    catch (const std::system_error& error)
    {
        throw ReadImageException(Cause::System, error.what(), error.code());
    }
    catch (const std::bad_alloc&)
    {
        throw ReadImageException(Cause::System, "not enough memory",
                                 std::make_error_code(std::errc::not_enough_memory));
    }
    catch (const std::runtime_error& error)
    {
        throw ReadImageException(Cause::Damaged, error.what());
    }
}

/// Calls \p decode. What the progress function has thrown takes the place of the failure that it has caused.
template <typename Decode>
std::unique_ptr<Imaging::const_raw_image> WithProgress(ReadProgress& reading, const ImageFile::Progress& progress,
                                                       Decode decode)
{
    reading.Start(progress);
    std::unique_ptr<Imaging::const_raw_image> image;
    try
    {
        image = decode();
    }
    catch (...)
    {
        reading.Finish();
        throw;
    }
    reading.Finish();
    return image;
}

bool IsTiff(std::string_view start)
{
    using namespace std::string_view_literals;
    return start.starts_with("II*\0"sv) || start.starts_with("MM\0*"sv) || start.starts_with("II+\0"sv) ||
           start.starts_with("MM\0+"sv);
}

} // namespace

struct ImageFile::Content
{
    std::shared_ptr<BlockReader> file; ///< Never null after construction.
    std::unique_ptr<TiffFile> tiff;    ///< A TIFF file in libtiff, which is not needed for the records.
    std::wstring path;
    ImageFile::Progress progress;
    std::vector<std::uint64_t> pages; ///< Where the directories of a TIFF file begin; empty for another one.

    bool IsTiff() const noexcept { return !pages.empty(); }

    void FindPages()
    {
        constexpr std::size_t MaxPages = 65'536;
        pages = TiffDirectoryReader(*file).Chain(MaxPages);
        if (pages.empty())
        {
            throw std::runtime_error("a TIFF file without an image");
        }
    }

    void CheckPage(std::uint32_t page) const
    {
        if (page >= (IsTiff() ? pages.size() : 1))
        {
            throw std::out_of_range("no such page");
        }
    }

    /// The TIFF file in libtiff, with \p page as the current one.
    TiffFile& TiffAt(std::uint32_t page)
    {
        if (tiff == nullptr)
        {
            tiff = std::make_unique<TiffFile>(file, path);
        }
        if (page > 0 || TIFFCurrentDirOffset(tiff->Handle()) != pages[page])
        {
            tiff->SelectPage(pages[page]);
        }
        if (const std::string& fault = tiff->DirectoryFault(); !fault.empty())
        {
            throw ReadImageException(Cause::Damaged, fault);
        }
        return *tiff;
    }
};

ImageFile::ImageFile(const std::wstring& path) : m_content(std::make_unique<Content>())
{
    const std::filesystem::path name = FileSystem::ToPath(path);
    Reading(
        [&]
        {
            using Platform::RandomAccessFile;
            m_content->path = path;
            m_content->file =
                std::make_shared<BlockReader>(std::make_unique<RandomAccessFile>(name, RandomAccessFile::Access::Read));
            std::array<char, 4> start{};
            if (m_content->file->ReadAt(0, start.data(), start.size()) < 0)
            {
                throw std::system_error(m_content->file->LastError());
            }
            if (IsTiff({start.data(), start.size()}))
            {
                m_content->FindPages();
            }
        });
}

ImageFile::ImageFile(TiffReader& reader) : m_content(std::make_unique<Content>())
{
    if (reader.m_file == nullptr)
    {
        throw std::logic_error("ImageFile: a reader without an open file");
    }
    Reading(
        [&]
        {
            m_content->tiff = std::move(reader.m_file);
            m_content->file = m_content->tiff->File();
            m_content->FindPages();
        });
}

ImageFile::~ImageFile() = default;
ImageFile::ImageFile(ImageFile&&) noexcept = default;
ImageFile& ImageFile::operator=(ImageFile&&) noexcept = default;

void ImageFile::SetProgress(Progress progress)
{
    m_content->progress = std::move(progress);
}

std::uint32_t ImageFile::PageCount() const noexcept
{
    return m_content->IsTiff() ? static_cast<std::uint32_t>(m_content->pages.size()) : 1;
}

std::unique_ptr<Imaging::const_raw_image> ImageFile::ReadImage(std::uint32_t page)
{
    return Reading(
        [&]
        {
            m_content->CheckPage(page);
            if (m_content->IsTiff())
            {
                TiffFile& tiff = m_content->TiffAt(page);
                return WithProgress(tiff.Reading(), m_content->progress, [&] { return DecodeTiff(tiff); });
            }
            ReadProgress reading;
            FileDevice device(*m_content->file, reading);
            return WithProgress(reading, m_content->progress, [&] { return DecodeDevice(device); });
        });
}

std::string ImageFile::ReadMetadataText(std::uint32_t page)
{
    return Reading(
        [&]
        {
            m_content->CheckPage(page);
            if (!m_content->IsTiff())
            {
                return std::string();
            }
            const TiffDirectoryReader directories(*m_content->file);
            const auto entries = directories.At(m_content->pages[page]).entries;
            const auto record = std::ranges::find(entries, Tag::XmlMetadata, &TiffDirectoryReader::Entry::tag);
            return record != entries.end() ? directories.Text(*record) : std::string();
        });
}

std::optional<MetadataLib::Metadata> ImageFile::ReadMetadata(std::uint32_t page)
{
    const std::string text = ReadMetadataText(page);
    if (text.empty())
    {
        return std::nullopt;
    }
    if (text.size() > MetadataSerializer::Serializable::MaxTextSize) // which the reader would ignore without an error
    {
        throw ReadImageException(Cause::Unsupported, "a record of " + std::to_string(text.size()) + " bytes");
    }
    MetadataLib::Metadata metadata;
    MetadataSerializer::Record(metadata).DeserializeFromString(text, MetadataSerializer::SerializeType::Xml);
    return metadata;
}

} // namespace Ardo::Kiln::ImageIO
