#include "apps/viewer/Application.h"
#include "apps/viewer/View/AcquisitionPanel.h"
#include "apps/viewer/View/DisplayPanel.h"
#include "apps/viewer/View/HistogramView.h"
#include "apps/viewer/View/LogPanel.h"
#include "apps/viewer/View/MessageBar.h"
#include "apps/viewer/View/ProfilePanel.h"
#include "apps/viewer/View/RecordPanel.h"
#include "Ardo/Kiln/ImageIO/ReadImageFromFile.h"
#include "Ardo/Kiln/ImageIO/TiffExporter.h"
#include "Ardo/Kiln/Logger/CreateLogger.h"
#include "Ardo/Kiln/System/SystemInformation.h"
#include "Ardo/Kiln/Threading/ToMainThreadInitialization.h"
#include "tests/Support/FullMetadata.h"
#include "tests/Support/LogCollector.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"
#include "tests/Support/VirtualDisplay.h"

#include <boost/log/sources/record_ostream.hpp>
#include <gmock/gmock.h>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>
#include <QWheelEvent>

#include <cstring>

namespace Ardo::Kiln::Viewer
{

namespace
{

using Imaging::const_raw_image;

/// How long anything may take; a limit of failing tests only.
constexpr int Limit = 60'000;

/// An application with its window on a screen in memory.
class ViewerWindowTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        qputenv("DISPLAY", Support::StartVirtualDisplay().c_str());
        qputenv("QT_QPA_PLATFORM", "xcb");
        qputenv("QT_XCB_GL_INTEGRATION", "none"); // the drivers of OpenGL keep memory until the process ends
        static int g_argc = 1;
        static char g_name[] = "viewer";
        static char* g_argv[] = {g_name, nullptr};
        g_application = new QApplication(g_argc, g_argv);
    }

    static void TearDownTestSuite() { delete std::exchange(g_application, nullptr); }

