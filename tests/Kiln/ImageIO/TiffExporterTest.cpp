#include "Ardo/Kiln/ImageIO/TiffExporter.h"

#include "Ardo/Kiln/ImageIO/ExportRawImageException.h"
#include "Ardo/Kiln/MetadataSerializer/ConvertToQd.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/MetadataLib/Metadata.h"
#include "tests/Kiln/ImageIO/TiffTestFiles.h"
#include "tests/Support/ScopedTempDir.h"

#include <array>
#include <atomic>
#include <cmath>
#include <csignal>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <thread>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <tiffio.h>
#include <unistd.h>

namespace Ardo::Kiln::ImageIO
{

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace
{

using Rgb = Imaging::rgb_type<unsigned char>;
using Rgba = Imaging::rgba_type<unsigned char>;
using Handle = std::unique_ptr<TIFF, void (*)(TIFF*)>;

Handle OpenPlain(const std::filesystem::path& path)
{
    return {TIFFOpen(path.c_str(), "rmc"), &TIFFClose};
}

template <typename Value>
std::optional<Value> Field(const Handle& tiff, std::uint32_t tag)
{
    Value value{};
    return TIFFGetField(tiff.get(), tag, &value) == 1 ? std::optional(value) : std::nullopt;
}

std::atomic<int> g_earlierExtenderCalls = 0;
/// Installed before the library's own, which has to go on calling it.
const TIFFExtendProc g_earliestExtender = TIFFSetTagExtender([](TIFF*) { ++g_earlierExtenderCalls; });

class TiffExporterTest : public ::testing::Test
{
protected:
    const Support::ScopedTempDir m_dir;
    const std::filesystem::path m_path = m_dir / "image.tif";
    const std::wstring m_name = Wide(m_path);
    TiffExporter m_exporter;
};

} // namespace

TEST_F(TiffExporterTest, EveryPixelKindHasItsTagsAndReadsBackByteForByte)
{
    constexpr std::uint32_t Width = 37;
    constexpr std::uint32_t Height = 64;
    const auto bytes = Pattern<std::uint8_t>(Width * Height);
    const auto shorts = Pattern<std::uint16_t>(Width * Height);
    const auto floats = Pattern<float>(Width * Height);
    const auto rgb = Pattern<Rgb>(Width * Height);
    const auto rgba = Pattern<Rgba>(Width * Height);
    auto int8 = std::vector<std::int8_t>{127, 0, -1, -128, 5, -5};
    auto int16 = std::vector<std::int16_t>{32767, 0, -1, -32768, 5, -5};

    const struct
    {
        const char* name;
        std::function<void()> write;
        int bits, samples, photometric, format;
        std::string pixels;
    } rows[] = {
        {"uint8", [&] { m_exporter.WriteUInt8Image(m_name, bytes.data(), Width, Height, nullptr); }, 8, 1, 1, 1,
         BytesOf(bytes)},
        {"uint16", [&] { m_exporter.WriteUInt16Image(m_name, shorts.data(), Width, Height, nullptr); }, 16, 1, 1, 1,
         BytesOf(shorts)},
        {"float", [&] { m_exporter.WriteFloatImage(m_name, floats.data(), Width, Height, nullptr); }, 32, 1, 1, 3,
         BytesOf(floats)},
        {"rgb", [&] { m_exporter.WriteRgbImage(m_name, rgb.data(), Width, Height, 0, nullptr); }, 8, 3, 2, 1,
         BytesOf(rgb)},
        {"rgba", [&] { m_exporter.WriteRgbaImage(m_name, rgba.data(), Width, Height, 4 * Width, nullptr); }, 8, 4, 2, 1,
         BytesOf(rgba)},
        {"int8", [&] { m_exporter.WriteInt8Image(m_name, int8.data(), 3, 2, nullptr); }, 8, 1, 1, 1,
         BytesOf(std::vector<std::int8_t>{127, 0, 0, 0, 5, 0})},
        {"int16", [&] { m_exporter.WriteInt16Image(m_name, int16.data(), 3, 2, nullptr); }, 16, 1, 1, 1,
         BytesOf(std::vector<std::int16_t>{32767, 0, 0, 0, 5, 0})},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.name);
        row.write();

        const Handle tiff = OpenPlain(m_path); // complete although the exporter still has it open
        ASSERT_NE(tiff, nullptr);
        EXPECT_EQ(Field<std::uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE), row.bits);
        EXPECT_EQ(Field<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL), row.samples);
        EXPECT_EQ(Field<std::uint16_t>(tiff, TIFFTAG_PHOTOMETRIC), row.photometric);
        EXPECT_EQ(Field<std::uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT), row.format);
        EXPECT_EQ(Field<std::uint16_t>(tiff, TIFFTAG_ORIENTATION), 1);
        EXPECT_EQ(Field<std::uint16_t>(tiff, TIFFTAG_COMPRESSION), 1);
        EXPECT_EQ(Field<std::uint16_t>(tiff, TIFFTAG_PLANARCONFIG), 1);
        EXPECT_EQ(Field<std::uint16_t>(tiff, TIFFTAG_EXTRASAMPLES), std::nullopt);
        EXPECT_EQ(TIFFGetStrileOffset(tiff.get(), 0), 4096u);
        EXPECT_EQ(TIFFLastDirectory(tiff.get()), 1);
        for (const std::uint32_t tag : {65450u, 65451u, 65452u, 34682u, 34683u})
        {
            EXPECT_FALSE((Field<std::array<char, 8>>(tiff, tag))) << tag;
        }

        TiffReader reader;
        reader.Open(m_name);
        EXPECT_EQ(PixelsOf(reader), row.pixels);
        EXPECT_EQ(reader.GetBytesPerSample(), row.bits / 8);
        EXPECT_EQ(reader.GetSamplesPerPixel(), row.samples);
        EXPECT_EQ(static_cast<int>(reader.GetSampleFormat()), row.format);
    }
    EXPECT_EQ(int8, (std::vector<std::int8_t>{127, 0, 0, 0, 5, 0}));
    EXPECT_EQ(int16, (std::vector<std::int16_t>{32767, 0, 0, 0, 5, 0}));
}

