#include "apps/viewer/View/AcquisitionPanel.h"
#include "Ardo/Kiln/ImageIO/ReadImageFromFile.h"
#include "tests/apps/viewer/ViewerWindow_linux.h"
#include "tests/Support/FullMetadata.h"
#include "tests/Support/Process.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>

#include <cstring>

namespace Ardo::Kiln::Viewer
{

namespace
{

using Imaging::const_raw_image;

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

/// Presses a button of a question.
void Answer(QWidget& question, QMessageBox::StandardButton button)
{
    auto* const box = dynamic_cast<QMessageBox*>(&question);
    ASSERT_NE(box, nullptr) << question.windowTitle().toStdString();
    QTest::mouseClick(box->button(button), Qt::LeftButton);
}

class ViewerWorkTest : public ViewerWindowTest
{
protected:
    void SetUp() override
    {
        ViewerWindowTest::SetUp();
        SetFolder("images", false);
        Window().Acquisition().Show({256, 1e-6, true});
    }

    void SetFolder(const char* name, bool exportsPicture)
    {
        FileNaming::FileNamingSettings naming;
        naming.folder = m_folder / name;
        naming.useDateFolders = false;
        m_viewer->SetNaming(naming, exportsPicture);
    }

    /// Begins a scan, and waits until the live image has more than a frame.
    void BeginScan()
    {
        Press(Qt::Key_F9);
        ASSERT_TRUE(WaitFor([&] { return Window().windowTitle() == QLatin1String("Live"); }));
        ASSERT_TRUE(WaitFor([&] { return m_viewer->Display().maximum > 8000; }));
    }

    void Scan()
    {
        BeginScan();
        Press(Qt::Key_F10);
        ASSERT_TRUE(WaitUntilIdle());
    }

    void OpenWithAnswer(QMessageBox::StandardButton answer)
    {
        WithDialog([&] { m_viewer->Open(Path("ramp.tif")); }, [&](QWidget& dialog) { Answer(dialog, answer); });
    }

    void CloseWithAnswer(QMessageBox::StandardButton answer)
    {
        WithDialog([&] { Window().close(); }, [&](QWidget& dialog) { Answer(dialog, answer); });
    }

