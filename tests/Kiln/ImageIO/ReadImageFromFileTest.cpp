#include "Ardo/Kiln/ImageIO/ReadImageFromFile.h"

#include "tests/Kiln/ImageIO/TiffBuilder.h"
#include "tests/Kiln/ImageIO/TiffTestFiles.h"
#include "tests/Support/LogCollector.h"
#include "tests/Support/ScopedTempDir.h"

#include <cstdlib>

#include <gmock/gmock.h>
#include <QImage>

namespace Ardo::Kiln::ImageIO
{

using Imaging::PixelKind;

namespace
{

/// The rows of an image without what pads them.
std::string RowsOf(const Imaging::const_raw_image& image)
{
    std::string rows;
    for (std::uint32_t y = 0; y < image.Size().height; ++y)
    {
        rows.append(static_cast<const char*>(image.Row(y)), image.RowSize());
    }
    return rows;
}

class ReadImageFromFileTest : public ::testing::Test
{
protected:
    std::unique_ptr<Imaging::const_raw_image> Save(const QImage& image, const char* format = "PNG")
    {
        EXPECT_TRUE(image.save(QString::fromStdString(m_path.string()), format));
        return ReadImageFromFile(Wide(m_path));
    }

    std::string Error(const std::filesystem::path& path)
    {
        return MessageOf<std::runtime_error>([&] { ReadImageFromFile(Wide(path)); });
    }

    const Support::ScopedTempDir m_dir;
    const std::filesystem::path m_path = m_dir / "bild \xE2\x82\xAC";
    const std::string m_openError = "ReadImageFromFile: failed to open file -" + m_path.string();
};

} // namespace

TEST_F(ReadImageFromFileTest, RealMicrographsKeepEverySample)
{
    const char* const folder = std::getenv("KILN_SHARED_IMAGES");
    const std::filesystem::path shared = folder != nullptr ? folder : KILN_SHARED_IMAGES_DEFAULT;
    const std::filesystem::path own = std::filesystem::path(KILN_TEST_DATA) / "images";
    if (!std::filesystem::exists(shared))
    {
        GTEST_SKIP() << "no images in " << shared << "; KILN_SHARED_IMAGES names another folder";
    }
    const struct
    {
        std::filesystem::path file;
        const char* raw;
        Imaging::size_2d size;
        PixelKind kind;
    } rows[] = {
        {own / "cell.png", "cell-550x660x1-u8.raw", {550, 660}, PixelKind::UInt8},
        {own / "ihc.png", "ihc-512x512x3-u8.raw", {512, 512}, PixelKind::Rgb8},
        {shared / "hotspots.tif", "hotspots-256x256x1-u16.raw", {256, 256}, PixelKind::UInt16},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.file);
        const auto image = ReadImageFromFile(Wide(row.file));
        EXPECT_EQ(image->Size(), row.size);
        EXPECT_EQ(image->Kind(), row.kind);
        EXPECT_TRUE(RowsOf(*image) == ReadFile(shared / row.raw));
    }
}

TEST_F(ReadImageFromFileTest, TiffImagesComeFromTheTiffReader)
{
    using enum TiffBuilder::Type;
    const std::string pixels = BytesOf(Pattern<unsigned char>(6 * 4 * 4));
    const struct
    {
        PixelKind kind;
        std::uint16_t bits, samples, photometric, format;
    } rows[] = {{PixelKind::UInt8, 8, 1, 1, 1},
                {PixelKind::UInt16, 16, 1, 1, 1},
                {PixelKind::Float32, 32, 1, 1, 3},
                {PixelKind::Rgb8, 8, 3, 2, 1},
                {PixelKind::Rgba8, 8, 4, 2, 1}};
    for (const auto& row : rows)
    {
        TiffBuilder file(6, 4, pixels.substr(0, 24 * Imaging::BytesPerPixel(row.kind)), row.bits);
        file.Set(277, Short, {row.samples}).Set(262, Short, {row.photometric}).Set(339, Short, {row.format});
        WriteFile(m_path, file.Bytes());
        const auto image = ReadImageFromFile(Wide(m_path));
        EXPECT_EQ(image->Kind(), row.kind);
        EXPECT_EQ(image->Size(), (Imaging::size_2d{6, 4}));
        EXPECT_EQ(RowsOf(*image), pixels.substr(0, 24 * Imaging::BytesPerPixel(row.kind)));
    }
    // metadata that is no record is not in the way of the pixels
    WriteFile(m_path, TiffBuilder(3, 1, "abc").SetText(34683, "<Metadata>").Bytes());
    EXPECT_EQ(RowsOf(*ReadImageFromFile(Wide(m_path))), "abc");

    for (const auto& file :
         {TiffBuilder(1, 1, "12345678", 64).Set(339, Short, {3}), TiffBuilder(3, 1, "abc").Set(262, Short, {0}),
          TiffBuilder(3, 1, "abc").Set(339, Short, {2}), TiffBuilder(4, 1, "123456", 12)})
    {
        WriteFile(m_path, file.Bytes());
        EXPECT_EQ(Error(m_path), "null IRawImage2");
    }
}

