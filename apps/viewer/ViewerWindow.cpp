#include "apps/viewer/ViewerWindow.h"

#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/Kiln/Exception/ErrorDialog.h"
#include "Ardo/Kiln/Exception/ErrorInfo.h"
#include "Ardo/Kiln/Exception/Notification.h"
#include "Ardo/Kiln/Exception/NotifyException.h"
#include "Ardo/Kiln/Exception/Warning.h"
#include "Ardo/Kiln/Threading/ViewCapabilities.h"

#include <QAction>
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

using Threading::DeliverOn;
using Threading::Delivery;
using Threading::Offer;

enum class Command
{
    Reload
};

const Threading::ViewRules<FileAbility, Command>& Rules()
{
    static const Threading::ViewRules<FileAbility, Command> g_rules = {
        {Command::Reload, {FileAbility::Reread}, "No image was read"}};
    return g_rules;
}

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
      m_worker("Viewer files", Exception::ErrorDialog::ShowWarningDialog)
{
    QMenu* const file = menuBar()->addMenu(QStringLiteral("&File"));
    file->addAction(
        QStringLiteral("&Open..."), this, [this] { AskForFile(); }, QKeySequence::Open);
    m_reload = file->addAction(
        QStringLiteral("&Reload"), this, [this] { Open(m_path); }, QKeySequence::Refresh);
    m_reload->setEnabled(false);
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
    ConnectModel();
}

void ViewerWindow::ConnectModel()
{
    m_reading = m_fileChosen.Connect(
        DeliverOn::Worker(m_worker), [this](const QString& path) { m_model.Read(path); }, Delivery::Latest());
    m_model.progress = m_transmitter.Open<QString>([this](const QString& text) { statusBar()->showMessage(text); });
    m_model.outcomes = m_transmitter.Open<FileOutcome>([this](const FileOutcome& outcome) { Show(outcome); });
    m_model.abilities = m_transmitter.Open<FileAbilities>(
        [this](const FileAbilities& abilities)
        {
            const auto reload = Rules().Apply(abilities).Of(Command::Reload);
            m_reload->setEnabled(reload.offer == Offer::Enabled);
            m_reload->setStatusTip(QString::fromStdString(reload.reason));
        },
        Delivery::Changes());
}

void ViewerWindow::Open(const QString& path)
{
    m_path = path;
    m_fileChosen.Emit(path);
}

void ViewerWindow::AskForFile()
{
    const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("Open an image"));
    if (!path.isEmpty())
    {
        Open(path);
    }
}

void ViewerWindow::Show(const FileOutcome& outcome)
{
    statusBar()->clearMessage();
    if (!outcome.image)
    {
        m_failed(outcome.error);
        return;
    }
    m_picture->setPixmap(QPixmap::fromImage(outcome.image->picture));
    m_picture->adjustSize();
    m_facts->setPlainText(outcome.image->facts.trimmed());
}

} // namespace Ardo::Kiln::Viewer
