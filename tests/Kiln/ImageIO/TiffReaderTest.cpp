#include "Ardo/Kiln/ImageIO/TiffReader.h"

#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "tests/Kiln/ImageIO/OpenTiff.h"
#include "tests/Kiln/ImageIO/TiffBuilder.h"
#include "tests/Kiln/ImageIO/TiffTestFiles.h"
#include "tests/Support/FullMetadata.h"
#include "tests/Support/LogCollector.h"
#include "tests/Support/SystemFacilities.h"

#include <memory>
#include <tuple>
#include <utility>

#include <boost/property_tree/exceptions.hpp>
#include <gmock/gmock.h>

namespace Ardo::Kiln::ImageIO
{

using ::testing::HasSubstr;
using ::testing::SizeIs;
using ::testing::StartsWith;
using enum TiffBuilder::Type;

namespace
{

const std::string PixelsError = "Unable to open Tiff file, error while reading image data";

std::string Document(MetadataLib::Metadata metadata)
{
    return MetadataSerializer::Record(metadata).SerializeToString({});
}

using TiffReaderTest = TiffTest;

TiffBuilder Small()
{
    return TiffBuilder(4, 4, "0123456789abcdef").Set(278, Long, {2}).Set(273, Long, {16, 24}).Set(279, Long, {8, 8});
}

} // namespace

TEST_F(TiffReaderTest, ReadsWhatOtherProgramsWrite)
{
    const std::tuple<const char*, int, unsigned> rows[] = {
        {"w", COMPRESSION_LZW, 16},      {"w", COMPRESSION_ADOBE_DEFLATE, 64}, {"w", COMPRESSION_DEFLATE, 16},
        {"w", COMPRESSION_PACKBITS, 32}, {"wb", COMPRESSION_NONE, 16},         {"wb", COMPRESSION_LZW, 64},
        {"w8", COMPRESSION_NONE, 1},     {"wb8", COMPRESSION_ADOBE_DEFLATE, 4}};
    auto pixels = Pattern<std::uint16_t>(41 * 64);
    std::fill(pixels.begin() + 200, pixels.begin() + 1500, std::uint16_t{7}); // something to compress
    for (const auto& [mode, compression, rowsPerStrip] : rows)
    {
        SCOPED_TRACE(testing::Message() << mode << ", compression " << compression);
        TiffHandle tiff = OpenTiff(m_path, mode);
        TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, 41);
        TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, 64);
        TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 16);
        TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, compression);
        TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, rowsPerStrip);
        for (std::uint32_t y = 0; y < 64; ++y)
        {
            ASSERT_EQ(TIFFWriteScanline(tiff.get(), std::vector(pixels.begin() + 41 * y, pixels.end()).data(), y), 1);
        }
        tiff.reset();
        EXPECT_EQ(Open(m_path), "");
        EXPECT_EQ(PixelsOf(m_reader), BytesOf(pixels));
        EXPECT_EQ(m_reader.GetStripCount(), 64 / rowsPerStrip);
    }
}

TEST_F(TiffReaderTest, FieldsHaveTheirDefaultsAndBounds)
{
    EXPECT_EQ(Open(TiffBuilder(3, 2, "abcdef").Remove(278).Remove(339).Remove(277).Remove(262).Remove(259).Bytes()),
              "");
    EXPECT_EQ(PixelsOf(m_reader), "abcdef");
    EXPECT_EQ(m_reader.GetRowsPerStrip(), 2u); // one strip
    EXPECT_EQ(m_reader.GetSampleFormat(), TiffSampleFormat::UnsignedInteger);
    EXPECT_EQ(m_reader.GetPhotometric(), 1);
    EXPECT_TRUE(m_reader.GetMetadata() == MetadataLib::Metadata());

    EXPECT_EQ(Open(TiffBuilder(3, 2, "abcdef").Set(278, Long, {1000}).Set(339, Short, {2}).Bytes()), "");
    EXPECT_EQ(m_reader.GetRowsPerStrip(), 2u);
    EXPECT_EQ(m_reader.GetSampleFormat(), TiffSampleFormat::SignedInteger);

    // 12 bits count as one byte; two rows of three such samples take ten bytes in the file
    EXPECT_EQ(Open(TiffBuilder(3, 2, "0123456789", 12).Bytes()), "");
    EXPECT_EQ(m_reader.GetRawImageDataSize(), 6u);

    EXPECT_EQ(Open(TiffBuilder(1, 1, "\x12\x34\x56\x78", 32).Bytes(true)), "");
    EXPECT_EQ(PixelsOf(m_reader), "\x78\x56\x34\x12");
}

