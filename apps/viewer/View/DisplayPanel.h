#pragma once

#include "apps/viewer/Presenter/DisplayPresenter.h"
#include "Ardo/Kiln/Threading/ViewSignal.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QLabel;

namespace Ardo::Kiln::Viewer
{

class HistogramView;

/// The histogram and what a person can choose for the display.
class DisplayPanel : public QWidget
{
public:
    explicit DisplayPanel(QWidget* parent = nullptr);

    Threading::ViewSignal<DisplayChoice> chosen; ///< A person has changed something.

    /// Shows the state without a signal.
    void Show(const DisplayState& state);

    const HistogramView& Histogram() const noexcept { return *m_histogram; }

private:
    QDoubleSpinBox* AddNumber(const QString& name, const QString& tip, double minimum, double maximum);
    void Changed();
    void RangeChanged(Imaging::ValueRange range);

    HistogramView* m_histogram;
    QComboBox* m_mode;
    QDoubleSpinBox* m_lowPercent;
    QDoubleSpinBox* m_highPercent;
    QDoubleSpinBox* m_black;
    QDoubleSpinBox* m_white;
    QDoubleSpinBox* m_gamma;
    QComboBox* m_colours;
    QCheckBox* m_marks;
    QLabel* m_facts;
    DisplayChoice m_choice;
    bool m_isShowing = false; ///< Changes come from Show(), not from a person.
    Threading::ScopedConnection m_dragged;
};

} // namespace Ardo::Kiln::Viewer
