#pragma once

#include "apps/viewer/Model/LogFeed.h"

#include <QWidget>

class QComboBox;
class QTreeWidget;
class QTreeWidgetItem;

namespace Ardo::Kiln::Viewer
{

/// The latest records of the log, from a chosen severity on.
class LogPanel : public QWidget
{
public:
    /// The number of records that are kept.
    static constexpr int MaxLines = 2000;

    explicit LogPanel(QWidget* parent = nullptr);

    void Add(const LogLine& line);

    /// The number of records that are shown with the present filter.
    int VisibleCount() const;

private:
    void Filter();
    bool IsHidden(const QTreeWidgetItem& item) const;
    void Copy() const;

    QComboBox* m_severity;
    QTreeWidget* m_lines;
};

} // namespace Ardo::Kiln::Viewer