TEST_F(TiffReaderTest, WhatIsNoImageOfFullStripsIsRefusedWithItsFieldsKnown)
{
    auto planes = TiffBuilder(1, 1, "xyz").Set(277, Short, {3}).Set(284, Short, {2}).Set(258, Short, {8, 8, 8});
    auto tiles = TiffBuilder(16, 16, std::string(256, 'x')).Remove(278).Remove(273).Remove(279);
    tiles.Set(322, Long, {16}).Set(323, Long, {16}).Set(324, Long, {16}).Set(325, Long, {256});
    const std::tuple<TiffBuilder, std::string, std::uint32_t> rows[] = {
        {TiffBuilder(8, 1, "x", 1), PixelsError + " (no samples of whole bytes)", 8},
        {planes.Set(273, Long, {16, 17, 18}).Set(279, Long, {1, 1, 1}), PixelsError + " (samples in separate planes)",
         1},
        {TiffBuilder(1, 1, std::string(65536, 'x'), 32).Set(277, Short, {16384}),
         PixelsError + " (65536 bytes a pixel)", 1},
        {tiles, "Unable to open Tiff file, tiff not in strips", 16}};
    for (const auto& [file, message, width] : rows)
    {
        EXPECT_EQ(Open(file.Bytes()), message);
        EXPECT_EQ(m_reader.GetImageWidth(), width);
    }

    auto threeStrips = TiffBuilder(1, 90, std::string(90, 'x')).SetMetadata(Document(Support::FullMetadata()));
    threeStrips.Set(278, Long, {32}).Set(273, Long, {16, 48, 80}).Set(279, Long, {32, 32, 26});
    EXPECT_EQ(Open(threeStrips.Bytes()), PixelsError);
    EXPECT_EQ(m_reader.GetRawImageDataSize(), 64u); // the full ones before it
    EXPECT_TRUE(m_reader.GetMetadata() == Support::FullMetadata());
}

TEST_F(TiffReaderTest, MetadataTagsOfOtherKindsDoNoHarm)
{
    MetadataLib::Metadata something;
    something.Core.Guid = {};
    const std::pair<TiffBuilder, MetadataLib::Metadata> rows[] = {
        {TiffBuilder(3, 1, "abc").SetMetadata(Document(something)), something},
        {TiffBuilder(3, 1, "abc").SetMetadata(Document(something), Short), something},
        {TiffBuilder(3, 1, "abc").SetMetadata(std::string((20 << 20) + 1, 'x')), {}},
    };
    for (const auto& [file, metadata] : rows)
    {
        EXPECT_EQ(Open(file.Bytes()), "");
        EXPECT_TRUE(m_reader.GetMetadata() == metadata);
        EXPECT_EQ(PixelsOf(m_reader), "abc");
    }

    EXPECT_THAT(Open(TiffBuilder(3, 1, "abc").SetMetadata("<Other/>").Bytes()), HasSubstr("No such node"));
    EXPECT_EQ(m_reader.GetImageWidth(), 3u);
    EXPECT_EQ(m_reader.GetRawImageData(), nullptr);
    EXPECT_THROW(m_reader.Open(m_name), boost::property_tree::ptree_error);
    m_reader.ReadPixels();
    EXPECT_EQ(PixelsOf(m_reader), "abc");
}

TEST_F(TiffReaderTest, AnEntryThatCannotBeReadIsNoMissingEntry)
{
    const TiffBuilder::Values text(40, 'x');
    const std::pair<TiffBuilder, const char*> rows[] = {
        {Small().Set(34683, Ascii, text, 41), "tag 34683 lies beyond the end of the file"},
        {Small().Set(34683, Short, {1000, 2000}), "tag 34683 cannot be read: 2 values of type 3"},
        {Small().Set(34682, Short, {300}), "tag 34682 cannot be read: 1 values of type 3"},
        {Small().Set(65000, Ascii, text, 41), "tag 65000 lies beyond the end of the file"},
        {Small().Set(65000, Ascii, text, 0xffffffff), "tag 65000 lies beyond the end of the file"},
        {Small().Set(262, Ascii, {1}), "tag 262 cannot be read: 1 values of type 2"}};
    for (const auto& [file, reason] : rows)
    {
        for (const bool big : {false, true})
        {
            EXPECT_EQ(Open(file.Bytes(big)), "Unable to open Tiff file (" + std::string(reason) + ")");
            EXPECT_EQ(m_reader.GetImageWidth(), 4u);
            m_reader.ReadPixels();
            EXPECT_EQ(PixelsOf(m_reader), "0123456789abcdef");
        }
    }
    EXPECT_EQ(Open(Small().Set(65000, TiffBuilder::Type{99}, text, 41).Bytes()), ""); // readers pass over unknown types

    const MetadataLib::Metadata metadata = Support::FullMetadata();
    WritePattern(*std::make_unique<TiffExporter>(), m_path, 3, 64, &TiffExporter::WriteUInt8Image, &metadata);
    const std::string whole = ReadFile(m_path);
    for (std::size_t size = 4000; size<whole.size(); size += size + 50> whole.size() ? 1u : 41u)
    {
        EXPECT_THAT(Open(whole.substr(0, size)), StartsWith("Unable to open Tiff file")) << size;
    }
    EXPECT_EQ(Open(whole), "");
}

