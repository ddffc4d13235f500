#include "Ardo/Kiln/ImageIO/TiffExporter.h"

#include "Ardo/Imaging/const_raw_image.h"
#include "Ardo/Kiln/FileSystem/ReplacementFile.h"
#include "Ardo/Kiln/ImageIO/ExportRawImageException.h"
#include "Ardo/Kiln/ImageIO/ReadImageFromFile.h"
#include "Ardo/Kiln/ImageIO/TiffTags_p.h"
#include "Ardo/Kiln/MetadataSerializer/ConvertToQd.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/MetadataLib/Metadata.h"
#include "tests/Kiln/ImageIO/OpenTiff.h"
#include "tests/Kiln/ImageIO/TiffTestFiles.h"
#include "tests/Support/Process.h"
#include "tests/Support/SystemFacilities.h"

#include <array>
#include <atomic>
#include <functional>
#include <limits>
#include <locale>
#include <map>
#include <memory>
#include <optional>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace Ardo::Kiln::ImageIO
{

using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace
{

std::atomic<int> g_earlierExtenderCalls = 0;
/// Installed before the library's own, which has to go on calling it.
const TIFFExtendProc g_earliestExtender = TIFFSetTagExtender([](TIFF*) { ++g_earlierExtenderCalls; });

class TiffExporterTest : public TiffTest
{
protected:
    template <typename Value, typename Result = Value>
    std::optional<Result> Field(std::uint32_t tag) const
    {
        const TiffHandle tiff = OpenTiff(m_path, "r");
        Value value{};
        return TIFFGetField(tiff.get(), tag, &value) == 1 ? std::optional<Result>(value) : std::nullopt;
    }

    std::string Text(std::uint32_t tag) const { return Field<const char*, std::string>(tag).value_or("none"); }

    TiffExporter m_exporter; ///< Keeps its last file open while the tests read it.
};

} // namespace

TEST_F(TiffExporterTest, EveryPixelKindReadsBackByteForByte)
{
    const auto check = [this](int bits, int samples, int format, auto write, auto... stride)
    {
        SCOPED_TRACE(testing::Message() << bits << " bits, " << samples << " samples, format " << format);
        const std::string pixels = WritePattern(m_exporter, m_path, 37, 64, write, stride..., nullptr);
        EXPECT_EQ(Open(m_path), "");
        EXPECT_EQ(PixelsOf(m_reader), pixels.substr(0, m_reader.GetRawImageDataSize()));
        EXPECT_EQ(std::tuple(m_reader.GetBitsPerSample(), m_reader.GetSamplesPerPixel(), m_reader.GetPhotometric(),
                             static_cast<int>(m_reader.GetSampleFormat()), m_reader.GetStripCount()),
                  std::tuple(bits, samples, samples == 1 ? 1 : 2, format, 2u));
        for (const std::uint32_t tag : {65450u, 65451u, 65452u, 34682u, 34683u})
        {
            EXPECT_FALSE((Field<std::array<char, 8>>(tag))) << tag;
        }
    };
    check(8, 1, 1, &TiffExporter::WriteUInt8Image);
    check(16, 1, 1, &TiffExporter::WriteUInt16Image);
    check(32, 1, 3, &TiffExporter::WriteFloatImage);
    check(8, 3, 1, &TiffExporter::WriteRgbImage, 0u);
    check(8, 4, 1, &TiffExporter::WriteRgbaImage, 4 * 37u);
    check(8, 1, 1, &TiffExporter::WriteInt8Image);
    check(16, 1, 1, &TiffExporter::WriteInt16Image);

    for (const auto& [height, stride, strips] :
         {std::tuple(31u, 0u, 1u), {100u, 0u, 1u}, {128u, 0u, 4u}, {7u, 32u, 7u}, {64u, 31u, 64u}})
    {
        WritePattern(m_exporter, m_path, 10, height, &TiffExporter::WriteRgbImage, stride, nullptr);
        EXPECT_EQ(Open(m_path), "");
        EXPECT_EQ(m_reader.GetStripCount(), strips);
    }

    std::vector<std::int8_t> int8 = {127, 0, -1, -128, 5, -5};
    m_exporter.WriteInt8Image(m_name, int8.data(), 3, 2, nullptr);
    EXPECT_EQ(int8, (std::vector<std::int8_t>{127, 0, 0, 0, 5, 0}));
    std::vector<std::int16_t> int16 = {32767, 0, -1, -32768, 5, -5};
    m_exporter.WriteInt16Image(m_name, int16.data(), 3, 2, nullptr);
    EXPECT_EQ(int16, (std::vector<std::int16_t>{32767, 0, 0, 0, 5, 0}));
}

TEST_F(TiffExporterTest, PrivateTagsFollowThePixelSize)
{
    using Unit = std::optional<std::string>;
    // size, units, pixels per centimetre (0: no resolution tags), whether the older text is there
    const std::tuple<double, Unit, Unit, double, bool> rows[] = {
        {1e-9, "m", "m", 1e7, true},
        {1e-9, "nm", "m", 1e7, true},
        {1e-9, "nm", "nm", 1e7, false},
        {2.5e-10, Unit(), Unit(), 4e7, false},
        {5e-324, "m", "m", 4294967040.0, true},
        {1e300, "m", "m", 1 / 4294966784.0, true},
        {0, "m", "m", 0, true},
        {-1e-9, "m", "m", 0, true},
        {std::numeric_limits<double>::quiet_NaN(), "m", "m", 0, true},
        {std::numeric_limits<double>::infinity(), "m", "m", 0, true}};
    MetadataLib::Metadata metadata;
    const std::uint8_t pixel = 0;
    m_exporter.WriteUInt8Image(m_name, &pixel, 1, 1, &metadata);
    EXPECT_EQ(Field<float>(65450), std::nullopt);
    EXPECT_EQ(Text(34682), "none");
    EXPECT_THAT(Text(34683), HasSubstr("<Metadata"));
    metadata.BinaryResult.PixelSize = {{0.01 / 4, "m", {}}, {0.01 / 2, "m", {}}};
    m_exporter.WriteUInt8Image(m_name, &pixel, 1, 1, &metadata);
    EXPECT_EQ(Field<float>(65450), 4.0f);
    EXPECT_EQ(Field<float>(65451), 2.0f);
    for (const auto& [size, xUnit, yUnit, perCentimetre, olderText] : rows)
    {
        SCOPED_TRACE(testing::Message() << size << ' ' << xUnit.value_or("") << ' ' << yUnit.value_or(""));
        metadata.BinaryResult.PixelSize = {{size, xUnit, {}}, {size, yUnit, {}}};
        m_exporter.WriteUInt8Image(m_name, &pixel, 1, 1, &metadata);
        // a denominator of 0 would read as 0, too
        for (const std::uint32_t tag : {65450u, 65451u})
        {
            EXPECT_NEAR(Field<float>(tag).value_or(0.0f), perCentimetre, 1e-6 * perCentimetre);
        }
        EXPECT_EQ(Field<std::uint16_t>(65452).value_or(0), perCentimetre != 0 ? 3 : 0);
        EXPECT_EQ(Text(34683), MetadataSerializer::Record(metadata).SerializeToString({}));
        EXPECT_EQ(Text(34682), olderText ? ConvertToQd(metadata) : "none");
    }
}

TEST(TiffTagsTest, TheDocumentHasTheTable)
{
    const std::string page = Support::ReadFile(KILN_TEST_DATA "/../../docs/tiff.md");
    const std::map<TIFFDataType, std::string> types = {
        {TIFF_ASCII, "ASCII"}, {TIFF_SHORT, "SHORT"}, {TIFF_RATIONAL, "RATIONAL"}};
    std::string table;
    for (const Tag::Description& tag : Tag::Descriptions)
    {
        table += "| " + std::to_string(tag.number) + " | " + types.at(tag.type) + " | " + tag.name + " | " +
                 tag.meaning + " |\n";
    }
    EXPECT_THAT(page, HasSubstr("|---|---|---|---|\n" + table + "\n"));
}

TEST_F(TiffExporterTest, WhatCannotBeWrittenLeavesTheOldFileAsItWas)
{
    const std::uint8_t pixel = 0;
    const Imaging::rgb_type<unsigned char> rgb{};
    MetadataLib::Metadata unwritable;
    unwritable.BinaryResult.Detector = "\x01"; // XML has no such character
    const std::pair<std::function<void()>, std::string> rows[] = {
        {[&] { m_exporter.WriteUInt8Image(m_name, nullptr, 2, 2, nullptr); }, "Invalid data parameters."},
        {[&] { m_exporter.WriteUInt8Image(m_name, &pixel, 0, 2, nullptr); }, "Invalid data parameters."},
        {[&] { m_exporter.WriteUInt8Image(m_name, &pixel, 2, 0, nullptr); }, "Invalid data parameters."},
        {[&] { m_exporter.WriteUInt8Image({}, &pixel, 1, 1, nullptr); }, "Invalid data parameters."},
        {[&] { m_exporter.WriteRgbImage(m_name, &rgb, 10, 1, 29, nullptr); }, "Invalid data parameters."},
        {[&] { m_exporter.WriteUInt8Image(m_name, &pixel, 4294965, 1000, nullptr); },
         "Invalid data parameters. (4294965000 bytes of pixels and 5128 bytes of tags; a TIFF file holds 4294967295)"},
        {[&] { m_exporter.WriteRgbImage(m_name, &rgb, 1, 0xffffffff, 0xffffffff, nullptr); },
         "Invalid data parameters. (18446744065119617025 bytes of pixels and 34359743480 bytes of tags; a TIFF file "
         "holds 4294967295)"},
        {[&] { m_exporter.WriteUInt8Image(m_name, &pixel, 1, 1, &unwritable); }, ""},
        {[&] { m_exporter.WriteUInt8Image(ToWide(m_dir / "missing/a"), &pixel, 1, 1, nullptr); },
         "Unable to open file. (" + NotFound() + ")"},
        {[&] { m_exporter.WriteUInt8Image(ToWide(m_dir.Path()), &pixel, 1, 1, nullptr); },
         "Unable to open file. (" + Folder() + ")"},
    };
    WriteFile(m_path, "old");
    testing::internal::CaptureStderr();
    for (const auto& [write, reason] : rows)
    {
        const std::string error = "Failed to write TIFF image. " + reason;
        const std::string message = MessageOf<ExportRawImageException>(write);
        EXPECT_EQ(message.substr(0, reason.empty() ? error.size() : message.size()), error);
        EXPECT_EQ(ReadFile(m_path), "old") << reason;
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(TiffExporterTest, AnImageOfAnyKindIsWrittenWithItsOperation)
{
    using Imaging::PixelKind;
    const MetadataLib::Metadata metadata;
    TiffExporter exporter(std::move(m_exporter));
    m_exporter = TiffExporter();
    for (const PixelKind kind :
         {PixelKind::UInt8, PixelKind::UInt16, PixelKind::Float32, PixelKind::Rgb8, PixelKind::Rgba8})
    {
        const std::size_t rowSize = 5 * Imaging::BytesPerPixel(kind);
        for (const std::size_t gap : {0u, 12u})
        {
            const auto pixels = std::make_shared<std::vector<char>>(Pattern<char>((rowSize + gap) * 33));
            exporter.WriteImage(m_name, {{pixels, pixels->data()}, {5, 33}, kind, rowSize + gap}, &metadata);
            EXPECT_EQ(Open(m_path), "");
            std::string rows;
            for (std::size_t y = 0; y < 33; ++y)
            {
                rows.append(pixels->data() + y * (rowSize + gap), rowSize);
            }
            EXPECT_EQ(PixelsOf(m_reader), rows);
            EXPECT_EQ(m_reader.GetSampleFormat(),
                      kind == PixelKind::Float32 ? TiffSampleFormat::FloatingPoint : TiffSampleFormat::UnsignedInteger);
            EXPECT_THAT(m_reader.GetMetadataText(), HasSubstr("<Metadata"));
        }
    }
}

TEST_F(TiffExporterTest, ProgressIsToldAndAWriteThatItEndsIsNoImage)
{
    const std::vector<std::uint8_t> pixels(std::size_t{8192} * 4001);
    std::vector<std::uint64_t> told;
    std::uint64_t total = 0;
    std::function<bool()> goOn = [] { return true; };
    m_exporter.SetProgress(
        [&](std::uint64_t written, std::uint64_t size)
        {
            told.push_back(written);
            total = size;
            return goOn();
        });
    const auto write = [&] { m_exporter.WriteUInt8Image(m_name, pixels.data(), 8192, 4001, nullptr); };
    write();
    EXPECT_GE(told.size(), 4u); // one strip of 32 MB
    EXPECT_TRUE(std::ranges::is_sorted(told));
    EXPECT_NEAR(static_cast<double>(told.back()), static_cast<double>(total), 10000);
    EXPECT_EQ(Open(m_path), "");

    const std::pair<std::function<bool()>, std::string> rows[] = {
        {[] { return false; }, "Cancelled."}, {[]() -> bool { throw std::runtime_error("no more"); }, "no more"}};
    for (const auto& [end, reason] : rows)
    {
        for (const std::size_t after : {1u, 3u})
        {
            told.clear();
            goOn = [&] { return told.size() < after || end(); };
            EXPECT_EQ(MessageOf<ExportRawImageException>(write), "Failed to write TIFF image. " + reason);
            EXPECT_EQ(told.size(), after);
            goOn = [] { return true; };
            m_exporter.WriteUInt8Image((m_dir / "other").wstring(), pixels.data(), 1, 1, nullptr); // closes the file
            EXPECT_THAT(Open(m_path), StartsWith("Unable to open Tiff file"));
        }
    }
}

TEST_F(TiffExporterTest, AFileMayHaveAnyName)
{
    constexpr std::uint8_t White = 255;
    const std::locale before = std::locale::global(std::locale::classic());
    const std::filesystem::path deep = std::filesystem::path(std::string(150, 'd')) / std::string(150, 'e'); // > 260
    std::filesystem::create_directories(m_dir.Path() / deep);
    std::vector<std::filesystem::path> names = {FileSystem::ToPath(L"\u00E4 \u540D\u524D.tif"), deep / "f.tif"};
    if (Support::CanHaveNameThatIsNoText())
    {
        names.push_back(Support::NameThatIsNoText("", ".tif"));
        names.push_back(Support::NameThatIsNoText("\u00C3", ".tif"));
    }
    for (const std::filesystem::path& name : names)
    {
        const std::filesystem::path path = m_dir.Path() / name;
        const std::string pixels = WritePattern(m_exporter, path, 3, 2, &TiffExporter::WriteUInt8Image, nullptr);
        EXPECT_TRUE(std::filesystem::exists(path)) << name;
        EXPECT_EQ(ReadImageFromFile(ToWide(path))->Size(), (Imaging::size_2d{3, 2})) << name;
        m_reader.Open(ToWide(path));
        EXPECT_EQ(PixelsOf(m_reader), pixels.substr(0, 6)) << name;

        FileSystem::ReplacementFile replacement(path);
        m_exporter.WriteUInt8Image(replacement.WidePath(), &White, 1, 1, nullptr);
        m_exporter = TiffExporter(); // Windows replaces no file that is open
        m_reader = TiffReader();
        replacement.Commit();
        m_reader.Open(ToWide(path));
        EXPECT_EQ(PixelsOf(m_reader), "\xFF") << name;
    }
    m_reader = TiffReader();
    // Some standard libraries list no folders with such long paths, and so do not remove them.
    for (std::filesystem::path path = m_dir.Path() / deep / "f.tif"; path != m_dir.Path(); path = path.parent_path())
    {
        std::filesystem::remove(path);
    }
    std::locale::global(before);
}

TEST_F(TiffExporterTest, ThreadsKeepTheirErrorsApart)
{
    WriteFile(m_path, "x");
    const auto work = [this](int number)
    {
        for (int round = 0; round < 20; ++round)
        {
            const std::filesystem::path path = m_dir / std::to_string(number);
            TiffExporter exporter;
            TiffReader reader;
            const std::string pixels = WritePattern(exporter, path, 64, 64, &TiffExporter::WriteUInt16Image, nullptr);
            EXPECT_EQ(MessageOf<std::runtime_error>([&] { reader.Open(m_name); }),
                      "Unable to open Tiff file (Cannot read TIFF header)");
            reader.Open(ToWide(path));
            EXPECT_EQ(PixelsOf(reader), pixels.substr(0, 8192));
        }
    };
    const std::jthread threads[] = {std::jthread(work, 0), std::jthread(work, 1), std::jthread(work, 2)};
}

TEST_F(TiffExporterTest, TheTagExtenderRefusesNoFileAndCallsTheOneBefore)
{
    const TIFFExtendProc extender = TIFFSetTagExtender(nullptr);
    TIFFSetTagExtender(extender);
    EXPECT_EQ(MessageOf<std::runtime_error>([extender] { extender(nullptr); }), "Tiff instance does not exist.");
    const int calls = g_earlierExtenderCalls;
    WritePattern(m_exporter, m_path, 1, 1, &TiffExporter::WriteUInt8Image, nullptr);
    EXPECT_GT(g_earlierExtenderCalls, calls);
}

} // namespace Ardo::Kiln::ImageIO
