#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/ImageIO/DataBar.h"
#include "Ardo/Kiln/ImageIO/ImageFile.h"
#include "Ardo/Kiln/ImageIO/PlotFile.h"
#include "Ardo/Kiln/ImageIO/Presentation.h"
#include "Ardo/Kiln/ImageIO/ReadColourTable.h"
#include "tests/Support/FullMetadata.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <memory>
#include <set>

namespace Ardo::Kiln::ImageIO
{

namespace
{

using Imaging::const_raw_image;
using Imaging::PixelKind;
using Imaging::size_2d;
using testing::AllOf;
using testing::AnyOf;
using testing::HasSubstr;
using testing::ThrowsMessage;

/// The reason of each system for a file or folder that is missing.
::testing::Matcher<std::string> NoSuchFile()
{
    return AnyOf(HasSubstr("No such file"), HasSubstr("not found"), HasSubstr("cannot find"));
}

const_raw_image Words(size_2d size)
{
    const auto samples = std::make_shared<std::vector<std::uint16_t>>(size.width * size.height);
    for (std::size_t i = 0; i < samples->size(); ++i)
    {
        (*samples)[i] = static_cast<std::uint16_t>(i % size.width);
    }
    return {std::shared_ptr<const void>(samples, samples->data()), size, PixelKind::UInt16};
}

MetadataLib::Metadata Calibrated(double x, double y)
{
    MetadataLib::Metadata metadata;
    metadata.BinaryResult.PixelSize = MetadataLib::PixelSizeRecord{{x, "m"}, {y, "m"}};
    return metadata;
}

TEST(ExportTypeTest, NamesExtensionsAndFilters)
{
    EXPECT_EQ(FilterText(ExportType::Data), "TIFF with all data (*.tif *.tiff)");
    EXPECT_EQ(FilterText(ExportType::Jpeg), "JPEG image (*.jpg *.jpeg)");
    for (const ExportTypeInfo& info : ExportTypes())
    {
        EXPECT_EQ(&InfoOf(info.type), &info);
        EXPECT_EQ(ExportTypeFromName(info.name), info.type);
    }
    const std::pair<const char*, std::optional<ExportType>> names[] = {{"a.PNG", ExportType::Png},
                                                                       {"a.b.jpeg", ExportType::Jpeg},
                                                                       {"/x.y/a.Tif", ExportType::Tiff},
                                                                       {"x.png/a", std::nullopt},
                                                                       {"x.png\\a", std::nullopt},
                                                                       {"png", std::nullopt},
                                                                       {"a.", std::nullopt},
                                                                       {"", std::nullopt},
                                                                       {".png", ExportType::Png},
                                                                       {"a.pngx", std::nullopt}};
    for (const auto& [name, type] : names)
    {
        EXPECT_EQ(ExportTypeFromFileName(name), type) << name;
    }
    EXPECT_EQ(ExportTypeFromName("PNG"), std::nullopt);
    EXPECT_THROW(InfoOf(static_cast<ExportType>(9)), std::invalid_argument);
}

TEST(ExportSizeTest, SizesKeepTheAspectRatio)
{
    const std::tuple<const char*, size_2d, size_2d> cases[] = {
        {"original", {70'000, 3}, {70'000, 3}}, {"50%", {1001, 500}, {501, 250}},
        {" 12.5 % ", {80, 8}, {10, 1}},         {"100%", {70'000, 1}, {70'000, 1}},
        {"0.001%", {100, 200}, {1, 1}},         {"1024", {4096, 2048}, {1024, 512}},
        {"1024", {3, 512}, {6, 1024}},          {"800x600", {4096, 4096}, {600, 600}},
        {"800 x 600", {400, 100}, {800, 200}},  {"65500", {1, 1}, {65'500, 65'500}},
    };
    for (const auto& [text, original, expected] : cases)
    {
        EXPECT_EQ(ExportSize::Parse(text).Of(original), expected) << text;
    }
    for (const char* const text :
         {"",     "0",  "-5",  "65501", "0%",       "-1%",  "10001%", "nan%",        "inf%",     "1e400%",
          "5 0x", "x5", "0x5", "10x",   "10x20x30", "1,5%", "1.5",    "99999999999", "Original", "10 px"})
    {
        EXPECT_THROW(ExportSize::Parse(text), std::invalid_argument) << text;
    }
    EXPECT_THROW(static_cast<void>(ExportSize::Percent(200).Of({40'000, 1})), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(ExportSize().Of({0, 1})), std::invalid_argument);

    const auto pixelSize = MetadataLib::PixelSizeRecord{{2.0, "m", -9}, {3.0, "m", -9}};
    const auto scaled = ScaledPixelSize(pixelSize, {100, 60}, {50, 20});
    EXPECT_EQ(scaled, (MetadataLib::PixelSizeRecord{{4.0, "m", -9}, {9.0, "m", -9}}));
}

TEST(PresentationTest, ScaleBarsAreNice)
{
    const std::tuple<double, const char*, double, double, const wchar_t*> cases[] = {
        {1e-9, "m", 250, 200, L"200 nm"},
        {2.5e-9, "m", 150, 80, L"200 nm"},
        {1e-9, "m", 1000, 1000, L"1 µm"},
        {1e-9, "m", 999.9, 500, L"500 nm"},
        {107e-9, "m", 137.5, 93.457943925, L"10 µm"},
        {5e-12, "m", 128, 100, L"500 pm"},
        {1e7, "m^-1", 64, 50, L"500 mmˉ¹"},
        {1e-3, "m", 3.0, 2, L"2 mm"},
    };
    for (const auto& [size, unit, most, pixels, label] : cases)
    {
        const auto bar = MakeScaleBar({size, unit}, most);
        ASSERT_TRUE(bar);
        EXPECT_NEAR(bar->pixels, pixels, 1e-6) << label;
        EXPECT_NEAR(bar->length, pixels * size, 1e-9 * bar->length);
        if (std::string(unit) == "m")
        {
            EXPECT_EQ(Conversion::String::ToUtf8(bar->label), Conversion::String::ToUtf8(label));
        }
    }
    constexpr double Infinity = std::numeric_limits<double>::infinity();
    for (const double wrong : {0.0, -1.0, Infinity, std::nan(""), 1e-320})
    {
        EXPECT_FALSE(MakeScaleBar({wrong, "m"}, 100));
        EXPECT_FALSE(MakeScaleBar({1e-9, "m"}, wrong));
    }
    EXPECT_FALSE(MakeScaleBar({5e-9}, 80) || MakeScaleBar({5e-9, ""}, 80)) << "a length without a unit";
}

TEST(PresentationTest, DrawsBarsOnTheMappedImage)
{
    const const_raw_image image = Words({400, 200});
    PresentationSettings settings;
    settings.display.white = 399;
    const const_raw_image plain = MakePresentation(image, nullptr, settings);
    EXPECT_EQ(plain.Kind(), PixelKind::UInt8);
    const auto at = [](const const_raw_image& picture, std::uint32_t x, std::uint32_t y)
    { return int{static_cast<const std::uint8_t*>(picture.Row(y))[x * BytesPerPixel(picture.Kind())]}; };
    EXPECT_EQ(at(plain, 0, 100), 0);
    EXPECT_EQ(at(plain, 399, 0), 255);

    const MetadataLib::PixelSizeRecord pixelSize{{1e-9, "m"}, {1e-9, "m"}};
    settings.hasScaleBar = true;
    settings.size = ExportSize::Percent(50);
    const const_raw_image barred = MakePresentation(image, &pixelSize, settings);
    ASSERT_EQ(barred.Size(), (size_2d{200, 100}));
    // 50 of the new pixels of 2 nm are 100 nm, with a black edge of a pixel.
    const auto isWhite = [&](std::uint32_t x) { return at(barred, x, 89) == 255; };
    std::uint32_t begin = 0;
    std::uint32_t end = 200;
    for (; begin < 200 && !isWhite(begin); ++begin)
    {
    }
    for (end = begin; end < 200 && isWhite(end); ++end)
    {
    }
    EXPECT_EQ(end - begin, 50u);
    EXPECT_EQ(at(barred, begin - 1, 89), 0);
    EXPECT_EQ(at(barred, end, 89), 0);
    EXPECT_THROW(MakePresentation(image, nullptr, settings), std::invalid_argument);

    // Below the image, in as many lines as needed; all characters of units make marks, each its own.
    settings = {};
    settings.dataBar = {{L"HV", L"300 kV"}, {L"", L"µÅ°²ˉ¹"}, {L"a very long title of one cell", L"-"}};
    settings.display.colours = Imaging::ColourTable::Named("viridis");
    const const_raw_image data = MakePresentation(image, nullptr, settings);
    EXPECT_EQ(data.Kind(), PixelKind::Rgb8);
    ASSERT_GT(data.Size().height, 220u);
    EXPECT_LT(data.Size().height, 280u);
    int bright = 0;
    for (std::uint32_t y = 200; y < data.Size().height; ++y)
    {
        for (std::uint32_t x = 0; x < 400; ++x)
        {
            bright += at(data, x, y) > 200 ? 1 : 0;
        }
    }
    EXPECT_GT(bright, 300);
    EXPECT_LT(bright, 400 * 20 / 3);
    EXPECT_EQ(at(data, 399, 201), 0);

    // Texts that do not fit, and pictures smaller than a letter, are cut.
    settings.hasScaleBar = true;
    settings.size = ExportSize::Within({3, 3});
    settings.dataBar.push_back({std::wstring(3000, L'm'), std::wstring(10, wchar_t(0x4e00))});
    EXPECT_EQ(MakePresentation(image, &pixelSize, settings).Size().width, 3u);
}

TEST(PresentationTest, FilesAreWholeAndReadBack)
{
    const Support::ScopedTempDir folder;
    const const_raw_image image = Words({300, 100});
    MetadataLib::Metadata metadata = Calibrated(1e-9, 2e-9);
    metadata.BinaryResult.ImageSize = {300.0, 100.0};
    metadata.Core.Comment = "kept";
    PresentationSettings settings;
    settings.size = ExportSize::LongestSide(150);
    settings.display.white = 299;
    const const_raw_image picture = MakePresentation(image, nullptr, settings);
    for (const ExportTypeInfo& info : ExportTypes())
    {
        SCOPED_TRACE(info.name);
        const std::wstring file =
            FileSystem::ToWide(folder / (std::string(info.name) + "." + std::string(info.extensions[0])));
        ExportImage(file, info.type, image, &metadata, settings);
        ImageFile opened(file);
        const auto read = opened.ReadImage();
        EXPECT_EQ(read->Size(), (size_2d{150, 50}));
        const auto record = opened.ReadMetadata();
        ASSERT_EQ(record.has_value(), info.keepsRecord);
        if (record)
        {
            EXPECT_EQ(read->Kind(), PixelKind::UInt16);
            EXPECT_EQ(record->Core.Comment, "kept");
            EXPECT_EQ(record->BinaryResult.ImageSize, (MetadataLib::Size2D<double>{150, 50}));
            EXPECT_EQ(record->BinaryResult.PixelSize, Calibrated(2e-9, 4e-9).BinaryResult.PixelSize);
            continue;
        }
        ASSERT_EQ(read->Kind(), PixelKind::UInt8);
        for (std::uint32_t x = 0; x < 150; ++x)
        {
            const int expected = static_cast<const std::uint8_t*>(picture.Row(30))[x];
            EXPECT_NEAR(static_cast<const std::uint8_t*>(read->Row(30))[x], expected, info.isLossless ? 0 : 4) << x;
        }
    }

    // What cannot be written leaves the old file, and says which file and why.
    Support::WriteFile(folder / "old.png", "old");
    PresentationSettings wrong = settings;
    wrong.display.gamma = 0.0;
    EXPECT_THROW(ExportImage(FileSystem::ToWide(folder / "old.png"), ExportType::Png, image, nullptr, wrong),
                 std::invalid_argument);
    wrong = settings;
    wrong.jpegQuality = 0;
    EXPECT_THROW(ExportImage(FileSystem::ToWide(folder / "old.png"), ExportType::Jpeg, image, nullptr, wrong),
                 std::invalid_argument);
    EXPECT_EQ(Support::ReadFile(folder / "old.png"), "old");
    for (const ExportTypeInfo& info : ExportTypes())
    {
        const auto write = [&]
        { ExportImage(FileSystem::ToWide(folder / "none" / "a"), info.type, image, nullptr, settings); };
        const std::string name = (std::filesystem::path("none") / "a").string();
        EXPECT_THAT(write, ThrowsMessage<Exception::Error>(AllOf(HasSubstr(name + ": "), NoSuchFile()))) << info.name;
    }
    const auto samples = std::make_shared<std::vector<std::uint8_t>>(65'501);
    const const_raw_image wide(std::shared_ptr<const void>(samples, samples->data()), {65'501, 1}, PixelKind::UInt8);
    EXPECT_THAT([&] { ExportImage(FileSystem::ToWide(folder / "old.png"), ExportType::Jpeg, wide, nullptr, {}); },
                ThrowsMessage<Exception::Error>(HasSubstr("65500")));
    EXPECT_EQ(Support::ReadFile(folder / "old.png"), "old");
}

TEST(DataBarTest, QuantitiesOfARecord)
{
    MetadataLib::Metadata metadata = Calibrated(2.5e-9, 5e-9);
    metadata.BinaryResult.ImageSize = {1000.0, 400.0};
    metadata.Optics.AccelerationVoltage = 300e3;
    metadata.StageSettings.StagePosition.Tilt.Alpha = 0.5235987755982988;
    metadata.ScanSettings.FrameTime = 0.05;
    metadata.StageSettings.StagePosition.X = 1.5e-6;
    metadata.StageSettings.StagePosition.Y = -2e-3;
    using Formatting::Quantity;
    const std::pair<Quantity, const wchar_t*> cases[] = {
        {Quantity::AccelerationVoltage, L"300 kV"},
        {Quantity::FieldOfView, L"2.5 µm x 2 µm"},
        {Quantity::PixelSize, L"2.5 nm"},
        {Quantity::ReciprocalPixelSize, L"-"},
        {Quantity::TiltAngle, L"30°"},
        {Quantity::FrameRate, L"20 fps"},
        {Quantity::ImageSize, L"1000 x 400 px"},
        {Quantity::BeamCurrent, L"-"},
        {Quantity::ExposureTime, L"-"},
        {Quantity::Dose, L"-"},
        {Quantity::StagePosition, L"x 1.5 µm, y -2 mm, z 0 nm"},
    };
    for (const auto& [quantity, text] : cases)
    {
        EXPECT_EQ(Conversion::String::ToUtf8(QuantityOfRecord(metadata, quantity)), Conversion::String::ToUtf8(text));
    }
    EXPECT_THROW(QuantityOfRecord(metadata, static_cast<Quantity>(1000)), std::invalid_argument);

    // 100 pA are 6.2415e8 electrons a second: on 12.5 nm² for 2 x 10 µs, or on a disc of 2 µm for half a second.
    const auto doses = [&metadata]
    {
        return Conversion::String::ToUtf8(QuantityOfRecord(metadata, Quantity::DosePerSquareNanometre) + L"; " +
                                          QuantityOfRecord(metadata, Quantity::DoseRatePerSquareNanometre));
    };
    metadata.Optics.BeamCurrent = 100e-12;
    metadata.ScanSettings.DwellTime = 10e-6;
    metadata.ScanSettings.LineIntegrationCount = 2;
    EXPECT_EQ(doses(), "998.6 e/nm²; 19.97 ke/nm²/s");
    metadata.ScanSettings.DwellTime.reset();
    EXPECT_EQ(doses(), "-; -");
    metadata.Optics.BeamDiameter = 2e-6;
    EXPECT_EQ(doses(), "-; 198.7 e/nm²/s");
    MetadataLib::ImagingDetector camera;
    camera.ExposureTime = 0.5;
    metadata.Detectors.push_back(camera);
    EXPECT_EQ(doses(), "99.34 e/nm²; 198.7 e/nm²/s");

    // A record that has everything: only what no record has is missing.
    const MetadataLib::Metadata full = Support::FullMetadata();
    std::set<std::wstring> missing;
    for (const Formatting::QuantityFormat& format : Formatting::QuantityFormats())
    {
        const auto cells = MakeDataBar(full, std::vector{format.quantity});
        ASSERT_EQ(cells.size(), 1u);
        EXPECT_EQ(cells[0].title, format.name);
        if (cells[0].value == L"-")
        {
            missing.insert(cells[0].title);
        }
    }
    EXPECT_THAT(missing, testing::UnorderedElementsAre(L"Reciprocal pixel size", L"Angular pixel size"));
}

TEST(PlotFileTest, TextsThatSpreadsheetsOpen)
{
    constexpr double NotANumber = std::numeric_limits<double>::quiet_NaN();
    constexpr double Infinity = std::numeric_limits<double>::infinity();
    const Plot plot{{"Energy, loss", "eV"},
                    {0.1, -2.5e-300, NotANumber, 3},
                    {{{"A \"raw\"", ""}, {1, NotANumber, -Infinity, 1e21}}, {{"", "e/nm²"}, {1.0 / 3}}}};
    EXPECT_EQ(PlotText(plot), "\"Energy, loss [eV]\",\"A \"\"raw\"\"\",[e/nm²]\r\n"
                              "0.1,1,0.3333333333333333\r\n"
                              "-2.5e-300,,\r\n"
                              ",-inf,\r\n"
                              "3,1e+21,\r\n");
    EXPECT_EQ(PlotText({{"x", ""}, {1, 2}, {}}, {'\t', false}), "1\r\n2\r\n");
    EXPECT_EQ(PlotText({{"a;b", ""}, {}, {}}, {';', true}), "\"a;b\"\r\n");
    for (const char separator : {'a', 'Z', '5', '.', '-', '+', '"', '\n', '\r', '\0', '\x80'})
    {
        EXPECT_THROW(PlotText(plot, {separator, true}), std::invalid_argument) << int{separator};
    }
    EXPECT_THROW(PlotText({{"x", ""}, {1}, {{{"y", ""}, {1, 2}}}}), std::invalid_argument);
    EXPECT_THROW(PlotText({{"\xff", ""}, {}, {}}), std::invalid_argument);

    const Support::ScopedTempDir folder;
    WritePlot(FileSystem::ToWide(folder / "µ.csv"), plot);
    EXPECT_EQ(Support::ReadFile(folder / "µ.csv"), "\xef\xbb\xbf" + PlotText(plot));
    WritePlot(FileSystem::ToWide(folder / "µ.csv"), {{"x", ""}, {}, {}});
    EXPECT_EQ(Support::ReadFile(folder / "µ.csv"), "x\r\n");
    EXPECT_THAT([&] { WritePlot(FileSystem::ToWide(folder.Path()), plot); },
                ThrowsMessage<Exception::Error>(HasSubstr(": is a folder")));
    EXPECT_THAT([&] { WritePlot(L"", plot); }, ThrowsMessage<Exception::Error>("no file name"));
}

TEST(ReadColourTableTest, FilesAndWhatIsNone)
{
    const Support::ScopedTempDir folder;
    Support::WriteFile(folder / "two.txt", "0 0 0\n255 255 255\n");
    EXPECT_EQ(ReadColourTable(FileSystem::ToWide(folder / "two.txt")), Imaging::ColourTable());
    Support::WriteFile(folder / "long.txt", std::string(10'000'000, '#'));
    const std::pair<const char*, ::testing::Matcher<std::string>> cases[] = {
        {"none", AllOf(HasSubstr("none: "), NoSuchFile())},
        {".", AnyOf(HasSubstr("Is a directory"), HasSubstr("denied"))},
        {"long.txt", HasSubstr("long.txt: colour table: longer than")}};
    for (const auto& [name, reason] : cases)
    {
        const auto read = [file = FileSystem::ToWide(folder / name)] { static_cast<void>(ReadColourTable(file)); };
        EXPECT_THAT(read, ThrowsMessage<Exception::Error>(reason));
    }
}

} // namespace

} // namespace Ardo::Kiln::ImageIO
