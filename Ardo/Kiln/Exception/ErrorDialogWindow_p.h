#pragma once

#include "Ardo/Kiln/Exception/ErrorDialogContent_p.h"

#include <QDialog>

class QPlainTextEdit;
class QPushButton;
class QTextEdit;

namespace Ardo::Kiln::Exception
{

/// The window that shows a warning or an error. Its result() after finished() is a Decision.
///
/// By keyboard: Return presses the button that is marked, Alt and the underlined letter any of them, Tab goes from one
/// to the next, Escape closes the window.
class ErrorDialogWindow : public QDialog
{
public:
    /// The user's decision. The window's close button and Escape decide nothing.
    enum Decision
    {
        Undecided = QDialog::Rejected,
        Write = QDialog::Accepted,
        DoNotWrite
    };

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

} // namespace Ardo::Kiln::Exception
