#include "apps/viewer/View/MessageBar.h"

#include "apps/viewer/Model/Texts.h"
#include "apps/viewer/View/Icons.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QToolButton>

#include <utility>

namespace Ardo::Kiln::Viewer
{

MessageBar::MessageBar(QWidget* parent) : QFrame(parent), m_text(new QLabel), m_action(new QPushButton)
{
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::ToolTipBase);
    m_text->setForegroundRole(QPalette::ToolTipText);
    m_text->setWordWrap(true);
    m_text->setTextFormat(Qt::PlainText);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    auto* const icon = new QLabel;
    icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(20, 20));
    auto* const close = new QToolButton;
    close->setAutoRaise(true);
    close->setIcon(MakeIcon(Symbol::Close, QPalette::ToolTipText));
    close->setAccessibleName(Texts::tr("Close the message"));
    close->setToolTip(Texts::tr("Close the message"));
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(8, 4, 8, 4);
    layout->addWidget(icon);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_action);
    layout->addWidget(close);
    connect(close, &QToolButton::clicked, this, [this] { Show({}); });
    connect(m_action, &QPushButton::clicked, this,
            [this]
            {
                const auto pressed = std::exchange(m_pressed, {}); // the bar may be shown anew meanwhile
                Show({});
                if (pressed)
                {
                    pressed();
                }
            });
    hide();
}

void MessageBar::Show(const QString& text, const QString& action, std::function<void()> pressed)
{
    m_text->setText(text);
    setAccessibleName(text);
    m_action->setText(action);
    m_action->setVisible(!action.isEmpty());
    m_pressed = std::move(pressed);
    setVisible(!text.isEmpty());
}

QString MessageBar::Text() const
{
    return m_text->text();
}

} // namespace Ardo::Kiln::Viewer