    bool Exists(const char* name) const { return std::filesystem::exists(m_folder / name); }
};

} // namespace

TEST_F(ViewerWorkTest, AnAcquisitionIsStoppedSavedAndReadAgain)
{
    SetFolder("images", true);
    BeginScan();
    Point({128.5, 200.5});
    EXPECT_TRUE(WaitFor([&] { return !ValueUnderPointer().empty(); }));
    const std::string value = ValueUnderPointer();
    EXPECT_TRUE(WaitFor([&] { return ValueUnderPointer() != value; })); // other noise in the next frame
    Press(Qt::Key_F10);
    ASSERT_TRUE(WaitUntilIdle());
    const DocumentPtr acquired = m_viewer->Document();
    ASSERT_TRUE(acquired && acquired->metadata);
    EXPECT_EQ(acquired->metadata->ScanSettings.DwellTime, 1e-6);
    EXPECT_TRUE(acquired->metadata->Optics.AccelerationVoltage);
    EXPECT_EQ(acquired->metadata->Detectors.size(), 1u);

    Press(Qt::Key_S, Qt::ControlModifier);
    ASSERT_TRUE(WaitFor([&] { return m_viewer->IsIdle() && !m_viewer->Document()->path.isEmpty(); }));
    EXPECT_EQ(m_viewer->Document()->path, Path("images/Experiment_0001.tif"));
    const auto picture = ImageIO::ReadImageFromFile((m_folder / "images/Experiment_0001.png").wstring());
    EXPECT_EQ(picture->Size().width, 256u);
    EXPECT_GT(picture->Size().height, acquired->picture->image.Size().height); // the data bar
    Open(Path("images/Experiment_0001.tif"));
    ExpectSame(*acquired, *m_viewer->Document());
}

/// Whatever would replace or end it, the person decides, and what cannot be saved stays.
TEST_F(ViewerWorkTest, AnAcquisitionIsNotLostUnasked)
{
    OpenRamp(nullptr);
    const auto shows = [&](const char* title) { return Window().windowTitle() == QLatin1String(title); };
    BeginScan();
    OpenWithAnswer(QMessageBox::Cancel);
    EXPECT_TRUE(shows("Live"));
    OpenWithAnswer(QMessageBox::Save);
    EXPECT_TRUE(WaitFor([&] { return shows("ramp.tif"); }));
    EXPECT_TRUE(Exists("images/Experiment_0001.tif"));

    BeginScan();
    CloseWithAnswer(QMessageBox::Cancel);
    EXPECT_TRUE(Window().isVisible() && shows("Live"));
    Press(Qt::Key_F10);
    ASSERT_TRUE(WaitFor([&] { return shows("Acquired, not saved"); }));
    SetFolder("viewer.ini", false); // a file where a folder should be
    OpenWithAnswer(QMessageBox::Save);
    EXPECT_TRUE(WaitFor([&] { return m_failures.size() == 1; }));
    CloseWithAnswer(QMessageBox::Save);
    EXPECT_TRUE(WaitFor([&] { return m_failures.size() == 2; }));
    EXPECT_TRUE(Window().isVisible() && shows("Acquired, not saved"));
    WithDialog([&] { Press(Qt::Key_F9); }, [](QWidget&) {}); // Escape
    EXPECT_TRUE(shows("Acquired, not saved"));
    OpenWithAnswer(QMessageBox::Discard);
    EXPECT_TRUE(WaitFor([&] { return shows("ramp.tif"); }));

    SetFolder("images", false);
    Scan();
    CloseWithAnswer(QMessageBox::Save);
    EXPECT_TRUE(WaitFor([&] { return !Window().isVisible(); }));
    EXPECT_TRUE(Exists("images/Experiment_0002.tif"));
    EXPECT_FALSE(Exists("images/Experiment_0003.tif"));
}

/// From the dialog to the file, also for a name whose end only looks like an extension.
TEST_F(ViewerWorkTest, APictureIsExportedAsChosen)
{
    MetadataLib::Metadata metadata = Support::FullMetadata();
    metadata.BinaryResult.PixelSize = MetadataLib::PixelSizeRecord{{1e-9, "m", 0}, {1e-9, "m", 0}};
    OpenRamp(&metadata);
    struct Row
    {
        const char* typed;
        const char* written;
        const char* type;
        const char* size;
        std::uint32_t width;
    };
    const Row rows[] = {{"plain", "plain.png", "PNG", "original", 512},
                        {"cell 0.5", "cell 0.5.png", "PNG", "50 %", 256},
                        {"cell.JPEG", "cell.JPEG", "JPEG", "128", 128}};
    for (const Row& row : rows)
    {
        const auto typeName = [&](QWidget& dialog)
        {
            dialog.findChild<QLineEdit*>()->setText(Path(row.typed));
            QTest::keyClick(&dialog, Qt::Key_Return);
        };
        const auto choose = [&](QWidget& dialog)
        {
            const auto boxes = dialog.findChildren<QComboBox*>();
            boxes[0]->setCurrentIndex(boxes[0]->findText(QLatin1String(row.type), Qt::MatchStartsWith));
            boxes[1]->setCurrentText(QLatin1String(row.size));
            auto* const button = dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Save);
            WithDialog([&] { QTest::mouseClick(button, Qt::LeftButton); }, typeName);
        };
        WithDialog([&] { Press(Qt::Key_E, Qt::ControlModifier); }, choose);
        ASSERT_TRUE(WaitUntilIdle());
        ASSERT_TRUE(Exists(row.written)) << row.written;
        const auto picture = ImageIO::ReadImageFromFile((m_folder / row.written).wstring());
        EXPECT_EQ(picture->Size().width, row.width);
        EXPECT_GT(picture->Size().height, row.width); // the data bar
    }
    EXPECT_TRUE(m_failures.empty());
}

/// A cancel may come when the work is done. Then it is tried again.
TEST_F(ViewerWorkTest, ReadingAndWritingAreCancelled)
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

} // namespace Ardo::Kiln::Viewer