TEST_F(TiffExporterTest, StripsHaveThirtyTwoRowsOnlyWhereTheHeightAllowsIt)
{
    const struct
    {
        std::uint32_t width, height, stride, rowsPerStrip, strips, stripBytes;
    } rows[] = {
        {100, 100, 300, 100, 1, 30000}, {64, 64, 0, 32, 2, 64 * 3 * 32}, {5, 128, 0, 32, 4, 480},
        {5, 31, 0, 31, 1, 465},         {10, 7, 32, 1, 7, 32},           {10, 64, 31, 1, 64, 31},
    };
    const auto pixels = Pattern<Rgb>(100 * 100);
    for (const auto& row : rows)
    {
        SCOPED_TRACE(testing::Message() << row.width << " x " << row.height << ", stride " << row.stride);
        m_exporter.WriteRgbImage(m_name, pixels.data(), row.width, row.height, row.stride, nullptr);

        const Handle tiff = OpenPlain(m_path);
        EXPECT_EQ(Field<std::uint32_t>(tiff, TIFFTAG_ROWSPERSTRIP), row.rowsPerStrip);
        ASSERT_EQ(TIFFNumberOfStrips(tiff.get()), row.strips);
        std::string expected;
        const std::string file = ReadFile(m_path);
        for (std::uint32_t strip = 0; strip < row.strips; ++strip)
        {
            EXPECT_EQ(TIFFGetStrileByteCount(tiff.get(), strip), row.stripBytes);
            EXPECT_EQ(file.substr(TIFFGetStrileOffset(tiff.get(), strip), row.stripBytes), // with what pads a row
                      BytesOf(pixels).substr(std::size_t{strip} * row.stripBytes, row.stripBytes));
        }
        for (std::uint32_t y = 0; y < row.height; ++y)
        {
            expected += BytesOf(pixels).substr(y * std::size_t{std::max(row.stride, row.width * 3)}, row.width * 3);
        }
        TiffReader reader;
        reader.Open(m_name);
        EXPECT_EQ(PixelsOf(reader), expected);
    }
}

