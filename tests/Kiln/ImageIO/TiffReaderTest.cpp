#include "Ardo/Kiln/ImageIO/TiffReader.h"

#include "Ardo/Kiln/ImageIO/TiffExporter.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "tests/Kiln/ImageIO/TiffBuilder.h"
#include "tests/Kiln/ImageIO/TiffTestFiles.h"
#include "tests/Support/FullMetadata.h"
#include "tests/Support/ScopedTempDir.h"

#include <memory>

#include <boost/property_tree/exceptions.hpp>
#include <gmock/gmock.h>
#include <tiffio.h>

namespace Ardo::Kiln::ImageIO
{

using ::testing::HasSubstr;

namespace
{

constexpr const char* PixelsError = "Unable to open Tiff file, error while reading image data";

class TiffReaderTest : public ::testing::Test
{
protected:
    void Open(const TiffBuilder& file)
    {
        WriteFile(m_path, file.Bytes());
        m_reader.Open(Wide(m_path));
    }

    std::string OpenError(const TiffBuilder& file)
    {
        return MessageOf<std::runtime_error>([&] { Open(file); });
    }

    const Support::ScopedTempDir m_dir;
    const std::filesystem::path m_path = m_dir / "image.tif";
    TiffReader m_reader;
};

} // namespace

TEST_F(TiffReaderTest, ReadsWhatOtherProgramsWrite)
{
    const struct
    {
        const char* mode;
        std::uint16_t compression, predictor;
        std::uint32_t rowsPerStrip;
    } rows[] = {
        {"w", COMPRESSION_LZW, 1, 16},     {"w", COMPRESSION_LZW, 2, 16},      {"w", COMPRESSION_ADOBE_DEFLATE, 2, 64},
        {"w", COMPRESSION_DEFLATE, 1, 16}, {"w", COMPRESSION_PACKBITS, 1, 32}, {"wb", COMPRESSION_NONE, 1, 16},
        {"wb", COMPRESSION_LZW, 2, 64},    {"w8", COMPRESSION_NONE, 1, 1},     {"wb8", COMPRESSION_ADOBE_DEFLATE, 1, 4},
    };
    auto pixels = Pattern<std::uint16_t>(41 * 64);
    std::fill(pixels.begin() + 200, pixels.begin() + 1500, std::uint16_t{7}); // something to compress
    for (const auto& row : rows)
    {
        SCOPED_TRACE(testing::Message() << row.mode << ", compression " << row.compression);
        {
            const std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(TIFFOpen(m_path.c_str(), row.mode), &TIFFClose);
            TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, 41);
            TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, 64);
            TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 16);
            TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
            TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, row.compression);
            TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, row.rowsPerStrip);
            if (row.predictor != 1)
            {
                TIFFSetField(tiff.get(), TIFFTAG_PREDICTOR, row.predictor);
            }
            for (std::uint32_t y = 0; y < 64; ++y)
            {
                std::vector<std::uint16_t> line(pixels.begin() + 41 * y, pixels.begin() + 41 * (y + 1));
                ASSERT_EQ(TIFFWriteScanline(tiff.get(), line.data(), y), 1);
            }
        }
        m_reader.Open(Wide(m_path));
        EXPECT_EQ(PixelsOf(m_reader), BytesOf(pixels));
        EXPECT_EQ(m_reader.GetStripCount(), 64 / row.rowsPerStrip);
    }
}

