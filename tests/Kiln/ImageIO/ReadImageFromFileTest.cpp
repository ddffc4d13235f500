#include "Ardo/Kiln/ImageIO/ReadImageFromFile.h"

#include "Ardo/Kiln/ImageIO/ReadImageException.h"
#include "tests/Kiln/ImageIO/TiffBuilder.h"
#include "tests/Kiln/ImageIO/TiffTestFiles.h"
#include "tests/Support/LogCollector.h"
#include "tests/Support/SystemFacilities.h"

#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <QImage>

namespace Ardo::Kiln::ImageIO
{

using Imaging::PixelKind;

namespace
{

class ReadImageFromFileTest : public TiffTest
{
protected:
    void Save(const QImage& image, const char* format)
    {
        EXPECT_TRUE(image.save(QString::fromStdString(m_path.string()), format));
    }

    /// Reads the file and compares its rows without what pads them.
    void Check(PixelKind kind, const std::string& pixels)
    {
        const auto image = ReadImageFromFile(m_name);
        EXPECT_EQ(image->Kind(), kind);
        std::string rows;
        for (std::uint32_t y = 0; y < image->Size().height; ++y)
        {
            rows.append(static_cast<const char*>(image->Row(y)), image->RowSize());
        }
        EXPECT_EQ(rows, pixels);
    }

    std::string Error(const std::string& bytes)
    {
        WriteFile(m_path, bytes);
        return MessageOf([&] { ReadImageFromFile(m_name); });
    }

    const std::string m_openError = "ReadImageFromFile: failed to open file -" + m_path.string();
};

} // namespace

TEST_F(ReadImageFromFileTest, EveryKindKeepsItsSamples)
{
    using enum TiffBuilder::Type;
    using Row =
        std::tuple<PixelKind, unsigned short, unsigned, unsigned, unsigned, QImage::Format, std::vector<const char*>>;
    const Row rows[] = {{PixelKind::UInt8, 8, 1, 1, 1, QImage::Format_Grayscale8, {"PNG", "PGM"}},
                        {PixelKind::UInt16, 16, 1, 1, 1, QImage::Format_Grayscale16, {"PNG"}},
                        {PixelKind::Float32, 32, 1, 1, 3, QImage::Format_Invalid, {}},
                        {PixelKind::Rgb8, 8, 3, 2, 1, QImage::Format_RGB888, {"PNG", "BMP"}},
                        {PixelKind::Rgba8, 8, 4, 2, 1, QImage::Format_RGBA8888, {"PNG"}}};
    for (const auto& [kind, bits, samples, photometric, format, qtFormat, qtFiles] : rows)
    {
        const int rowSize = 7 * static_cast<int>(Imaging::BytesPerPixel(kind));
        const std::string pixels = BytesOf(Pattern<char>(4 * static_cast<std::size_t>(rowSize)));
        TiffBuilder file(7, 4, pixels, bits);
        file.Set(277, Short, {samples}).Set(262, Short, {photometric}).Set(339, Short, {format});
        WriteFile(m_path, file.Bytes());
        Check(kind, pixels);
        for (const char* const qtFile : qtFiles)
        {
            SCOPED_TRACE(qtFile);
            const auto* const bytes = reinterpret_cast<const uchar*>(pixels.data());
            Save(QImage(bytes, 7, 4, rowSize, qtFormat), qtFile);
            Check(kind, pixels);
        }
    }

    QImage palette(2, 1, QImage::Format_Indexed8);
    palette.setColorTable({qRgb(1, 2, 3), qRgb(255, 0, 128)});
    palette.setPixel(0, 0, 1);
    palette.setPixel(1, 0, 0);
    Save(palette, "PNG");
    Check(PixelKind::Rgb8, std::string("\xFF\0\x80\x01\x02\x03", 6));
    QImage black(2, 1, QImage::Format_Mono);
    black.setColorTable({qRgb(0, 0, 0), qRgb(255, 255, 255)});
    black.fill(0);
    black.setPixel(1, 0, 1);
    Save(black, "PNG");
    Check(PixelKind::UInt8, std::string("\0\xFF", 2));

    const auto colours = TiffBuilder(1, 1, "123456", 16).Set(277, Short, {3}).Set(262, Short, {2});
    EXPECT_EQ(Error(colours.Bytes()), "null IRawImage2");
    EXPECT_THAT(
        [this] { ReadImageFromFile(m_name); },
        testing::Throws<ReadImageException>(testing::AllOf(
            testing::Property(&ReadImageException::GetCause, ReadImageException::Cause::Unsupported),
            testing::Property(&ReadImageException::Reason, "a TIFF image, RGB, with 3 samples a pixel of 16 bits"))));
}

TEST_F(ReadImageFromFileTest, WhatIsNoImageIsNamedAndItsReasonLogged)
{
    testing::internal::CaptureStderr();
    const Support::LogCollector log;
    EXPECT_EQ(MessageOf([this] { ReadImageFromFile(m_name); }), m_openError);
    EXPECT_THAT(log.Messages(), testing::ElementsAre(m_path.string() + ": " + ReasonOf(m_path)));

    const std::filesystem::path noText = m_path.parent_path() / Support::NameThatIsNoText("", ".tif");
    EXPECT_EQ(MessageOf([&] { ReadImageFromFile(ToWide(noText)); }),
              "ReadImageFromFile: failed to open file -" + FileSystem::ToDisplayText(noText));

    QImage image(64, 64, QImage::Format_Grayscale8);
    image.fill(3);
    std::string png;
    for (const char* const format : {"JPG", "BMP", "PNG"})
    {
        Save(image, format);
        EXPECT_EQ(ReadImageFromFile(m_name)->Size(), (Imaging::size_2d{64, 64})) << format;
        png = ReadFile(m_path);
        for (std::size_t size = 0; size < png.size(); size += size < 60 || png.size() - size < 30 ? 1u : 29u)
        {
            EXPECT_EQ(Error(png.substr(0, size)), m_openError) << format << size;
        }
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
        EXPECT_EQ(Error(bytes), m_openError);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace Ardo::Kiln::ImageIO