    void SetUp() override
    {
        Start();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&Window()));
        QApplication::setActiveWindow(&Window()); // no window manager does it
    }

    void Start()
    {
        m_viewer.emplace(Application::Environment{Path("viewer.ini"), Path("Log"),
                                                  [this](const std::string& text) { m_failures.push_back(text); }});
        Window().show();
    }

    MainWindow& Window() { return m_viewer->Window(); }
    ImageView& Image() { return Window().Image(); }
    QString Path(const char* name) const { return QString::fromStdString((m_folder / name).string()); }

    /// Waits for a condition while events are processed.
    template <typename Condition>
    bool WaitFor(Condition condition)
    {
        return QTest::qWaitFor(condition, Limit);
    }

    bool WaitUntilIdle()
    {
        return WaitFor([this] { return m_viewer->IsIdle(); });
    }

    void Open(const QString& path)
    {
        const DocumentPtr before = m_viewer->Document();
        m_viewer->Open(path);
        ASSERT_TRUE(WaitFor([&] { return m_viewer->IsIdle() && m_viewer->Document() != before; }));
    }

    /// Writes an image of 16 bits whose values grow to the right, and opens it.
    void OpenRamp(const MetadataLib::Metadata* metadata, std::uint32_t side = 512)
    {
        std::vector<std::uint16_t> pixels(std::size_t{side} * side);
        for (std::size_t i = 0; i < pixels.size(); ++i)
        {
            pixels[i] = static_cast<std::uint16_t>(1000 + i % side * 4);
        }
        ImageIO::TiffExporter().WriteUInt16Image((m_folder / "ramp.tif").wstring(), pixels.data(), side, side,
                                                 metadata);
        Open(Path("ramp.tif"));
    }

    void Drag(QWidget& widget, const QPointF& from, const QPointF& to)
    {
        QTest::mousePress(&widget, Qt::LeftButton, {}, from.toPoint());
        for (int step = 1; step <= 4; ++step)
        {
            QMouseEvent move(QEvent::MouseMove, from + (to - from) * step / 4, Qt::LeftButton, Qt::LeftButton, {});
            QApplication::sendEvent(&widget, &move);
        }
        QTest::mouseRelease(&widget, Qt::LeftButton, {}, to.toPoint());
    }

    /// Lets \p use deal with the dialog that \p begin opens, and closes it with Escape if it is still open then.
    void WithDialog(const std::function<void()>& begin, const std::function<void(QWidget&)>& use)
    {
        bool wasUsed = false;
        QTimer poll;
        QObject::connect(&poll, &QTimer::timeout,
                         [&]
                         {
                             QWidget* const dialog = QApplication::activeModalWidget();
                             if (dialog != nullptr && dialog->isVisible() && !wasUsed)
                             {
                                 wasUsed = true;
                                 poll.stop();
                                 QApplication::setActiveWindow(dialog);
                                 use(*dialog);
                                 if (dialog == QApplication::activeModalWidget())
                                 {
                                     QTest::keyClick(dialog, Qt::Key_Escape);
                                 }
                             }
                         });
        poll.start(5);
        begin();
        EXPECT_TRUE(WaitFor([&] { return wasUsed; }));
        QWidget* const remaining = QApplication::activeModalWidget();
        QApplication::setActiveWindow(remaining == nullptr ? &Window() : remaining);
    }

    /// Presses the keys of a command of the menus.
    void Press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) { QTest::keyClick(&Window(), key, modifiers); }

    /// The colour of the image on the screen.
    QColor ColourAt(const QPointF& inImage)
    {
        const QPoint place = Image().ToWidget(inImage).toPoint();
        return Image().grab().toImage().pixelColor(place);
    }

    QAction& Command(const QString& text)
    {
        for (QAction* const action : Window().findChildren<QAction*>())
        {
            if (action->text().remove(QLatin1Char('&')) == text)
            {
                return *action;
            }
        }
        throw std::runtime_error("no command " + text.toStdString());
    }

    static QApplication* g_application;
    Support::ScopedTempDir m_folder;
    const Threading::ToMainThreadInitialization m_toMainThread;
    std::vector<std::string> m_failures;
    std::optional<Application> m_viewer;
};

QApplication* ViewerWindowTest::g_application = nullptr;

/// Every pixel and every field.
void ExpectSame(const Document& one, const Document& other)
{
    ASSERT_TRUE(one.picture && other.picture && one.metadata && other.metadata);
    const const_raw_image& image = one.picture->image;
    ASSERT_EQ(image.Size(), other.picture->image.Size());
    ASSERT_EQ(image.Kind(), other.picture->image.Kind());
    for (std::uint32_t y = 0; y < image.Size().height; ++y)
    {
        ASSERT_EQ(std::memcmp(image.Row(y), other.picture->image.Row(y), image.RowSize()), 0) << y;
    }
    EXPECT_TRUE(*one.metadata == *other.metadata);
}

} // namespace