TEST_F(TiffReaderTest, FieldsHaveTheirDefaultsAndBounds)
{
    Open(TiffBuilder(3, 2, "abcdef").Remove(278).Remove(339).Remove(277).Remove(262).Remove(259));
    EXPECT_EQ(PixelsOf(m_reader), "abcdef");
    EXPECT_EQ(m_reader.GetRowsPerStrip(), 2u); // one strip
    EXPECT_EQ(m_reader.GetSampleFormat(), TiffSampleFormat::UnsignedInteger);
    EXPECT_EQ(m_reader.GetSamplesPerPixel(), 1);
    EXPECT_EQ(m_reader.GetPhotometric(), 1);

    Open(TiffBuilder(3, 2, "abcdef").Set(278, TiffBuilder::Long, {1000}).Set(339, TiffBuilder::Short, {2}));
    EXPECT_EQ(m_reader.GetRowsPerStrip(), 2u);
    EXPECT_EQ(m_reader.GetSampleFormat(), TiffSampleFormat::SignedInteger);

    // 12 bits count as one byte; two rows of three such samples take ten bytes in the file
    Open(TiffBuilder(3, 2, "0123456789", 12));
    EXPECT_EQ(m_reader.GetBytesPerSample(), 1);
    EXPECT_EQ(m_reader.GetRawImageDataSize(), 6u);

    Open(TiffBuilder(1, 1, std::string("\x12\x34\x56\x78", 4), 32).BigEndian().BigTiff());
    EXPECT_EQ(PixelsOf(m_reader), "\x78\x56\x34\x12");
}

TEST_F(TiffReaderTest, EveryStripHasToBeFull)
{
    const std::string pixels(90, 'x');
    const auto threeStrips = TiffBuilder(1, 90, pixels)
                                 .Set(278, TiffBuilder::Long, {32})
                                 .Set(273, TiffBuilder::Long, {16, 48, 80})
                                 .Set(279, TiffBuilder::Long, {32, 32, 26});
    EXPECT_EQ(OpenError(threeStrips), PixelsError);
    EXPECT_EQ(m_reader.GetRawImageDataSize(), 64u); // the full ones before it
    EXPECT_EQ(m_reader.GetImageHeight(), 90u);
}

TEST_F(TiffReaderTest, WhatIsNoStripImageOfWholeBytesIsRefusedWithItsFieldsKnown)
{
    using enum TiffBuilder::Type;
    const std::string reading = PixelsError;
    EXPECT_EQ(OpenError(TiffBuilder(8, 1, "x", 1)), reading + " (no samples of whole bytes)");
    EXPECT_EQ(m_reader.GetImageWidth(), 8u);
    EXPECT_EQ(OpenError(TiffBuilder(1, 1, "xyz")
                            .Set(277, Short, {3})
                            .Set(284, Short, {2})
                            .Set(258, Short, {8, 8, 8})
                            .Set(273, Long, {16, 17, 18})
                            .Set(279, Long, {1, 1, 1})),
              reading + " (samples in separate planes)");
    EXPECT_EQ(m_reader.GetSamplesPerPixel(), 3);
    EXPECT_EQ(OpenError(TiffBuilder(1, 1, std::string(4 * 16384, 'x'), 32).Set(277, Short, {16384})),
              reading + " (65536 bytes a pixel)");
    EXPECT_EQ(OpenError(TiffBuilder(16, 16, std::string(256, 'x'))
                            .Remove(278)
                            .Remove(273)
                            .Remove(279)
                            .Set(322, Long, {16})
                            .Set(323, Long, {16})
                            .Set(324, Long, {16})
                            .Set(325, Long, {256})),
              "Unable to open Tiff file, tiff not in strips");
    EXPECT_EQ(m_reader.GetImageWidth(), 16u);
}

TEST_F(TiffReaderTest, MetadataComesBackWhole)
{
    const MetadataLib::Metadata written = Support::FullMetadata();
    const auto pixels = Pattern<std::uint8_t>(100 * 100);
    TiffExporter exporter;
    exporter.WriteUInt8Image(Wide(m_path), pixels.data(), 100, 100, &written);
    m_reader.Open(Wide(m_path));
    EXPECT_TRUE(m_reader.GetMetadata() == written);
    EXPECT_EQ(PixelsOf(m_reader), BytesOf(pixels));
}

TEST_F(TiffReaderTest, MetadataThatIsNoRecordIsReportedAfterTheFields)
{
    using boost::property_tree::ptree_error;
    EXPECT_THROW(Open(TiffBuilder(3, 1, "abc").SetText(34683, "<Metadata>")), ptree_error);
    EXPECT_THAT(MessageOf<ptree_error>([&] { Open(TiffBuilder(3, 1, "abc").SetText(34683, "<Other/>")); }),
                HasSubstr("No such node"));
    EXPECT_EQ(m_reader.GetImageWidth(), 3u);
    EXPECT_EQ(m_reader.GetRawImageData(), nullptr);
}

