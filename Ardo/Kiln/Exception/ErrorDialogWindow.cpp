#include "Ardo/Kiln/Exception/ErrorDialogWindow_p.h"

#include <QApplication>
#include <QClipboard>
#include <QDialog>
#include <QFontDatabase>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QStyle>
#include <QTextDocument>
#include <QTextEdit>

#include <memory>
#include <utility>

namespace Ardo::Kiln::Exception
{

namespace
{

constexpr int MessageColumns = 64;      ///< The message's width in average characters.
constexpr int MessageLines = 12;        ///< Longer messages scroll.
constexpr int MessageCharacters = 4000; ///< The rest of a still longer one stands in the details.
constexpr int Spacing = 6;              ///< Between buttons, in pixels; twice that between the parts.
constexpr int DetailsLines = 14;        ///< The height of the details.

class ErrorDialogWindow : public QDialog
{
public:
    explicit ErrorDialogWindow(const ErrorDialogContent& content);

private:
    QWidget* MakeMessage(const QString& message);
    QLayout* MakeButtons(bool offerMinidump);
    void ShowDetails(bool shown);
    void Copy();

    QString m_text; ///< The text that the copy button copies.
    QTextEdit* m_message = nullptr;
    QPlainTextEdit* m_details = nullptr;
    QPushButton* m_marked = nullptr; ///< The button that Return presses.
    QPushButton* m_other = nullptr;  ///< The other decision; the same where there is one only.
    QPushButton* m_detailsButton = nullptr;
    QPushButton* m_copyButton = nullptr;
};

ErrorDialogWindow::ErrorDialogWindow(const ErrorDialogContent& content)
{
    const QString title = content.isWarning ? QStringLiteral("Warning") : QStringLiteral("Error");
    QString message = QString::fromStdString(content.message);
    QString details = QString::fromStdString(content.details);
    m_text = title + QStringLiteral(": ") + message + QStringLiteral("\n\n") + details;
    if (message.size() > MessageCharacters)
    {
        details.prepend(message + QStringLiteral("\n\n"));
        message = message.left(MessageCharacters) + QStringLiteral(" \u2026");
    }

    setWindowTitle(title);
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    setWindowModality(Qt::ApplicationModal);
    // Closing an error that is shown before the main window must not end the application.
    setAttribute(Qt::WA_QuitOnClose, false);

    auto* const icon = new QLabel;
    const auto standardIcon = content.isWarning ? QStyle::SP_MessageBoxWarning : QStyle::SP_MessageBoxCritical;
    const int iconSize = style()->pixelMetric(QStyle::PM_MessageBoxIconSize);
    icon->setPixmap(style()->standardIcon(standardIcon).pixmap(iconSize, iconSize));

    m_details = new QPlainTextEdit(details);
    m_details->setReadOnly(true);
    m_details->setTabChangesFocus(true);
    m_details->setAccessibleName(QStringLiteral("Details"));
    m_details->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_details->setMinimumHeight(DetailsLines * m_details->fontMetrics().lineSpacing());
    m_details->hide();

    auto* const layout = new QGridLayout(this);
    layout->setHorizontalSpacing(2 * Spacing);
    layout->setVerticalSpacing(2 * Spacing);
    layout->addWidget(icon, 0, 0, Qt::AlignTop);
    layout->addWidget(MakeMessage(message), 0, 1);
    if (content.offerMinidump)
    {
        auto* const question =
            new QLabel(QStringLiteral("Shall a crash report and a minidump be written? They describe the state of the "
                                      "program at this moment and help to find the cause. Without an answer they are "
                                      "written."));
        question->setWordWrap(true);
        layout->addWidget(question, 1, 1);
    }
    layout->addWidget(m_details, 2, 0, 1, 2);
    layout->setRowStretch(2, 1);
    layout->addLayout(MakeButtons(content.offerMinidump), 3, 0, 1, 2);
    m_detailsButton->setVisible(!details.isEmpty());
    setTabOrder(m_marked, m_other);
    setTabOrder(m_other, m_detailsButton);
    setTabOrder(m_detailsButton, m_copyButton);
    setTabOrder(m_copyButton, m_details);
    setTabOrder(m_details, m_message);
    m_marked->setFocus();
}

QWidget* ErrorDialogWindow::MakeMessage(const QString& message)
{
    // A label would neither break a long path nor scroll.
    m_message = new QTextEdit;
    m_message->setPlainText(message);
    m_message->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_message->setTabChangesFocus(true);
    m_message->setAccessibleName(QStringLiteral("Message"));
    m_message->setFrameShape(QFrame::NoFrame);
    m_message->viewport()->setAutoFillBackground(false);
    m_message->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    m_message->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_message->document()->setDocumentMargin(0);

    const int width = MessageColumns * m_message->fontMetrics().averageCharWidth();
    const int longest = MessageLines * m_message->fontMetrics().lineSpacing();
    const int scrollBar = m_message->verticalScrollBar()->sizeHint().width();
    const std::unique_ptr<QTextDocument> measured(m_message->document()->clone());
    measured->setTextWidth(width);
    const int height = qRound(measured->size().height() + 1);
    m_message->setMinimumWidth(width + scrollBar);
    m_message->setFixedHeight(qMin(height, longest));
    return m_message;
}

QLayout* ErrorDialogWindow::MakeButtons(bool offerMinidump)
{
    auto* const buttons = new QHBoxLayout;
    buttons->setSpacing(Spacing);
    const auto add = [&](const QString& text)
    {
        auto* const button = new QPushButton(text);
        buttons->addWidget(button);
        return button;
    };
    const auto addDecision = [&](const QString& text, ErrorDialogDecision decision)
    {
        QPushButton* const button = add(text);
        connect(button, &QPushButton::clicked, this, [this, decision] { done(static_cast<int>(decision)); });
        return button;
    };
    m_detailsButton = add(QStringLiteral("Show &Details"));
    m_detailsButton->setCheckable(true);
    connect(m_detailsButton, &QPushButton::toggled, this, [this](bool shown) { ShowDetails(shown); });
    m_copyButton = add(QStringLiteral("&Copy"));
    connect(m_copyButton, &QPushButton::clicked, this, [this] { Copy(); });
    buttons->addStretch();

    if (offerMinidump)
    {
        m_marked = addDecision(QStringLiteral("&Write Reports"), ErrorDialogDecision::Write);
        m_other = addDecision(QStringLiteral("Do &Not Write"), ErrorDialogDecision::DoNotWrite);
    }
    else
    {
        m_marked = m_other = addDecision(QStringLiteral("C&lose"), ErrorDialogDecision::Undecided);
    }
    m_marked->setDefault(true);
    return buttons;
}

void ErrorDialogWindow::ShowDetails(bool shown)
{
    m_detailsButton->setText(shown ? QStringLiteral("Hide &Details") : QStringLiteral("Show &Details"));
    m_details->setVisible(shown);
    // Now, not with the next event; and adjustSize() would keep below two thirds of a small screen.
    layout()->activate();
    resize(width(), qMax(sizeHint().height(), layout()->totalHeightForWidth(width())));
}

void ErrorDialogWindow::Copy()
{
    QApplication::clipboard()->setText(m_text);
    m_copyButton->setText(QStringLiteral("&Copied"));
}

} // namespace

} // namespace Ardo::Kiln::Exception

QObject* KilnShowErrorDialog(const Ardo::Kiln::Exception::ErrorDialogContent& content,
                             std::function<void(Ardo::Kiln::Exception::ErrorDialogDecision)> finished)
{
    using namespace Ardo::Kiln::Exception;

    // The result of the close button and of Escape.
    static_assert(QDialog::Rejected == static_cast<int>(ErrorDialogDecision::Undecided));
    auto window = std::make_unique<ErrorDialogWindow>(content);
    QObject::connect(window.get(), &QDialog::finished, window.get(),
                     [finished = std::move(finished)](int result)
                     { finished(static_cast<ErrorDialogDecision>(result)); });
    window->show();
    window->raise();
    window->activateWindow();
    return window.release();
}