TEST_F(TiffReaderTest, FieldsRecordAndPixelsAreReadOneByOneAndMoveAlong)
{
    const MetadataLib::Metadata metadata = Support::FullMetadata();
    const std::string pixels =
        WritePattern(*std::make_unique<TiffExporter>(), m_path, 4, 4, &TiffExporter::WriteUInt8Image, &metadata)
            .substr(0, 16);
    TiffReader fields;
    EXPECT_EQ(MessageOf<std::runtime_error>([&] { fields.ReadPixels(); }), PixelsError + " (no open file)");
    fields.ReadMetadata();
    fields.OpenFields(m_name);
    TiffReader reader(std::move(fields));
    EXPECT_EQ(fields.GetImageWidth(), 0u);
    EXPECT_EQ(fields.GetMetadataText(), "");
    EXPECT_EQ(reader.GetImageWidth(), 4u);
    EXPECT_EQ(reader.GetRawImageData(), nullptr);
    EXPECT_TRUE(reader.GetMetadata() == MetadataLib::Metadata());
    reader.ReadPixels();
    EXPECT_EQ(PixelsOf(reader), pixels);
    reader.ReadMetadata();
    m_reader = std::move(reader);
    EXPECT_TRUE(m_reader.GetMetadata() == metadata);
    EXPECT_EQ(PixelsOf(m_reader), pixels);
    EXPECT_EQ(reader.GetRawImageData(), nullptr);
    reader.Open(m_name);
    EXPECT_EQ(PixelsOf(reader), pixels);
}

TEST_F(TiffReaderTest, ASecondOpenStartsFromNothing)
{
    const MetadataLib::Metadata metadata = Support::FullMetadata();
    TiffExporter exporter;
    for (const std::uint32_t height : {1024u, 1500u, 1200u, 8u, 1300u}) // some where memory comes in pages
    {
        const auto write = &TiffExporter::WriteUInt16Image;
        const std::string pixels = WritePattern(exporter, m_path, 1024, height, write, &metadata);
        EXPECT_EQ(Open(m_path), "");
        EXPECT_TRUE(PixelsOf(m_reader) == pixels.substr(0, 2048 * height));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(m_reader.GetRawImageData()) % 16, 0u);
        EXPECT_TRUE(m_reader.GetMetadata() == metadata);
    }

    EXPECT_EQ(Open(m_dir / "missing"), "Unable to open Tiff file (" + ReasonOf(m_dir / "missing") + ")");
    EXPECT_EQ(m_reader.GetImageWidth() + m_reader.GetStripCount(), 0u);
    EXPECT_EQ(m_reader.GetRawImageData(), nullptr);
    EXPECT_TRUE(m_reader.GetMetadata() == MetadataLib::Metadata());
    EXPECT_EQ(Open(TiffBuilder(1, 1, "a").Bytes()), "");
    EXPECT_EQ(PixelsOf(m_reader), "a");
}