TEST_F(TiffReaderTest, MetadataTagsOfOtherKindsDoNoHarm)
{
    using enum TiffBuilder::Type;
    const MetadataLib::Metadata nothing;
    MetadataLib::Metadata something;
    something.Core.Guid = {};
    const std::string document = MetadataSerializer::Record(something).SerializeToString({});

    Open(TiffBuilder(3, 1, "abc").SetText(34683, document)); // without an end
    EXPECT_TRUE(m_reader.GetMetadata() == something);
    Open(TiffBuilder(3, 1, "abc").Set(34683, Short, TiffBuilder::Values(document.begin(), document.end())));
    EXPECT_TRUE(m_reader.GetMetadata() == something);               // the characters as 16-bit numbers
    Open(TiffBuilder(3, 1, "abc").Set(34683, Short, {1000, 2000})); // no characters at all
    EXPECT_TRUE(m_reader.GetMetadata() == nothing);
    Open(TiffBuilder(3, 1, "abc").SetText(34683, std::string((20 << 20) + 1, 'x'))); // too long to be looked at
    EXPECT_TRUE(m_reader.GetMetadata() == nothing);
    EXPECT_EQ(PixelsOf(m_reader), "abc");
}

TEST_F(TiffReaderTest, ASecondOpenStartsFromNothing)
{
    MetadataLib::Metadata metadata = Support::FullMetadata();
    const std::vector<std::uint16_t> large(1500 * 1024, 9); // beyond the size where memory comes in pages
    TiffExporter exporter;
    for (const std::uint32_t height : {1024u, 1500u, 1200u, 8u, 1300u})
    {
        exporter.WriteUInt16Image(Wide(m_path), large.data(), 1024, height, &metadata);
        m_reader.Open(Wide(m_path));
        EXPECT_EQ(PixelsOf(m_reader), BytesOf(large).substr(0, 2048 * height));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(m_reader.GetRawImageData()) % 16, 0u);
    }

    EXPECT_EQ(MessageOf<std::runtime_error>([this] { m_reader.Open(Wide(m_dir / "missing")); }),
              "Unable to open Tiff file (No such file or directory)");
    EXPECT_EQ(m_reader.GetImageWidth(), 0u);
    EXPECT_EQ(m_reader.GetStripCount(), 0u);
    EXPECT_EQ(m_reader.GetRawImageData(), nullptr);
    EXPECT_TRUE(m_reader.GetMetadata() == MetadataLib::Metadata());

    Open(TiffBuilder(1, 1, "a"));
    EXPECT_EQ(PixelsOf(m_reader), "a");
    EXPECT_TRUE(m_reader.GetMetadata() == MetadataLib::Metadata());
}

TEST_F(TiffReaderTest, DamagedPixelsLeaveFieldsAndMetadata)
{
    MetadataLib::Metadata metadata = Support::FullMetadata();
    const auto pixels = Pattern<std::uint16_t>(64 * 64);
    TiffExporter().WriteUInt16Image(Wide(m_path), pixels.data(), 64, 64, &metadata);
    std::string bytes = ReadFile(m_path);
    // The second strip's offset points behind the file.
    const std::size_t table = bytes.find(std::string("\0\x10\0\0\0\x20\0\0", 8), 4096 + 64 * 64 * 2);
    ASSERT_NE(table, std::string::npos);
    bytes[table + 7] = '\x70';
    WriteFile(m_path, bytes);

    EXPECT_THAT(MessageOf<std::runtime_error>([this] { m_reader.Open(Wide(m_path)); }),
                testing::StartsWith(PixelsError));
    EXPECT_EQ(m_reader.GetImageWidth(), 64u);
    EXPECT_EQ(m_reader.GetBytesPerSample(), 2);
    EXPECT_TRUE(m_reader.GetMetadata() == metadata);
}

} // namespace Ardo::Kiln::ImageIO