TEST_F(ReadImageFromFileTest, OtherFormatsKeepTheirSamples)
{
    QImage grey(3, 2, QImage::Format_Grayscale8);
    QImage deep(3, 2, QImage::Format_Grayscale16);
    QImage colour(3, 2, QImage::Format_RGB888);
    QImage transparent(3, 2, QImage::Format_RGBA8888);
    for (int i = 0; i < 6; ++i)
    {
        grey.scanLine(i / 3)[i % 3] = static_cast<uchar>(40 * i);
        reinterpret_cast<quint16*>(deep.scanLine(i / 3))[i % 3] = static_cast<quint16>(10001 * i);
        colour.setPixel(i % 3, i / 3, qRgb(i, 100 + i, 200 + i));
        transparent.setPixel(i % 3, i / 3, qRgba(i, 100 + i, 200 + i, 40 * i));
    }
    QImage palette(2, 1, QImage::Format_Indexed8);
    palette.setColorTable({qRgb(1, 2, 3), qRgb(255, 0, 128)});
    palette.setPixel(0, 0, 1);
    palette.setPixel(1, 0, 0);
    QImage black(2, 1, QImage::Format_Mono);
    black.setColorTable({qRgb(0, 0, 0), qRgb(255, 255, 255)});
    black.fill(0);
    black.setPixel(1, 0, 1);

    const std::vector<unsigned char> greys = {0, 40, 80, 120, 160, 200};
    const std::vector<std::uint16_t> deeps = {0, 10001, 20002, 30003, 40004, 50005};
    std::vector<unsigned char> colours;
    std::vector<unsigned char> transparents;
    for (unsigned char i = 0; i < 6; ++i)
    {
        colours.insert(colours.end(), {i, static_cast<unsigned char>(100 + i), static_cast<unsigned char>(200 + i)});
        transparents.insert(transparents.end(), colours.end() - 3, colours.end());
        transparents.push_back(static_cast<unsigned char>(40 * i));
    }
    const struct
    {
        const char* name;
        const QImage& image;
        const char* format;
        PixelKind kind;
        std::string pixels;
    } rows[] = {
        {"grey", grey, "PNG", PixelKind::UInt8, BytesOf(greys)},
        {"16 bits", deep, "PNG", PixelKind::UInt16, BytesOf(deeps)},
        {"colour", colour, "PNG", PixelKind::Rgb8, BytesOf(colours)},
        {"transparent", transparent, "PNG", PixelKind::Rgba8, BytesOf(transparents)},
        {"palette", palette, "PNG", PixelKind::Rgb8, std::string("\xFF\0\x80\x01\x02\x03", 6)},
        {"black and white", black, "PNG", PixelKind::UInt8, std::string("\0\xFF", 2)},
        {"bitmap", colour, "BMP", PixelKind::Rgb8, BytesOf(colours)},
        {"grey map", grey, "PGM", PixelKind::UInt8, BytesOf(greys)},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.name);
        const auto image = Save(row.image, row.format);
        EXPECT_EQ(image->Kind(), row.kind);
        EXPECT_EQ(RowsOf(*image), row.pixels);
    }
}

TEST_F(ReadImageFromFileTest, WhatIsNoImageIsNamedAndItsReasonLogged)
{
    testing::internal::CaptureStderr();
    const Support::LogCollector log;
    EXPECT_EQ(Error(m_path), m_openError);
    ASSERT_EQ(log.Messages().size(), 1u);
    EXPECT_EQ(log.Messages()[0], m_path.string() + ": No such file or directory");
    EXPECT_EQ(Error(m_dir.Path()), "ReadImageFromFile: failed to open file -" + m_dir.Path().string());

    QImage image(64, 64, QImage::Format_Grayscale8);
    image.fill(3);
    Save(image);
    const std::string png = ReadFile(m_path);
    for (std::size_t size = 0; size < png.size(); ++size)
    {
        WriteFile(m_path, png.substr(0, size));
        EXPECT_EQ(Error(m_path), m_openError) << size;
    }
    std::string damaged = png;
    damaged[png.size() - 20] = static_cast<char>(damaged[png.size() - 20] ^ 1);
    std::string bitmap = "BM" + std::string(52, '\0'); // 2^15 x 2^15 pixels of 24 bits in 54 bytes
    bitmap[14] = 40;
    bitmap[19] = bitmap[23] = '\x80';
    bitmap[26] = 1;
    bitmap[28] = 24;
    for (const std::string& bytes : {std::string("junk"), damaged, bitmap, std::string("II*\0junk", 8)})
    {
        WriteFile(m_path, bytes);
        EXPECT_EQ(Error(m_path), m_openError);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace Ardo::Kiln::ImageIO
