#pragma once

#include <QFrame>

#include <functional>

class QLabel;
class QPushButton;

namespace Ardo::Kiln::Viewer
{

/// A line above the image that says what is unusual about it. Goes when a person closes it.
class MessageBar : public QFrame
{
public:
    explicit MessageBar(QWidget* parent = nullptr);

    /// \param text empty: the bar goes.
    /// \param action  the text of a button; empty for none.
    /// \param pressed what the button does.
    void Show(const QString& text, const QString& action = {}, std::function<void()> pressed = {});

    QString Text() const;

private:
    QLabel* m_text;
    QPushButton* m_action;
    std::function<void()> m_pressed;
};

} // namespace Ardo::Kiln::Viewer
