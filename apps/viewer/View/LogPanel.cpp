#include "apps/viewer/View/LogPanel.h"

#include "apps/viewer/Model/Texts.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace Ardo::Kiln::Viewer
{

namespace
{

constexpr int SeverityRole = Qt::UserRole;

QString NameOf(Logger::SeverityLevel severity)
{
    switch (severity)
    {
    case Logger::trace:
        return Texts::tr("Trace");
    case Logger::debug:
        return Texts::tr("Debug");
    case Logger::info:
        return Texts::tr("Information");
    case Logger::warning:
        return Texts::tr("Warning");
    case Logger::error:
        return Texts::tr("Error");
    default:
        return Texts::tr("Fatal");
    }
}

} // namespace

LogPanel::LogPanel(QWidget* parent) : QWidget(parent), m_severity(new QComboBox), m_lines(new QTreeWidget)
{
    for (const auto severity : {Logger::trace, Logger::debug, Logger::info, Logger::warning, Logger::error})
    {
        m_severity->addItem(NameOf(severity), static_cast<int>(severity));
    }
    m_severity->setCurrentIndex(m_severity->findData(static_cast<int>(Logger::info)));
    m_severity->setAccessibleName(Texts::tr("Lowest severity"));
    m_severity->setToolTip(Texts::tr("Records from this severity on are shown"));
    m_lines->setHeaderLabels({Texts::tr("Time"), Texts::tr("Severity"), Texts::tr("Component"), Texts::tr("Text")});
    m_lines->setAccessibleName(Texts::tr("Log"));
    m_lines->setRootIsDecorated(false);
    m_lines->setUniformRowHeights(true);
    m_lines->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_lines->setContextMenuPolicy(Qt::ActionsContextMenu);
    auto* const copy = new QAction(Texts::tr("&Copy"), m_lines);
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    m_lines->addAction(copy);
    auto* const clear = new QPushButton(Texts::tr("C&lear"));
    clear->setToolTip(Texts::tr("Empties this list. The log files stay."));

    auto* const label = new QLabel(Texts::tr("&Show from"));
    label->setBuddy(m_severity);
    auto* const row = new QHBoxLayout;
    row->addWidget(label);
    row->addWidget(m_severity);
    row->addStretch(1);
    row->addWidget(clear);
    auto* const layout = new QVBoxLayout(this);
    layout->addLayout(row);
    layout->addWidget(m_lines, 1);
    connect(copy, &QAction::triggered, this, [this] { Copy(); });
    connect(clear, &QPushButton::clicked, m_lines, &QTreeWidget::clear);
    connect(m_severity, qOverload<int>(&QComboBox::currentIndexChanged), this, [this] { Filter(); });
}

void LogPanel::Add(const LogLine& line)
{
    while (m_lines->topLevelItemCount() >= MaxLines)
    {
        delete m_lines->takeTopLevelItem(0);
    }
    const QScrollBar& bar = *m_lines->verticalScrollBar();
    const bool isAtEnd = bar.value() == bar.maximum();
    auto* const item = new QTreeWidgetItem({line.time, NameOf(line.severity), line.originator, line.text});
    item->setData(0, SeverityRole, static_cast<int>(line.severity));
    item->setToolTip(3, line.text.toHtmlEscaped());
    m_lines->addTopLevelItem(item);
    item->setHidden(IsHidden(*item));
    if (isAtEnd)
    {
        m_lines->scrollToBottom();
    }
}

int LogPanel::VisibleCount() const
{
    int count = 0;
    for (int i = 0; i < m_lines->topLevelItemCount(); ++i)
    {
        count += m_lines->topLevelItem(i)->isHidden() ? 0 : 1;
    }
    return count;
}

bool LogPanel::IsHidden(const QTreeWidgetItem& item) const
{
    return item.data(0, SeverityRole).toInt() < m_severity->currentData().toInt();
}

void LogPanel::Filter()
{
    for (int i = 0; i < m_lines->topLevelItemCount(); ++i)
    {
        QTreeWidgetItem* const item = m_lines->topLevelItem(i);
        item->setHidden(IsHidden(*item));
    }
}

void LogPanel::Copy() const
{
    QStringList lines;
    for (const QTreeWidgetItem* const item : m_lines->selectedItems())
    {
        lines += QStringList{item->text(0), item->text(1), item->text(2), item->text(3)}.join(QLatin1Char('\t'));
    }
    QApplication::clipboard()->setText(lines.join(QLatin1Char('\n')));
}

} // namespace Ardo::Kiln::Viewer
