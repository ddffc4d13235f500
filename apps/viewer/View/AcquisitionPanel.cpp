#include "apps/viewer/View/AcquisitionPanel.h"

#include "apps/viewer/Model/Texts.h"
#include "apps/viewer/View/Icons.h"
#include "Ardo/Kiln/Formatting/MicroscopeQuantities.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace Ardo::Kiln::Viewer
{

namespace
{

constexpr double Microsecond = 1e-6;

} // namespace

AcquisitionPanel::AcquisitionPanel(QWidget* parent)
    : QWidget(parent),
      m_side(new QComboBox),
      m_dwellTime(new QDoubleSpinBox),
      m_isContinuous(new QCheckBox(Texts::tr("&Continuously, until stopped"))),
      m_savesEach(new QCheckBox(Texts::tr("Sa&ve when it ends"))),
      m_times(new QLabel),
      m_course(new QLabel),
      m_start(new QPushButton(MakeIcon(Symbol::Start), Texts::tr("&Acquire"))),
      m_stop(new QPushButton(MakeIcon(Symbol::Stop), Texts::tr("S&top")))
{
    for (const int side : {256, 512, 1024, 2048, 4096})
    {
        m_side->addItem(QStringLiteral("%1 x %1").arg(side), side);
    }
    m_side->setAccessibleName(Texts::tr("Size of the scan"));
    m_side->setToolTip(Texts::tr("Pixels of a line, and lines of the image"));
    m_dwellTime->setRange(0.01, 1000.0);
    m_dwellTime->setDecimals(2);
    m_dwellTime->setSuffix(QStringLiteral(" µs"));
    m_dwellTime->setStepType(QAbstractSpinBox::AdaptiveDecimalStepType);
    m_dwellTime->setAccessibleName(Texts::tr("Dwell time"));
    m_dwellTime->setToolTip(Texts::tr("How long the beam stays on each pixel. More time gives less noise."));
    m_savesEach->setToolTip(Texts::tr("Writes the image and its record by the settings of File, File Names"));
    m_start->setToolTip(Texts::tr("Begins a scan of the simulated detector (F9)"));
    m_stop->setToolTip(Texts::tr("Ends the scan at the present line (F10)"));
    m_course->setAccessibleName(Texts::tr("Course of the scan"));

    auto* const form = new QFormLayout;
    form->addRow(Texts::tr("Si&ze"), m_side);
    form->addRow(Texts::tr("&Dwell time"), m_dwellTime);
    form->addRow(Texts::tr("Frame time"), m_times);
    form->addRow(QString(), m_isContinuous);
    form->addRow(QString(), m_savesEach);
    auto* const buttons = new QHBoxLayout;
    buttons->addWidget(m_start);
    buttons->addWidget(m_stop);
    auto* const layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addLayout(buttons);
    layout->addWidget(m_course);
    layout->addStretch(1);
    connect(m_start, &QPushButton::clicked, this, [this] { startPressed.Emit(); });
    connect(m_stop, &QPushButton::clicked, this, [this] { stopPressed.Emit(); });
    connect(m_side, qOverload<int>(&QComboBox::currentIndexChanged), this, [this] { ShowTimes(); });
    connect(m_dwellTime, qOverload<double>(&QDoubleSpinBox::valueChanged), this, [this] { ShowTimes(); });
    Show({});
}

ScanSettings AcquisitionPanel::Settings() const
{
    return {static_cast<std::uint32_t>(m_side->currentData().toInt()), m_dwellTime->value() * Microsecond,
            m_isContinuous->isChecked()};
}

void AcquisitionPanel::Show(const ScanSettings& settings)
{
    m_side->setCurrentIndex(std::max(0, m_side->findData(static_cast<int>(settings.side))));
    m_dwellTime->setValue(settings.dwellTime / Microsecond);
    m_isContinuous->setChecked(settings.isContinuous);
    ShowTimes();
}

void AcquisitionPanel::ShowOffers(const Offers& offers)
{
    const bool canStart = offers.IsEnabled(Command::Acquire);
    m_start->setEnabled(canStart);
    m_stop->setEnabled(offers.IsEnabled(Command::Stop));
    m_side->setEnabled(canStart);
    m_dwellTime->setEnabled(canStart);
    m_isContinuous->setEnabled(canStart);
}

void AcquisitionPanel::ShowCourse(const QString& text)
{
    m_course->setText(text);
}

bool AcquisitionPanel::SavesEach() const
{
    return m_savesEach->isChecked();
}

void AcquisitionPanel::SetSavesEach(bool saves)
{
    m_savesEach->setChecked(saves);
}

void AcquisitionPanel::ShowTimes()
{
    const ScanSettings settings = Settings();
    m_times->setText(QString::fromStdWString(
        Formatting::FormatQuantity(settings.LineTime() * settings.side, Formatting::Quantity::FrameTime)));
}

} // namespace Ardo::Kiln::Viewer