TEST_F(ViewerWindowTest, APersonZoomsPansAndMeasures)
{
    MetadataLib::Metadata metadata = Support::FullMetadata();
    metadata.BinaryResult.PixelSize = MetadataLib::PixelSizeRecord{{1e-9, "m", 0}, {1e-9, "m", 0}};
    OpenRamp(&metadata);
    EXPECT_EQ(Window().Message().Text().toStdString(), "");

    // The value and the place under the pointer.
    const auto shows = [&](const char* text)
    {
        for (const QLabel* const label : Window().findChildren<QLabel*>())
        {
            if (label->text() == QString::fromUtf8(text))
            {
                return true;
            }
        }
        return false;
    };
    const QPointF place(300.5, 200.5);
    QMouseEvent move(QEvent::MouseMove, Image().ToWidget(place), Qt::NoButton, {}, {});
    QApplication::sendEvent(&Image(), &move);
    EXPECT_TRUE(WaitFor([&] { return shows("1.112 ke"); })); // 1000 + 4 * 300, half as many electrons, plus 12

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

TEST_F(ViewerWindowTest, AnAcquisitionIsStoppedSavedAndReadAgain)
{
    FileNaming::FileNamingSettings naming;
    naming.folder = m_folder / "images";
    naming.useDateFolders = false;
    m_viewer->SetNaming(naming, true);
    Window().Acquisition().Show({256, 1e-6, true});
    Press(Qt::Key_F9);
    const auto course = [&]
    { return Window().Acquisition().findChildren<QLabel*>().back()->text() + Window().windowTitle(); };
    ASSERT_TRUE(WaitFor([&] { return course().contains(QStringLiteral("Live")); }));
    // A frame and a part of the next one.
    ASSERT_TRUE(WaitFor([&] { return m_viewer->Display().maximum > 8000; }));
    Press(Qt::Key_F10);
    ASSERT_TRUE(WaitUntilIdle());
    const DocumentPtr acquired = m_viewer->Document();
    ASSERT_TRUE(acquired && acquired->metadata);
    EXPECT_TRUE(acquired->path.isEmpty());
    EXPECT_EQ(acquired->metadata->ScanSettings.DwellTime, 1e-6);
    EXPECT_TRUE(acquired->metadata->Optics.AccelerationVoltage);
    EXPECT_EQ(acquired->metadata->Detectors.size(), 1u);

    WithDialog([&] { Window().close(); }, [](QWidget&) {}); // Escape
    EXPECT_TRUE(Window().isVisible());
    Press(Qt::Key_S, Qt::ControlModifier);
    ASSERT_TRUE(WaitFor([&] { return m_viewer->IsIdle() && !m_viewer->Document()->path.isEmpty(); }));
    EXPECT_EQ(m_viewer->Document()->path, Path("images/Experiment_0001.tif"));
    const auto picture = ImageIO::ReadImageFromFile((m_folder / "images/Experiment_0001.png").wstring());
    EXPECT_EQ(picture->Size().width, 256u);
    EXPECT_GT(picture->Size().height, acquired->picture->image.Size().height); // the data bar
    Open(Path("images/Experiment_0001.tif"));
    ExpectSame(*acquired, *m_viewer->Document());

    naming.folder = m_folder / "viewer.ini"; // a file where a folder should be
    m_viewer->SetNaming(naming, false);
    Press(Qt::Key_S, Qt::ControlModifier);
    EXPECT_TRUE(WaitFor([&] { return m_failures.size() == 1; }));
}

/// A cancel may come when the work is done. Then it is tried again.
TEST_F(ViewerWindowTest, ReadingAndWritingAreCancelled)
{
    const MetadataLib::Metadata metadata = Support::FullMetadata();
    OpenRamp(&metadata, 6000);
    Support::WriteFile(m_folder / "small.pgm", "P5 2 2 255\nabcd");
    Open(Path("small.pgm"));
    bool wasCancelled = false;
    for (int attempt = 0; attempt < 20 && !wasCancelled; ++attempt)
    {
        m_viewer->Open(Path("ramp.tif"));
        Window().cancelRequested.Emit();
        m_viewer->Wait();
        ASSERT_TRUE(WaitUntilIdle());
        QCoreApplication::processEvents();
        wasCancelled = m_viewer->Document()->path == Path("small.pgm");
    }
    EXPECT_TRUE(wasCancelled);
    Open(Path("ramp.tif"));
    wasCancelled = false;
    for (int attempt = 0; attempt < 20 && !wasCancelled; ++attempt)
    {
        std::filesystem::remove(m_folder / "copy.tif");
        m_viewer->Save(Path("copy.tif"));
        Window().cancelRequested.Emit();
        ASSERT_TRUE(WaitUntilIdle());
        wasCancelled = !std::filesystem::exists(m_folder / "copy.tif");
    }
    EXPECT_TRUE(wasCancelled);
    EXPECT_TRUE(m_failures.empty());
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
