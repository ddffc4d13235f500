#include "apps/viewer/View/RecordPanel.h"

#include "apps/viewer/Model/Texts.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace Ardo::Kiln::Viewer
{

namespace
{

void Add(QTreeWidgetItem* parent, const std::vector<RecordNode>& nodes)
{
    for (const RecordNode& node : nodes)
    {
        auto* const item = new QTreeWidgetItem(parent, {node.name, node.value});
        item->setToolTip(1, node.value.toHtmlEscaped());
        Add(item, node.children);
    }
}

/// Shows the items that contain \p text, with those around and below them.
/// \returns whether there is one.
bool FilterItem(QTreeWidgetItem* item, const QString& text, bool isBelowFound)
{
    const bool isFound = isBelowFound || item->text(0).contains(text, Qt::CaseInsensitive) ||
                         item->text(1).contains(text, Qt::CaseInsensitive);
    bool isShown = isFound;
    for (int i = 0; i < item->childCount(); ++i)
    {
        isShown = FilterItem(item->child(i), text, isFound) || isShown;
    }
    item->setHidden(!isShown);
    return isShown;
}

} // namespace

RecordPanel::RecordPanel(QWidget* parent)
    : QWidget(parent),
      m_search(new QLineEdit),
      m_problem(new QLabel),
      m_tree(new QTreeWidget),
      m_raw(new QPushButton(Texts::tr("Show &XML...")))
{
    m_search->setPlaceholderText(Texts::tr("Search"));
    m_search->setClearButtonEnabled(true);
    m_search->setAccessibleName(Texts::tr("Search in the record"));
    m_search->setToolTip(Texts::tr("Shows the fields whose name or value contains this text"));
    m_problem->setWordWrap(true);
    m_problem->setTextFormat(Qt::PlainText);
    m_problem->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_tree->setHeaderLabels({Texts::tr("Field"), Texts::tr("Value")});
    m_tree->setAccessibleName(Texts::tr("Record"));
    m_tree->setAlternatingRowColors(true);
    m_tree->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_tree->setContextMenuPolicy(Qt::ActionsContextMenu);
    m_tree->setUniformRowHeights(true);
    m_tree->header()->resizeSection(0, 16 * m_tree->fontMetrics().averageCharWidth() + 60);
    auto* const copy = new QAction(Texts::tr("&Copy"), m_tree);
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    m_tree->addAction(copy);
    m_raw->setToolTip(Texts::tr("Shows the document as it stands in the file"));

    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(m_search);
    layout->addWidget(m_problem);
    layout->addWidget(m_tree, 1);
    layout->addWidget(m_raw);
    connect(copy, &QAction::triggered, this, [this] { Copy(); });
    connect(m_search, &QLineEdit::textChanged, this, [this] { Filter(); });
    connect(m_raw, &QPushButton::clicked, this, [this] { rawTextRequested.Emit(); });
    Show({}, {}, false);
}

void RecordPanel::Show(const std::vector<RecordNode>& nodes, const QString& problem, bool hasRawText)
{
    m_tree->clear();
    Add(m_tree->invisibleRootItem(), nodes);
    m_tree->expandToDepth(0);
    m_problem->setText(problem);
    m_problem->setVisible(!problem.isEmpty());
    m_raw->setEnabled(hasRawText);
    Filter();
}

void RecordPanel::Filter()
{
    for (int i = 0; i < m_tree->topLevelItemCount(); ++i)
    {
        FilterItem(m_tree->topLevelItem(i), m_search->text(), false);
    }
    if (!m_search->text().isEmpty())
    {
        m_tree->expandAll();
    }
}

void RecordPanel::Copy() const
{
    QStringList lines;
    for (const QTreeWidgetItem* const item : m_tree->selectedItems())
    {
        lines += item->text(1).isEmpty() ? item->text(0) : item->text(0) + QStringLiteral(": ") + item->text(1);
    }
    QApplication::clipboard()->setText(lines.join(QLatin1Char('\n')));
}

} // namespace Ardo::Kiln::Viewer