TEST_F(TiffExporterTest, PrivateTagsFollowThePixelSize)
{
    constexpr double Infinity = std::numeric_limits<double>::infinity();
    constexpr double Nan = std::numeric_limits<double>::quiet_NaN();
    const struct
    {
        const char* name;
        double size;
        const char* xUnit;
        const char* yUnit;
        double perCentimetre; ///< 0: no resolution tags
        bool legacyText;
    } rows[] = {
        {"metres", 1e-9, "m", "m", 1e7, true},
        {"one axis in metres", 1e-9, "nm", "m", 1e7, true},
        {"no metres", 1e-9, "nm", "nm", 1e7, false},
        {"no unit", 2.5e-10, nullptr, nullptr, 4e7, false},
        {"beyond the tag", 1e-13, "m", "m", 4294967040.0, true},
        {"just beyond the tag", 2.3283064e-12, "m", "m", 4294967040.0, true},
        {"denormal", 5e-324, "m", "m", 4294967040.0, true},
        {"very large", 1e300, "m", "m", 1 / 4294966784.0, true},
        {"large", 1e6, "m", "m", 1e-8, true},
        {"zero", 0, "m", "m", 0, true},
        {"negative", -1e-9, "m", "m", 0, true},
        {"not a number", Nan, "m", "m", 0, true},
        {"infinite", Infinity, "m", "m", 0, true},
    };
    const auto pixels = Pattern<std::uint8_t>(4);
    const auto unit = [](const char* text)
    { return text != nullptr ? std::optional<std::string>(text) : std::nullopt; };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.name);
        MetadataLib::Metadata metadata;
        auto& pixelSize = metadata.BinaryResult.PixelSize.emplace();
        pixelSize.X = {row.size, unit(row.xUnit), std::nullopt};
        pixelSize.Y = {row.size, unit(row.yUnit), std::nullopt};
        m_exporter.WriteUInt8Image(m_name, pixels.data(), 2, 2, &metadata);

        const Handle tiff = OpenPlain(m_path);
        for (const std::uint32_t tag : {65450u, 65451u})
        {
            const float value = Field<float>(tiff, tag).value_or(0.0f); // a denominator of 0 would read as 0, too
            EXPECT_NEAR(value / (row.perCentimetre != 0 ? row.perCentimetre : 1), row.perCentimetre != 0 ? 1 : 0, 1e-6);
        }
        EXPECT_EQ(Field<std::uint16_t>(tiff, 65452).value_or(0), row.perCentimetre != 0 ? 3 : 0);
        EXPECT_STREQ(Field<const char*>(tiff, 34683).value_or("none"),
                     MetadataSerializer::Record(metadata).SerializeToString({}).c_str());
        EXPECT_STREQ(Field<const char*>(tiff, 34682).value_or("none"),
                     row.legacyText ? ConvertToQd(metadata).c_str() : "none");
    }
    const MetadataLib::Metadata without;
    m_exporter.WriteUInt8Image(m_name, pixels.data(), 2, 2, &without);
    EXPECT_EQ(Field<float>(OpenPlain(m_path), 65450), std::nullopt);
    EXPECT_EQ(Field<const char*>(OpenPlain(m_path), 34682), std::nullopt);
    EXPECT_NE(Field<const char*>(OpenPlain(m_path), 34683), std::nullopt);
}

