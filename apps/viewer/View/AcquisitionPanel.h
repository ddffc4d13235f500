#pragma once

#include "apps/viewer/Model/ScanSimulation.h"
#include "apps/viewer/Presenter/Commands.h"
#include "Ardo/Kiln/Threading/ViewSignal.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QPushButton;

namespace Ardo::Kiln::Viewer
{

/// What a person sets of a scan, and its course.
class AcquisitionPanel : public QWidget
{
public:
    explicit AcquisitionPanel(QWidget* parent = nullptr);

    Threading::ViewSignal<> startPressed;
    Threading::ViewSignal<> stopPressed;

    ScanSettings Settings() const;
    void Show(const ScanSettings& settings);
    void ShowOffers(const Offers& offers);

    /// \param text "Frame 3, line 120"; empty if nothing is scanned.
    void ShowCourse(const QString& text);

    /// Whether each acquisition is saved when it ends.
    bool SavesEach() const;
    void SetSavesEach(bool saves);

private:
    void ShowTimes();

    QComboBox* m_side;
    QDoubleSpinBox* m_dwellTime; ///< In µs.
    QCheckBox* m_isContinuous;
    QCheckBox* m_savesEach;
    QLabel* m_times;
    QLabel* m_course;
    QPushButton* m_start;
    QPushButton* m_stop;
};

} // namespace Ardo::Kiln::Viewer
