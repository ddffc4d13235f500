#pragma once

#include "apps/viewer/Application.h"
#include "Ardo/Kiln/ImageIO/TiffExporter.h"
#include "Ardo/Kiln/Threading/ToMainThreadInitialization.h"
#include "tests/Support/ScopedTempDir.h"
#include "tests/Support/VirtualDisplay.h"

#include <gmock/gmock.h>
#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Ardo::Kiln::Viewer
{

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
        constexpr int Limit = 60'000; // of failing tests only
        return QTest::qWaitFor(condition, Limit);
    }

    bool WaitUntilIdle()
    {
        return WaitFor([this] { return m_viewer->IsIdle(); });
    }

    /// The value in the status bar.
    std::string ValueUnderPointer()
    {
        const auto labels = Window().findChildren<QLabel*>();
        const auto isIt = [](const QLabel* label)
        { return label->accessibleName() == QLatin1String("Value under the pointer"); };
        return (*std::find_if(labels.begin(), labels.end(), isIt))->text().toStdString();
    }

    /// Moves the pointer, without a button, to a position of the image.
    void Point(const QPointF& inImage)
    {
        QMouseEvent move(QEvent::MouseMove, Image().ToWidget(inImage), Qt::NoButton, {}, {});
        QApplication::sendEvent(&Image(), &move);
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

    inline static QApplication* g_application = nullptr;
    Support::ScopedTempDir m_folder;
    const Threading::ToMainThreadInitialization m_toMainThread;
    std::vector<std::string> m_failures;
    std::optional<Application> m_viewer;
};

} // namespace Ardo::Kiln::Viewer