TEST_F(TiffExporterTest, WhatCannotBeWrittenLeavesTheOldFileAsItWas)
{
    const std::uint8_t pixel = 0;
    const float sample = 0;
    const Rgb rgb{};
    MetadataLib::Metadata unwritable;
    unwritable.BinaryResult.Detector = "\x01"; // XML has no such character
    const struct
    {
        const char* name;
        std::function<void()> write;
        const char* message;
    } rows[] = {
        {"null", [&] { m_exporter.WriteUInt8Image(m_name, nullptr, 2, 2, nullptr); }, "Invalid data parameters."},
        {"width", [&] { m_exporter.WriteUInt8Image(m_name, &pixel, 0, 2, nullptr); }, "Invalid data parameters."},
        {"height", [&] { m_exporter.WriteUInt8Image(m_name, &pixel, 2, 0, nullptr); }, "Invalid data parameters."},
        {"name", [&] { m_exporter.WriteUInt8Image({}, &pixel, 1, 1, nullptr); }, "Invalid data parameters."},
        {"stride", [&] { m_exporter.WriteRgbImage(m_name, &rgb, 10, 1, 29, nullptr); }, "Invalid data parameters."},
        {"row of 32 bits", [&] { m_exporter.WriteFloatImage(m_name, &sample, 1u << 30, 1, nullptr); },
         "Invalid data parameters."},
        {"4 GiB", [&] { m_exporter.WriteUInt8Image(m_name, &pixel, 65536, 65536, nullptr); },
         "Invalid data parameters. (4294967296 bytes of pixels and 21504 bytes of tags; a TIFF file holds 4294967295)"},
        {"4 GiB with its tags", [&] { m_exporter.WriteUInt8Image(m_name, &pixel, 4294965, 1000, nullptr); },
         "Invalid data parameters. (4294965000 bytes of pixels and 5128 bytes of tags; a TIFF file holds "
         "4294967295)"},
        {"2^64", [&] { m_exporter.WriteRgbImage(m_name, &rgb, 1, 0xffffffff, 0xffffffff, nullptr); },
         "Invalid data parameters. (18446744065119617025 bytes of pixels and 34359743480 bytes of tags; a TIFF file "
         "holds 4294967295)"},
        {"metadata", [&] { m_exporter.WriteUInt8Image(m_name, &pixel, 1, 1, &unwritable); }, nullptr},
    };
    WriteFile(m_path, "old");
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.name);
        const std::string message = MessageOf<ExportRawImageException>(row.write);
        EXPECT_THAT(message, StartsWith("Failed to write TIFF image. "));
        if (row.message != nullptr)
        {
            EXPECT_EQ(message, std::string("Failed to write TIFF image. ") + row.message);
        }
        EXPECT_EQ(ReadFile(m_path), "old");
    }
}

