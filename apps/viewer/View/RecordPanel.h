#pragma once

#include "apps/viewer/Model/RecordTree.h"
#include "Ardo/Kiln/Threading/ViewSignal.h"

#include <QWidget>

#include <vector>

class QLabel;
class QLineEdit;
class QPushButton;
class QTreeWidget;

namespace Ardo::Kiln::Viewer
{

/// The record of an image as a tree that can be searched and copied.
class RecordPanel : public QWidget
{
public:
    explicit RecordPanel(QWidget* parent = nullptr);

    Threading::ViewSignal<> rawTextRequested; ///< The document itself is to be shown.

    /// \param problem why there is no record, or not a whole one; empty if all is well.
    void Show(const std::vector<RecordNode>& nodes, const QString& problem, bool hasRawText);

    const QTreeWidget& Tree() const noexcept { return *m_tree; }

private:
    void Filter();
    void Copy() const;

    QLineEdit* m_search;
    QLabel* m_problem;
    QTreeWidget* m_tree;
    QPushButton* m_raw;
};

} // namespace Ardo::Kiln::Viewer
