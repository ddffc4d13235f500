#include "apps/viewer/View/DisplayPanel.h"
#include "apps/viewer/View/HistogramView.h"
#include "apps/viewer/View/LogPanel.h"
#include "apps/viewer/View/MessageBar.h"
#include "apps/viewer/View/ProfilePanel.h"
#include "apps/viewer/View/RecordPanel.h"
#include "Ardo/Kiln/Logger/CreateLogger.h"
#include "Ardo/Kiln/System/SystemInformation.h"
#include "tests/apps/viewer/ViewerWindow_linux.h"
#include "tests/Support/FullMetadata.h"
#include "tests/Support/LogCollector.h"
#include "tests/Support/Process.h"

#include <boost/log/sources/record_ostream.hpp>
#include <QClipboard>
#include <QComboBox>
#include <QLineEdit>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QTreeWidget>
#include <QWheelEvent>

namespace Ardo::Kiln::Viewer
{

TEST_F(ViewerWindowTest, APersonZoomsPansAndMeasures)
{
    MetadataLib::Metadata metadata = Support::FullMetadata();
    metadata.BinaryResult.PixelSize = MetadataLib::PixelSizeRecord{{1e-9, "m", 0}, {1e-9, "m", 0}};
    OpenRamp(&metadata);
    EXPECT_EQ(Window().Message().Text().toStdString(), "");

    // The value and the place under the pointer.
    const QPointF place(300.5, 200.5);
    Point(place);
    EXPECT_TRUE(
        WaitFor([&] { return ValueUnderPointer() == "1.112 ke"; })); // 1000 + 4 * 300, half as many electrons, plus 12

    const double before = Image().Zoom();
    const QPointF pointer = Image().ToWidget(place);
    QWheelEvent wheel(pointer, Image().mapToGlobal(pointer.toPoint()), {}, {0, 1440}, {}, {}, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&Image(), &wheel);
    EXPECT_NEAR(Image().Zoom(), 8 * before, 1e-6);
    EXPECT_NEAR(Image().ToWidget(place).x(), pointer.x(), 1.5);
    Drag(Image(), {200, 200}, {150, 220});
    EXPECT_NEAR(Image().ToWidget(place).x(), pointer.x() - 50, 3);

    // A readable bar at each zoom.
    for (double zoom = 0.05; zoom < 80; zoom *= 1.7)
    {
        Image().ZoomTo(zoom);
        Image().grab();
        EXPECT_THAT(Image().ScaleBarText().toStdString(), ::testing::MatchesRegex("[125]0*(\\.[0-9]*)? [fpnµ]*m"))
            << zoom;
    }
    Press(Qt::Key_1, Qt::ControlModifier);
    EXPECT_EQ(Image().Zoom(), 1.0);
    Press(Qt::Key_0, Qt::ControlModifier);

    Press(Qt::Key_D, Qt::ControlModifier);
    Drag(Image(), Image().ToWidget({100, 100}), Image().ToWidget({400, 100}));
    ASSERT_TRUE(WaitFor([&] { return !Window().Profile().Plot().positions.empty(); }));
    EXPECT_NEAR(Window().Profile().Plot().positions.back(), 300e-9, 3e-9);
    Press(Qt::Key_P, Qt::ControlModifier);
    Drag(Image(), Image().ToWidget({10, 10}), Image().ToWidget({500, 500}));
    ASSERT_TRUE(WaitFor([&] { return Window().Profile().Plot().positions.back() > 680e-9; }));
    WithDialog([&] { Window().Profile().exportRequested.Emit(); },
               [&](QWidget& dialog)
               {
                   dialog.findChild<QLineEdit*>()->setText(Path("profile.csv"));
                   QTest::keyClick(&dialog, Qt::Key_Return);
               });
    EXPECT_THAT(Support::ReadFile(m_folder / "profile.csv"), ::testing::StartsWith("Position [m],Intensity [e]\r\n"));
}

TEST_F(ViewerWindowTest, ThePersonDecidesWhatIsBlackAndWhite)
{
    OpenRamp(nullptr);
    EXPECT_THAT(Window().Message().Text().toStdString(), ::testing::HasSubstr("no acquisition record"));
    Image().grab();
    EXPECT_EQ(Image().ScaleBarText().toStdString(), "");
    const int middle = ColourAt({256, 256}).red();
    EXPECT_NEAR(middle, 128, 8);

    const HistogramView& view = Window().Display().Histogram();
    auto& histogram = const_cast<HistogramView&>(view);
    ASSERT_TRUE(WaitFor([&] { return histogram.PositionOf(3000) < histogram.width(); })); // it shows the new values
    const double low = histogram.PositionOf(m_viewer->Display().range.low);
    Drag(histogram, {low, 30.0}, {histogram.PositionOf(2000), 30.0});
    ASSERT_TRUE(WaitFor([&] { return ColourAt({256, 256}).red() < 20; }));
    EXPECT_EQ(m_viewer->Display().choice.mode, RangeMode::Manual);
    EXPECT_NEAR(m_viewer->Display().range.low, 2000, 20);

    DisplayChoice choice = m_viewer->Display().choice;
    choice.mode = RangeMode::Automatic;
    choice.lowPercent = 60;
    choice.colours = "inferno";
    choice.marksClipping = true;
    Window().Display().chosen.Emit(choice);
    ASSERT_TRUE(WaitFor([&] { return ColourAt({100, 256}) == QColor(40, 80, 255); }));
    EXPECT_NE(ColourAt({450, 256}).red(), ColourAt({450, 256}).blue());
}

TEST_F(ViewerWindowTest, WhatIsDamagedIsSaidAndTheRestIsShown)
{
    const MetadataLib::Metadata metadata = Support::FullMetadata();
    OpenRamp(&metadata);
    const auto rows = [&] { return Window().Record().Tree().topLevelItemCount(); };
    EXPECT_GT(rows(), 8);
    QLineEdit& search = *Window().Record().findChild<QLineEdit*>();
    QTest::keyClicks(&search, "300 kV");
    QTreeWidget& tree = *Window().Record().findChild<QTreeWidget*>();
    const auto found = tree.findItems(QStringLiteral("300 kV"), Qt::MatchExactly | Qt::MatchRecursive, 1);
    ASSERT_EQ(found.size(), 1);
    EXPECT_FALSE(found[0]->isHidden() || found[0]->parent()->isHidden());
    EXPECT_TRUE(tree.topLevelItem(0)->isHidden());
    tree.setCurrentItem(found[0]);
    tree.setFocus();
    ASSERT_TRUE(WaitFor([&] { return tree.hasFocus(); }));
    QTest::keyClick(&tree, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QApplication::clipboard()->text().toStdString(), "Acceleration voltage: 300 kV");
    WithDialog([&] { Window().Record().rawTextRequested.Emit(); },
               [&](QWidget& dialog)
               {
                   EXPECT_EQ(dialog.findChild<QPlainTextEdit*>()->toPlainText().trimmed(),
                             QString::fromStdString(m_viewer->Document()->recordText).trimmed());
               });

    const std::string whole = Support::ReadFile(m_folder / "ramp.tif");
    Support::WriteFile(m_folder / "record.tif", Support::Replaced(whole, "<Core>", "<Core<"));
    Open(Path("record.tif"));
    EXPECT_THAT(Window().Message().Text().toStdString(), ::testing::HasSubstr("record cannot be read"));
    EXPECT_EQ(rows(), 0);
    std::string image = whole;
    const char compression[] = {3, 1, 3, 0, 1, 0, 0, 0, 1, 0};
    image[image.find(std::string(compression, sizeof compression)) + 8] = 99;
    Support::WriteFile(m_folder / "image.tif", image);
    Open(Path("image.tif"));
    EXPECT_THAT(Window().Message().Text().toStdString(), ::testing::HasSubstr("image cannot be read"));
    EXPECT_GT(rows(), 8);

    Press(Qt::Key_PageDown, Qt::ControlModifier); // from image.tif to ramp.tif
    EXPECT_TRUE(WaitFor([&] { return m_viewer->Document()->path == Path("ramp.tif"); }));
    Support::WriteFile(m_folder / "none.tif", "no image");
    m_viewer->Open(Path("none.tif"));
    ASSERT_TRUE(WaitFor([&] { return m_failures.size() == 1; }));
    EXPECT_THAT(m_failures[0], ::testing::StartsWith("none.tif: "));
    EXPECT_EQ(m_viewer->Document()->path, Path("ramp.tif"));
    QMimeData dropped;
    dropped.setUrls({QUrl::fromLocalFile(Path("record.tif"))});
    QDragEnterEvent enter({10, 10}, Qt::CopyAction, &dropped, Qt::LeftButton, {});
    QApplication::sendEvent(&Window(), &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop({10, 10}, Qt::CopyAction, &dropped, Qt::LeftButton, {});
    QApplication::sendEvent(&Window(), &drop);
    EXPECT_TRUE(WaitFor([&] { return m_viewer->Document()->path == Path("record.tif"); }));
}

TEST_F(ViewerWindowTest, AHundredFilesTakeTheMemoryOfOne)
{
    OpenRamp(nullptr, 1024);
    const auto openTimes = [&](int count)
    {
        for (int i = 0; i < count; ++i)
        {
            Open(Path("ramp.tif"));
        }
        return System::ReadSystemInformation().processMemory;
    };
    const auto before = openTimes(60); // enough to fill what a sanitizer keeps of freed memory
    const auto after = openTimes(100); // 330 MB if they were kept
    EXPECT_LT(after, before + (std::uint64_t{150} << 20));
}

TEST_F(ViewerWindowTest, TheWindowComesBackAsItWas)
{
    OpenRamp(nullptr);
    Window().resize(1000, 880);
    DisplayChoice choice;
    choice.highPercent = 98.5;
    Window().Display().chosen.Emit(choice);
    const QString title = Window().windowTitle();
    const QSize size = Window().size();
    Window().close();
    Start();
    EXPECT_EQ(Window().size(), size);
    EXPECT_EQ(m_viewer->Display().choice, choice);
    EXPECT_EQ(m_viewer->Settings().recentFiles, QStringList{Path("ramp.tif")});
    EXPECT_EQ(title, QStringLiteral("ramp.tif"));
}

TEST_F(ViewerWindowTest, LogAndDialogsAreReachedByKeyboardAndNamed)
{
    const Support::LogCollector log;
    auto logger = Logger::CreateLogger("Stage");
    const int before = Window().Log().VisibleCount();
    BOOST_LOG_SEV(logger, Logger::debug) << "hidden at first";
    BOOST_LOG_SEV(logger, Logger::warning) << "the pressure rises";
    EXPECT_TRUE(WaitFor([&] { return Window().Log().VisibleCount() == before + 1; }));
    Window().Log().findChild<QComboBox*>()->setCurrentIndex(0);
    EXPECT_EQ(Window().Log().VisibleCount(), before + 2);

    EXPECT_FALSE(Command(QStringLiteral("Save")).isEnabled());
    EXPECT_EQ(Command(QStringLiteral("Save")).toolTip().toStdString(), "There is no image");
    OpenRamp(nullptr);
    for (const char* const command : {"About", "File Names...", "Export Picture..."})
    {
        WithDialog([&] { Command(QLatin1String(command)).trigger(); },
                   [&](QWidget& dialog) { EXPECT_FALSE(dialog.windowTitle().isEmpty()) << command; });
    }
    for (const QWidget* const widget : Window().findChildren<QWidget*>())
    {
        const bool isInput = widget->inherits("QComboBox") || widget->inherits("QAbstractSpinBox");
        const bool isNamed = !widget->accessibleName().isEmpty() && !widget->toolTip().isEmpty();
        EXPECT_TRUE(!isInput || isNamed) << widget->metaObject()->className();
    }
}

} // namespace Ardo::Kiln::Viewer