TEST_F(TiffExporterTest, ATargetThatDoesNotOpenIsReportedWithTheReason)
{
    const std::filesystem::path pipe = m_dir / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const struct
    {
        std::filesystem::path path;
        const char* reason;
    } rows[] = {
        {m_dir / "missing/image.tif", "No such file or directory"},
        {m_dir.Path(), "Is a directory"},
        {pipe, "Not a regular file"},
        {"/dev/full", "Not a regular file"},
        {m_dir / std::string_view("image\0.tif", 10), "Invalid argument"},
        {m_dir / std::string(300, 'x'), "File name too long"},
    };
    const std::uint8_t pixel = 7;
    testing::internal::CaptureStderr();
    for (const auto& row : rows)
    {
        EXPECT_EQ(MessageOf<ExportRawImageException>(
                      [&] { m_exporter.WriteUInt8Image(Wide(row.path), &pixel, 1, 1, nullptr); }),
                  std::string("Failed to write TIFF image. Unable to open file. (") + row.reason + ")");
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");

    const auto asNobody = [&]
    {
        WriteFile(m_path, "old");
        std::filesystem::permissions(m_path, std::filesystem::perms::owner_read);
        if (::geteuid() == 0 && ::seteuid(65534) != 0)
        {
            return false;
        }
        return MessageOf<ExportRawImageException>([&] { m_exporter.WriteUInt8Image(m_name, &pixel, 1, 1, nullptr); }) ==
               "Failed to write TIFF image. Unable to open file. (Permission denied)";
    };
    EXPECT_EXIT(std::_Exit(asNobody() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST_F(TiffExporterTest, AFullDiskIsReportedAndTheExporterGoesOn)
{
    // A limit on the size of files fails as a full disk does, after part of the data.
    const auto writeWithLimits = [&]
    {
        std::signal(SIGXFSZ, SIG_IGN);
        const auto pixels = Pattern<std::uint16_t>(100 * 64);
        const MetadataLib::Metadata metadata;
        const struct
        {
            rlim_t limit;
            const char* detail;
        } rows[] = {{0, "Unable to open file. ("},
                    {4096 + 100, "Error during writing of image data. ("},
                    {4096 + 100 * 40 * 2, "Error during writing of image data. ("},
                    {4096 + 100 * 64 * 2 + 20, "Error during writing of TIFF directory. ("}};
        for (const auto& row : rows)
        {
            const rlimit limit{row.limit, RLIM_INFINITY};
            ::setrlimit(RLIMIT_FSIZE, &limit);
            const std::string message = MessageOf<ExportRawImageException>(
                [&] { m_exporter.WriteUInt16Image(m_name, pixels.data(), 100, 64, &metadata); });
            EXPECT_THAT(message, AllOf(StartsWith(std::string("Failed to write TIFF image. ") + row.detail),
                                       HasSubstr("File too large")));

            const rlimit unlimited{RLIM_INFINITY, RLIM_INFINITY};
            ::setrlimit(RLIMIT_FSIZE, &unlimited);
            TiffReader reader;
            EXPECT_THAT(MessageOf<std::runtime_error>([&] { reader.Open(m_name); }),
                        StartsWith("Unable to open Tiff file"));
            m_exporter.WriteUInt16Image(m_name, pixels.data(), 100, 64, &metadata);
            reader.Open(m_name);
            EXPECT_EQ(PixelsOf(reader), BytesOf(pixels));
        }
    };
    EXPECT_EXIT((writeWithLimits(), std::_Exit(HasFailure() ? 1 : 0)), testing::ExitedWithCode(0), "^$");
}

TEST_F(TiffExporterTest, NamesInAnyScriptAreTheSameFileForTheSystem)
{
    const std::filesystem::path path = m_dir / "画像 é \xF0\x9F\x94\xAC.tif";
    const std::uint8_t pixel = 200;
    m_exporter.WriteUInt8Image(Wide(path), &pixel, 1, 1, nullptr);
    EXPECT_TRUE(std::filesystem::exists(path));
    TiffReader reader;
    reader.Open(Wide(path));
    EXPECT_EQ(PixelsOf(reader), "\xC8");
}

TEST_F(TiffExporterTest, ExportersAndReadersOfSeveralThreadsKeepTheirErrorsApart)
{
    const auto work = [this](int number)
    {
        const std::wstring name = (m_dir / ("image" + std::to_string(number))).wstring();
        const std::wstring broken = (m_dir / ("broken" + std::to_string(number))).wstring();
        WriteFile(m_dir / ("broken" + std::to_string(number)), std::string(static_cast<std::size_t>(number) + 1, 'x'));
        auto pixels = std::vector<std::uint16_t>(64 * 64, static_cast<std::uint16_t>(number));
        for (int round = 0; round < 20; ++round)
        {
            TiffExporter exporter;
            exporter.WriteUInt16Image(name, pixels.data(), 64, 64, nullptr);
            TiffReader reader;
            reader.Open(name);
            EXPECT_EQ(PixelsOf(reader), BytesOf(pixels));
            EXPECT_EQ(MessageOf<std::runtime_error>([&] { reader.Open(broken); }),
                      "Unable to open Tiff file (Cannot read TIFF header)");
        }
    };
    std::vector<std::jthread> threads;
    for (int number = 0; number < 4; ++number)
    {
        threads.emplace_back(work, number);
    }
}

TEST_F(TiffExporterTest, TheTagExtenderRefusesNoFileAndCallsTheOneBefore)
{
    const TIFFExtendProc extender = TIFFSetTagExtender(nullptr);
    TIFFSetTagExtender(extender);
    ASSERT_NE(extender, nullptr);
    EXPECT_EQ(MessageOf<std::runtime_error>([extender] { extender(nullptr); }), "Tiff instance does not exist.");

    const std::uint8_t pixel = 1;
    const int calls = g_earlierExtenderCalls;
    m_exporter.WriteUInt8Image(m_name, &pixel, 1, 1, nullptr);
    EXPECT_GT(g_earlierExtenderCalls, calls);
}

} // namespace Ardo::Kiln::ImageIO