TEST_F(TiffReaderTest, AFileMayBeCutAnywhereAndAnyByteMayBeWrong)
{
    testing::internal::CaptureStderr();
    const std::string whole = Small().SetMetadata("<Metadata/>").Bytes();
    for (std::size_t size = 0; size < whole.size(); ++size)
    {
        EXPECT_THAT(Open(whole.substr(0, size)), StartsWith("Unable to open Tiff file")) << size;
    }
    for (std::string bytes : {Small().Bytes(), Small().Bytes(true), Small().Set(259, Short, {5}).Bytes()})
    {
        for (char& byte : bytes)
        {
            const char right = byte;
            for (const int change : {0x01, 0x02, 0x04, 0x10, 0x40, 0x80, 0xff})
            {
                byte = static_cast<char>(right ^ change);
                EXPECT_THAT(Open(bytes), AnyOf("", StartsWith("Unable to open Tiff file"))) << &byte - bytes.data();
            }
            byte = right;
        }
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(TiffReaderTest, LyingSizesCostAnExceptionAndNoMemory)
{
    constexpr std::uint64_t Huge = 0xffffffff;
    auto manyStrips = TiffBuilder(4, 4000000, "x").Set(278, Long, {1});
    manyStrips.Set(273, Long, {16}, 4000000).Set(279, Long, {1}, 4000000);
    auto sameStrips = TiffBuilder(1000, 1000, std::string(1000, 'x')).Set(278, Long, {1});
    sameStrips.Set(273, Long, TiffBuilder::Values(1000, 16)).Set(279, Long, TiffBuilder::Values(1000, 1000));
    TiffBuilder sameValues(1000, 1000, std::string(1000000, 'x')); // 2 GB of values in a file of 1 MB
    for (std::uint16_t tag = 40000; tag < 42000; ++tag)
    {
        sameValues.Set(tag, Byte, {16, 0, 0, 0}, 1000000);
    }
    const struct
    {
        const char* name;
        TiffBuilder file;
        bool harmless = false; ///< The image is there, whatever else is not.
    } rows[] = {{"size", TiffBuilder(0x10000000, 4, "x").Set(279, Long, {Huge})},
                {"size of 2^64", TiffBuilder(0xffffffff, 0xffffffff, "x", 64).Set(277, Short, {8000})},
                {"rows", TiffBuilder(4, 0xffffffff, "x").Set(278, Long, {1})},
                {"deflate", TiffBuilder(65536, 65536, "x").Set(259, Short, {8}).Set(279, Long, {Huge})},
                {"LZW", TiffBuilder(65536, 65536, std::string(1000, 'x')).Set(259, Short, {5})},
                {"count of strips", manyStrips},
                {"the same bytes in every strip", sameStrips},
                {"the same bytes in every tag", sameValues, true},
                {"length of a text", Small().Set(34683, Ascii, {16, 0, 0, 0, 0, 0, 0, 0}, Huge), true},
                {"length of a table", Small().Set(320, Short, {1, 2, 3}, Huge), true},
                {"zero width", TiffBuilder(0, 4, "x")},
                {"zero rows", Small().Set(278, Long, {0})},
                {"zero bits", Small().Set(258, Short, {0})},
                {"bits", Small().Set(258, Short, {65535})},
                {"samples", Small().Set(277, Short, {65535})},
                {"compression", Small().Set(259, Short, {50000})}};
    const auto openAll = [&]
    {
        const std::uint64_t before = Support::PeakMemory();
        Support::LimitMemory(std::uint64_t{1} << 30); // nothing else needs as much
        for (const auto& row : rows)
        {
            for (const bool big : {false, true})
            {
                SCOPED_TRACE(row.name);
                const std::string message = Open(row.file.Bytes(big));
                EXPECT_TRUE(message.starts_with("Unable to open Tiff file") || (row.harmless && message.empty()));
                EXPECT_THAT(message, Not(HasSubstr("no memory")));
            }
        }
        EXPECT_LT(Support::PeakMemory() - before, 64 << 20);
    };
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer needs the address space for itself";
#endif
    const auto end = [this]
    {
        m_reader = TiffReader();
        std::filesystem::remove_all(m_dir.Path()); // a folder of its own where processes cannot fork
        std::_Exit(HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT((openAll(), end()), testing::ExitedWithCode(0), "^$");
}

TEST_F(TiffReaderTest, LoopsAndFoldersDoNotHang)
{
    EXPECT_EQ(Open(Small().Bytes(false, true)), "");
    EXPECT_EQ(PixelsOf(m_reader), "0123456789abcdef");
    EXPECT_EQ(Open(m_dir.Path()), "Unable to open Tiff file (" + Folder() + ")");
}

TEST_F(TiffReaderTest, WarningsAreLoggedButNeverWithoutEnd)
{
    const Support::LogCollector log;
    TiffBuilder file = Small();
    EXPECT_EQ(Open(file.Set(40000, Byte, {1}).Bytes()), "");
    ASSERT_THAT(log.Records(), SizeIs(1));
    EXPECT_EQ(log.Records()[0].severity, Logger::SeverityLevel::warning);
    EXPECT_THAT(log.Records()[0].originator, testing::EndsWith("ImageIO"));
    EXPECT_THAT(log.Messages()[0], AllOf(HasSubstr(m_path.string() + ": "), HasSubstr("40000")));

    for (std::uint16_t tag = 40000; tag < 40500; ++tag)
    {
        file.Set(tag, Byte, {1});
    }
    EXPECT_EQ(Open(file.Bytes()), "");
    EXPECT_THAT(log.Messages(), SizeIs(1 + 17));
    EXPECT_THAT(log.Messages().back(), HasSubstr("further warnings are left out"));
}

} // namespace Ardo::Kiln::ImageIO
