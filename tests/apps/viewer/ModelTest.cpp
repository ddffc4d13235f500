#include "apps/viewer/Model/Document.h"
#include "apps/viewer/Model/FolderImages.h"
#include "apps/viewer/Model/HalveRow.h"
#include "apps/viewer/Model/RecordTree.h"
#include "apps/viewer/Model/Samples.h"
#include "apps/viewer/Model/SaveRequest.h"
#include "apps/viewer/Model/ScanSimulation.h"
#include "apps/viewer/Model/ViewerSettings.h"
#include "apps/viewer/Presenter/DisplayPresenter.h"
#include "apps/viewer/View/ViewTransform.h"
#include "Ardo/Kiln/ImageIO/TiffExporter.h"
#include "tests/Support/FullMetadata.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QSettings>
#include <QTranslator>

#include <cstring>
#include <numeric>
#include <vector>

namespace Ardo::Kiln::Viewer
{

using Imaging::const_raw_image;
using Imaging::PixelKind;
using Imaging::size_2d;

namespace
{

template <typename Sample>
const_raw_image MakeImage(size_2d size, PixelKind kind, const std::vector<Sample>& samples)
{
    const auto owner = std::make_shared<std::vector<Sample>>(samples);
    return {std::shared_ptr<const void>(owner, owner->data()), size, kind};
}

const_raw_image Ramp(size_2d size)
{
    std::vector<std::uint16_t> samples(std::size_t{size.width} * size.height);
    std::iota(samples.begin(), samples.end(), std::uint16_t{0});
    return MakeImage(size, PixelKind::UInt16, samples);
}

MetadataLib::Metadata WithPixelSize(double x, double y, std::optional<std::string> unitX,
                                    std::optional<std::string> unitY)
{
    MetadataLib::Metadata metadata;
    metadata.BinaryResult.PixelSize = MetadataLib::PixelSizeRecord{{x, unitX, 0}, {y, unitY, 0}};
    return metadata;
}

QString Path(const std::filesystem::path& path)
{
    return QString::fromStdString(path.string());
}

Document Read(const std::filesystem::path& path)
{
    return ReadDocument(Path(path), [](double) { return true; });
}

/// The value of a field by its names from the section on; "?" if it is not there.
std::string Field(const std::vector<RecordNode>& nodes, std::vector<std::string> names)
{
    for (const RecordNode& node : nodes)
    {
        if (node.name.toStdString() == names.front())
        {
            names.erase(names.begin());
            return names.empty() ? node.value.toStdString() : Field(node.children, names);
        }
    }
    return "?";
}

} // namespace

TEST(ViewerModelTest, HalfAnImageIsMadeOfMeans)
{
    const std::uint16_t words[] = {65535, 65534, 3, 65535, 65535, 4};
    std::uint16_t half[2];
    HalveRow(PixelKind::UInt16, words, words + 3, 3, half);
    EXPECT_THAT(half, ::testing::ElementsAre(65535, 4)); // 65534.75 and, at an odd end, 3.5
    const float floats[] = {3e38F, 3e38F, 3e38F, 1e38F};
    float mean = 0;
    HalveRow(PixelKind::Float32, floats, floats + 2, 2, &mean);
    EXPECT_FLOAT_EQ(mean, 2.5e38F);
    const std::uint8_t clear[] = {200, 0, 100, 0, 10, 20, 30, 255};
    std::uint8_t colour[4];
    HalveRow(PixelKind::Rgba8, clear, clear, 2, colour);
    EXPECT_THAT(colour, ::testing::ElementsAre(10, 20, 30, 128)); // what is transparent has no colour
}

/// Line by line as from a detector, or at once: the same levels.
TEST(ViewerModelTest, APyramidOfRowsIsThatOfTheImage)
{
    for (const size_2d size : {size_2d{1024, 768}, size_2d{601, 515}})
    {
        const const_raw_image image = Ramp(size);
        const ImagePyramid whole(image, [](double) { return true; });
        ImagePyramid rows(size, image.Kind());
        for (std::uint32_t y = 0; y < size.height; y += 96)
        {
            const std::uint32_t count = std::min(96u, size.height - y);
            rows.SetRows(y, {{image.Pixels(), image.Row(y)}, {size.width, count}, image.Kind(), image.Stride()});
        }
        ASSERT_EQ(rows.Levels().size(), whole.Levels().size());
        for (std::size_t level = 0; level < whole.Levels().size(); ++level)
        {
            const auto& expected = whole.Levels()[level];
            ASSERT_EQ(rows.Levels()[level].size, expected.size);
            EXPECT_EQ(std::memcmp(rows.Levels()[level].pixels, expected.pixels, expected.stride * expected.size.height),
                      0)
                << level;
        }
        EXPECT_THROW(rows.SetRows(size.height, image), std::invalid_argument);
        EXPECT_EQ(whole.LevelFor(1.0), 0u);
        EXPECT_EQ(whole.LevelFor(0.26), 1u);
        EXPECT_EQ(whole.LevelFor(1e-9), whole.Levels().size() - 1);
    }
}

TEST(ViewerModelTest, LengthsAreThoseOfTheRecordOrPixels)
{
    struct Row
    {
        MetadataLib::Metadata metadata;
        const char* length; ///< Of 3 pixels to the right and 4 down.
        const char* position;
    };
    const Row rows[] = {
        {WithPixelSize(1e-9, 1e-9, "m", "m"), "5.0 nm", "3 nm, 4 nm"},
        {WithPixelSize(2e-9, 1e-9, "m", "m"), "7.2 nm", "6 nm, 4 nm"},
        {{}, "5.0 px", "3, 4 px"},
        {WithPixelSize(0.0, 1e-9, "m", "m"), "5.0 px", "3, 4 px"},
        {WithPixelSize(-1e-9, 1e-9, "m", "m"), "5.0 px", "3, 4 px"},
        {WithPixelSize(std::numeric_limits<double>::quiet_NaN(), 1e-9, "m", "m"), "5.0 px", "3, 4 px"},
        {WithPixelSize(1e-9, 1e-9, {}, {}), "5.0 px", "3, 4 px"},
        {WithPixelSize(1e-9, 1e-9, "m", "rad"), "5.0 px", "3, 4 px"},
    };
    for (const Row& row : rows)
    {
        const Calibration calibration(row.metadata);
        EXPECT_EQ(calibration.LengthText({0, 0, 3, 4}).toStdString(), row.length);
        EXPECT_EQ(calibration.PositionText({3, 4}).toStdString(), row.position);
    }
    MetadataLib::Metadata scaled;
    scaled.BinaryResult.IntensityScale = MetadataLib::CompleteQuantity{0.5, "e", 0};
    scaled.BinaryResult.IntensityOffset = 2.0;
    EXPECT_EQ(Calibration(scaled).ValueText({10.0}).toStdString(), "7.000 e");
    EXPECT_EQ(Calibration().ValueText({1.0, 2.0, 255.0}).toStdString(), "1, 2, 255");
}

TEST(ViewerModelTest, ALineProfileFollowsTheLine)
{
    const ImageIO::Plot plot =
        MakeLineProfile(Ramp({100, 10}), {0.5, 0.5, 10.5, 0.5}, Calibration(WithPixelSize(1e-9, 1e-9, "m", "m")));
    ASSERT_EQ(plot.positions.size(), 11u);
    EXPECT_DOUBLE_EQ(plot.positions.back(), 1e-8);
    EXPECT_DOUBLE_EQ(plot.series[0].values[7], 7.0);
    const ImageIO::Plot slanted = MakeLineProfile(Ramp({100, 10}), {0.5, 0.5, 4.5, 3.5}, {});
    EXPECT_DOUBLE_EQ(slanted.series[0].values.back(), 304.0);
    const auto outside = MakeLineProfile(Ramp({2, 2}), {-5, -5, 50, 50}, {});
    EXPECT_DOUBLE_EQ(outside.series[0].values.front(), 0.0);
    EXPECT_DOUBLE_EQ(outside.series[0].values.back(), 3.0);
    const auto colour = MakeLineProfile(MakeImage<std::uint8_t>({1, 1}, PixelKind::Rgb8, {1, 2, 3}), {0, 0, 1, 1}, {});
    ASSERT_EQ(colour.series.size(), 3u);
    EXPECT_DOUBLE_EQ(colour.series[2].values[0], 3.0);
}

/// 14 bits in 16, of which a hot pixel uses all, and values in a corner of their range.
TEST(ViewerModelTest, TheRangeIsThatOfNearlyAllValues)
{
    std::vector<std::uint16_t> samples(100'000, 12'000);
    for (std::size_t i = 0; i < samples.size(); i += 2)
    {
        samples[i] = static_cast<std::uint16_t>(11'000 + i % 2'000);
    }
    samples[5] = 65'535;
    const const_raw_image image = MakeImage({100, 1000}, PixelKind::UInt16, samples);
    DisplayPresenter presenter({});
    presenter.ShowValues(PixelKind::UInt16, std::make_shared<const Imaging::Histogram>(image));
    DisplayState state = presenter.State();
    EXPECT_GE(state.range.low, 11'000);
    EXPECT_LE(state.range.high, 13'000);
    EXPECT_LE(state.axis.high, 13'500);
    EXPECT_EQ(state.maximum, 65'535);

    DisplayChoice choice;
    choice.mode = RangeMode::Whole;
    presenter.Choose(choice);
    EXPECT_EQ(presenter.State().range.high, 65'535);
    choice = {RangeMode::Manual, 90, 10, {100, 50}, 99, "viridis", true}; // all of it beyond its limits
    presenter.Choose(choice);
    state = presenter.State();
    EXPECT_EQ(state.range.low, 100);
    EXPECT_EQ(state.settings.gamma, 10);
    EXPECT_EQ(state.choice.highPercent, 90);
    EXPECT_TRUE(state.settings.above);
    presenter.ShowValues(PixelKind::Rgb8, std::make_shared<const Imaging::Histogram>(PixelKind::Rgb8));
    EXPECT_EQ(presenter.State().choice.mode, RangeMode::Automatic);
    EXPECT_EQ(presenter.State().range, (Imaging::ValueRange{0, 255}));

    // A single value, and none that is finite.
    for (const float value : {3.5F, std::numeric_limits<float>::infinity()})
    {
        const auto same = MakeImage<float>({2, 1}, PixelKind::Float32, {value, value});
        presenter.ShowValues(PixelKind::Float32, std::make_shared<const Imaging::Histogram>(same));
        EXPECT_EQ(presenter.State().counts.size(), DisplayPresenter::PartCount);
    }
}

TEST(ViewerModelTest, TheRecordReadsAsAPersonWritesIt)
{
    const std::vector<RecordNode> nodes = MakeRecordTree(Support::FullMetadata());
    EXPECT_EQ(Field(nodes, {"Optics", "Acceleration voltage"}), "300 kV");
    EXPECT_EQ(Field(nodes, {"Optics", "STEM focus"}), "+4.62 nm");
    EXPECT_EQ(Field(nodes, {"Optics", "Image shift", "X"}), "3.55 µm");
    EXPECT_EQ(Field(nodes, {"Binary result", "Pixel size", "X"}), "250 pm");
    EXPECT_EQ(Field(nodes, {"Stage settings", "Stage position", "Tilt", "Alpha"}), "14.897°");
    EXPECT_EQ(Field(nodes, {"Custom property group", "Custom properties", "bool"}), "true");
    EXPECT_EQ(Field(nodes, {"Core", "User ID"}), "o'neill");
}

TEST(ViewerModelTest, TheNextFileIsTheNextNumber)
{
    const Support::ScopedTempDir folder;
    for (const char* const name : {"b2.tif", "b10.tif", "a.PNG", "notes.txt", ".b3.tif"})
    {
        Support::WriteFile(folder / name, "x");
    }
    const auto next = [&](const char* name, int step)
    { return QFileInfo(NeighbourInFolder(Path(folder / name), step)).fileName().toStdString(); };
    EXPECT_EQ(next("b2.tif", 1), "b10.tif");
    EXPECT_EQ(next("b10.tif", -1), "b2.tif");
    EXPECT_EQ(next("b10.tif", 1), "");
    EXPECT_EQ(next("b5.tif", 1), "b10.tif"); // removed meanwhile
    EXPECT_EQ(next("b2.tif", -1), "a.PNG");
}

/// What is damaged in part is shown in the window's tests.
TEST(ViewerModelTest, ADocumentHasWhatCanBeRead)
{
    const Support::ScopedTempDir folder;
    const auto path = folder / "image.tif";
    const MetadataLib::Metadata metadata = Support::FullMetadata();
    ImageIO::TiffExporter().WriteImage(path.wstring(), Ramp({64, 64}), &metadata);
    const Document document = Read(path);
    ASSERT_TRUE(document.picture && document.metadata);
    EXPECT_TRUE(*document.metadata == metadata);
    EXPECT_TRUE(document.imageProblem.empty() && document.recordProblem.empty());
    // At each of its steps: reading, and the preparation of the display.
    for (const double last : {0.0, 0.7})
    {
        EXPECT_THROW(ReadDocument(Path(path), [&](double part) { return part < last; }), Cancelled) << last;
    }
    const std::string whole = Support::ReadFile(path);
    Support::WriteFile(path, whole.substr(0, whole.size() / 2));
    EXPECT_THROW(Read(path), std::exception);
    EXPECT_THROW(Read(folder / "missing.tif"), std::exception);
}

TEST(ViewerModelTest, AScanIsACellWithLessNoiseTheLongerItTakes)
{
    double deviations[2];
    int index = 0;
    for (const double dwellTime : {1e-7, 1e-5})
    {
        const ScanSettings settings{256, dwellTime, false};
        ScanSimulation first(EmbeddedMicrograph(), settings);
        std::vector<std::uint16_t> line(settings.side);
        std::vector<std::uint16_t> again(settings.side);
        double sum = 0;
        for (std::uint32_t y = 0; y < settings.side; ++y)
        {
            first.Scan(y, line.data());
            first.Scan(y, again.data());
            for (std::size_t x = 0; x < line.size(); ++x)
            {
                ASSERT_LT(line[x], 1 << 14);
                sum += std::abs(line[x] - again[x]);
            }
        }
        deviations[index++] = sum;
    }
    EXPECT_GT(deviations[0], 5 * deviations[1]);

    const auto begin = MetadataLib::TimePoint(std::chrono::seconds(1'700'000'000));
    const MetadataLib::Metadata record =
        MakeScanRecord({512, 2e-6, true}, Ramp({512, 100}), begin, begin + std::chrono::seconds(2), 0);
    EXPECT_EQ(record.ScanSettings.ScanSize.height, 100);
    EXPECT_EQ(record.ScanSettings.DwellTime, 2e-6);
    EXPECT_EQ(record.BinaryResult.PixelValueMaximum, 51'199);
    EXPECT_TRUE(MakeDocument(Ramp({512, 100}), record).calibration.PixelSize());
}

TEST(ViewerModelTest, SettingsComeBackAndDamagedOnesAreLeftOut)
{
    const Support::ScopedTempDir folder;
    QSettings file(Path(folder / "viewer.ini"), QSettings::IniFormat);
    ViewerSettings settings = LoadViewerSettings(file);
    settings.display = {RangeMode::Whole, 1.5, 97.25, {}, 1.8, "magma", true};
    settings.scan = {2048, 3.5e-6, false};
    for (int i = 0; i < 20; ++i)
    {
        settings.AddRecentFile(QString::number(i % 12));
    }
    settings.naming.experimentName = L"Leber";
    settings.geometry = "geometry\n\0x";
    SaveViewerSettings(file, settings);
    const ViewerSettings again = LoadViewerSettings(QSettings(file.fileName(), QSettings::IniFormat));
    EXPECT_EQ(again.display, settings.display);
    EXPECT_EQ(again.scan, settings.scan);
    EXPECT_EQ(again.recentFiles, settings.recentFiles);
    EXPECT_EQ(again.recentFiles.size(), ViewerSettings::MaxRecentFiles);
    EXPECT_EQ(again.naming, settings.naming);
    EXPECT_EQ(again.geometry, settings.geometry);
    file.setValue("Display/Gamma", "much");
    file.setValue("Display/Colours", "mauve");
    file.setValue("Display/LowPercent", 150);
    EXPECT_EQ(LoadViewerSettings(file).display, (DisplayChoice{RangeMode::Whole, 0.1, 97.25, {}, 1.0, "grey", true}));
}

/// Each format of the file dialog is one for which file managers offer the viewer.
TEST(ViewerModelTest, TheDesktopEntryHasTheTypesOfAllFormats)
{
    const std::string entry = Support::ReadFile(KILN_TEST_DATA "/../../apps/viewer/Resources/orbex-viewer.desktop");
    for (const QString& pattern : ImageNameFilter().split(QLatin1Char(' ')))
    {
        const QMimeType type = QMimeDatabase().mimeTypeForFile(pattern, QMimeDatabase::MatchExtension);
        const std::string name = type.name().toStdString() + ";";
        EXPECT_THAT(entry, ::testing::AnyOf(::testing::HasSubstr("=" + name), ::testing::HasSubstr(";" + name)));
    }
}

TEST(ViewerModelTest, TheTextsAreThereInGerman)
{
    QTranslator german;
    if (!german.load(QStringLiteral(":/viewer/viewer_de.qm")))
    {
        GTEST_SKIP() << "built without lrelease";
    }
    EXPECT_EQ(german.translate("Viewer", "There is no image").toStdString(), "Es gibt kein Bild");
    EXPECT_EQ(german.translate("Viewer", "&Open...").toStdString(), "Ö&ffnen...");
}

TEST(ViewerModelTest, AnImageIsNeitherLostNorTooLarge)
{
    ViewTransform transform;
    transform.SetSizes({800, 600}, {4096, 4096});
    EXPECT_DOUBLE_EQ(transform.Zoom(), 600.0 / 4096);
    transform.ZoomTo(2.0, {500, 200});
    transform.PanBy({1e6, -1e6});
    EXPECT_EQ(transform.Visible().left(), 0.0);
    EXPECT_EQ(transform.Visible().bottom(), 4096.0);
    transform.ZoomTo(1e9, {});
    EXPECT_DOUBLE_EQ(transform.Zoom(), ViewTransform::MaxZoom);
    transform.ZoomTo(0.0, {});
    EXPECT_DOUBLE_EQ(transform.Zoom(), 600.0 / 4096);
}

} // namespace Ardo::Kiln::Viewer
