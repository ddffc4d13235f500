#include "Ardo/Kiln/ImageIO/ReadImageFromFile.h"

#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/ImageIO/PixelBuffer_p.h"
#include "Ardo/Kiln/ImageIO/QtImage_p.h"
#include "Ardo/Kiln/ImageIO/TiffReader.h"
#include "Ardo/Kiln/Logger/ComponentLog_p.h"
#include "Ardo/Kiln/Platform/RandomAccessFile.h"

#include <array>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace Ardo::Kiln::ImageIO
{

namespace
{

using Imaging::PixelKind;

bool IsTiff(Platform::RandomAccessFile& file)
{
    std::array<char, 4> signature{};
    file.ReadAt(0, signature.data(), signature.size());
    const std::string_view start(signature.data(), signature.size());
    using namespace std::string_view_literals;
    return start == "II*\0"sv || start == "MM\0*"sv || start == "II+\0"sv || start == "MM\0+"sv;
}

/// The kind of the reader's pixels; empty if there is none for them.
std::optional<PixelKind> KindOf(const TiffReader& reader)
{
    struct Row
    {
        std::uint16_t samples, bits, photometric;
        TiffSampleFormat format;
        PixelKind kind;
    };
    constexpr std::uint16_t BlackIsZero = 1;
    constexpr std::uint16_t Rgb = 2;
    constexpr std::array Rows = {
        Row{1, 8, BlackIsZero, TiffSampleFormat::UnsignedInteger, PixelKind::UInt8},
        Row{1, 16, BlackIsZero, TiffSampleFormat::UnsignedInteger, PixelKind::UInt16},
        Row{1, 32, BlackIsZero, TiffSampleFormat::FloatingPoint, PixelKind::Float32},
        Row{3, 8, Rgb, TiffSampleFormat::UnsignedInteger, PixelKind::Rgb8},
        Row{4, 8, Rgb, TiffSampleFormat::UnsignedInteger, PixelKind::Rgba8},
    };
    for (const Row& row : Rows)
    {
        if (row.samples == reader.GetSamplesPerPixel() && row.bits == reader.GetBitsPerSample() &&
            row.photometric == reader.GetPhotometric() && row.format == reader.GetSampleFormat())
        {
            return row.kind;
        }
    }
    return std::nullopt;
}

std::unique_ptr<Imaging::const_raw_image> DecodeFile(Platform::RandomAccessFile& file)
{
    PixelBuffer content;
    content.Resize(file.SizeWhenOpened());
    const std::int64_t count = file.ReadAt(0, content.Data(), static_cast<std::int64_t>(content.Size()));
    if (count < 0)
    {
        throw std::system_error(file.LastError());
    }
    return DecodeWithQt(content.Data(), static_cast<std::size_t>(count));
}

} // namespace

std::unique_ptr<Imaging::const_raw_image> ReadImageFromFile(const std::wstring& file)
{
    if (!HasQtImageReaders())
    {
        throw std::runtime_error("ReadImageFromFile: failed to create Imaging::RawImage::Com::ImageFileFactory");
    }

    const std::filesystem::path path = FileSystem::ToPath(file);
    const std::string name = FileSystem::ToDisplayText(path);
    const auto tiff = std::make_shared<TiffReader>();
    try
    {
        Platform::RandomAccessFile opened(path, Platform::RandomAccessFile::Access::Read);
        if (!IsTiff(opened))
        {
            return DecodeFile(opened);
        }
        tiff->OpenFields(file);
        tiff->ReadPixels();
        tiff->Close();
    }
    catch (const std::exception& exception)
    {
        Logger::ComponentLog("ImageIO").Warning(name + ": " + exception.what());
        throw std::runtime_error("ReadImageFromFile: failed to open file -" + name);
    }

    const std::optional<PixelKind> kind = KindOf(*tiff);
    if (!kind)
    {
        throw std::runtime_error("null IRawImage2");
    }
    // The image keeps the reader alive, which holds its pixels.
    return std::make_unique<Imaging::const_raw_image>(std::shared_ptr<const void>(tiff, tiff->GetRawImageData()),
                                                      Imaging::size_2d{tiff->GetImageWidth(), tiff->GetImageHeight()},
                                                      *kind);
}

} // namespace Ardo::Kiln::ImageIO
