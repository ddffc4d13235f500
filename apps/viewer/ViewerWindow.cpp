#include "apps/viewer/ViewerWindow.h"

#include "apps/viewer/LoadedImage.h"

#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/Kiln/Exception/ErrorDialog.h"
#include "Ardo/Kiln/Exception/ErrorInfo.h"
#include "Ardo/Kiln/Exception/Notification.h"
#include "Ardo/Kiln/Exception/NotifyException.h"
#include "Ardo/Kiln/Exception/Warning.h"
#include "Ardo/Kiln/Threading/ToMainThread.h"

#include <QFileDialog>
#include <QLabel>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QScrollArea>
#include <QStatusBar>
#include <QVBoxLayout>

#include <utility>

namespace Ardo::Kiln::Viewer
{

namespace
{

void ShowAnError()
{
    const auto notification = std::make_shared<Exception::Notification>();
    notification->exception = std::make_exception_ptr(Exception::Error("This is what an error looks like.")
                                                      << Exception::CategoryInfo("Example"));
    Exception::NotifyException(notification);
}

} // namespace

ViewerWindow::ViewerWindow(std::function<void(const std::string&)> failed)
    : m_failed(std::move(failed)),
      m_picture(new QLabel),
      m_facts(new QPlainTextEdit),
      m_loader(Exception::ErrorDialog::ShowWarningDialog, "Viewer files")
{
    QMenu* const file = menuBar()->addMenu(QStringLiteral("&File"));
    file->addAction(
        QStringLiteral("&Open..."), this, [this] { AskForFile(); }, QKeySequence::Open);
    file->addAction(QStringLiteral("Show an &Error"), this, [] { ShowAnError(); });
    file->addAction(
        QStringLiteral("&Quit"), this, [this] { close(); }, QKeySequence::Quit);

    auto* const scrolled = new QScrollArea;
    scrolled->setWidget(m_picture);
    scrolled->setAlignment(Qt::AlignCenter);
    // The comment comes from a file, so it is shown as plain text that wraps also within words, and scrolls instead of
    // growing.
    constexpr int LinesShown = 8;
    m_facts->setReadOnly(true);
    m_facts->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    m_facts->setFixedHeight(LinesShown * m_facts->fontMetrics().lineSpacing());
    auto* const content = new QWidget;
    auto* const layout = new QVBoxLayout(content);
    layout->addWidget(scrolled, 1);
    layout->addWidget(m_facts);
    setCentralWidget(content);
    resize(640, 640);
    statusBar()->showMessage(QStringLiteral("File, Open shows an image."));
}

void ViewerWindow::Open(const QString& path)
{
    statusBar()->showMessage(QStringLiteral("Reading %1 ...").arg(path));
    // The pointer is made here, because on the other thread the window might be destroyed meanwhile.
    m_loader.Post(
        [this, path, window = Threading::GuardedQObjectPointer(this)]
        {
            try
            {
                Threading::ToMainThread(window, [this, image = LoadImageFile(path)] { Show(image); });
            }
            catch (const std::exception& exception)
            {
                Threading::ToMainThread(window,
                                        [this, text = std::string(exception.what())]
                                        {
                                            statusBar()->clearMessage();
                                            m_failed(text);
                                        });
            }
        });
}

void ViewerWindow::AskForFile()
{
    const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("Open an image"));
    if (!path.isEmpty())
    {
        Open(path);
    }
}

void ViewerWindow::Show(const LoadedImage& image)
{
    m_picture->setPixmap(QPixmap::fromImage(image.picture));
    m_picture->adjustSize();
    m_facts->setPlainText(image.facts.trimmed());
    statusBar()->clearMessage();
}

} // namespace Ardo::Kiln::Viewer
