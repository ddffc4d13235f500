#include "apps/viewer/View/DisplayPanel.h"

#include "apps/viewer/Model/Texts.h"
#include "apps/viewer/View/HistogramView.h"
#include "Ardo/Imaging/ColourTable.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QImage>
#include <QLabel>
#include <QPixmap>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Ardo::Kiln::Viewer
{

namespace
{

/// A strip with the colours of a table.
QIcon IconOf(const Imaging::ColourTable& table)
{
    QImage image(64, 16, QImage::Format_RGB32);
    for (int x = 0; x < image.width(); ++x)
    {
        const auto& colour = table[static_cast<std::size_t>(x * 255 / (image.width() - 1))];
        for (int y = 0; y < image.height(); ++y)
        {
            image.setPixel(x, y, qRgb(colour.red, colour.green, colour.blue));
        }
    }
    return QPixmap::fromImage(image);
}

QComboBox* MakeColours()
{
    auto* const box = new QComboBox;
    box->setIconSize({64, 16});
    for (const std::string_view name : Imaging::ColourTable::Names())
    {
        box->addItem(IconOf(Imaging::ColourTable::Named(name)), QString::fromUtf8(name.data(), int(name.size())));
    }
    box->setAccessibleName(Texts::tr("Colours"));
    box->setToolTip(Texts::tr("The colours from black to white"));
    return box;
}

QWidget* SideBySide(QWidget* first, QWidget* second)
{
    auto* const both = new QWidget;
    auto* const layout = new QHBoxLayout(both);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(first, 1);
    layout->addWidget(second, 1);
    return both;
}

} // namespace

DisplayPanel::DisplayPanel(QWidget* parent)
    : QWidget(parent),
      m_histogram(new HistogramView),
      m_mode(new QComboBox),
      m_colours(MakeColours()),
      m_marks(new QCheckBox(Texts::tr("&Mark values outside"))),
      m_facts(new QLabel)
{
    m_mode->addItem(Texts::tr("Automatic"), static_cast<int>(RangeMode::Automatic));
    m_mode->addItem(Texts::tr("All values"), static_cast<int>(RangeMode::Whole));
    m_mode->addItem(Texts::tr("By hand"), static_cast<int>(RangeMode::Manual));
    m_mode->setAccessibleName(Texts::tr("Range"));
    m_mode->setToolTip(Texts::tr("Which values are shown from black to white"));
    m_marks->setToolTip(Texts::tr("Values below black are shown in blue, values above white in red"));
    constexpr double Widest = 1e30;
    m_lowPercent = AddNumber(Texts::tr("Percent below black"),
                             Texts::tr("So many percent of the values may be darker than black"), 0, 100);
    m_highPercent = AddNumber(Texts::tr("Percent up to white"),
                              Texts::tr("So many percent of the values may not be brighter than white"), 0, 100);
    m_black = AddNumber(Texts::tr("Black"), Texts::tr("This value is shown black"), -Widest, Widest);
    m_white = AddNumber(Texts::tr("White"), Texts::tr("This value is shown white"), -Widest, Widest);
    m_gamma = AddNumber(Texts::tr("Gamma"), Texts::tr("More makes the middle brighter"), 0.1, 10);
    m_gamma->setSingleStep(0.1);
    for (QDoubleSpinBox* const percent : {m_lowPercent, m_highPercent})
    {
        percent->setSuffix(QStringLiteral(" %"));
        percent->setSingleStep(0.1);
    }
    m_facts->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_facts->setWordWrap(true);

    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(m_histogram, 1);
    auto* const form = new QFormLayout;
    form->addRow(Texts::tr("&Range"), m_mode);
    form->addRow(Texts::tr("&Percentiles"), SideBySide(m_lowPercent, m_highPercent));
    form->addRow(Texts::tr("&Black, white"), SideBySide(m_black, m_white));
    form->addRow(Texts::tr("&Gamma"), m_gamma);
    form->addRow(Texts::tr("&Colours"), m_colours);
    form->addRow(QString(), m_marks);
    layout->addLayout(form);
    layout->addWidget(m_facts);

    connect(m_mode, qOverload<int>(&QComboBox::currentIndexChanged), this, [this] { Changed(); });
    connect(m_colours, qOverload<int>(&QComboBox::currentIndexChanged), this, [this] { Changed(); });
    connect(m_marks, &QCheckBox::toggled, this, [this] { Changed(); });
    for (QDoubleSpinBox* const box : {m_black, m_white})
    {
        connect(box, qOverload<double>(&QDoubleSpinBox::valueChanged), this,
                [this]
                {
                    if (!m_isShowing)
                    {
                        RangeChanged({m_black->value(), m_white->value()});
                    }
                });
    }
    for (QDoubleSpinBox* const box : {m_lowPercent, m_highPercent, m_gamma})
    {
        connect(box, qOverload<double>(&QDoubleSpinBox::valueChanged), this, [this] { Changed(); });
    }
    m_dragged = m_histogram->rangeDragged.Connect(Threading::DeliverOn::Caller(),
                                                  [this](Imaging::ValueRange range) { RangeChanged(range); });
}

QDoubleSpinBox* DisplayPanel::AddNumber(const QString& name, const QString& tip, double minimum, double maximum)
{
    auto* const box = new QDoubleSpinBox;
    box->setRange(minimum, maximum);
    box->setKeyboardTracking(false); // a number counts when it is complete
    // The widest number of the range decides about the usual width, which would be half of the window.
    box->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    box->setMinimumWidth(box->fontMetrics().horizontalAdvance(QStringLiteral("65535.00")) + 30);
    box->setAccessibleName(name);
    box->setToolTip(tip);
    return box;
}

void DisplayPanel::Show(const DisplayState& state)
{
    m_isShowing = true;
    m_choice = state.choice;
    m_histogram->Show(state.counts, state.axis, state.range);
    m_mode->setCurrentIndex(m_mode->findData(static_cast<int>(state.choice.mode)));
    m_lowPercent->setValue(state.choice.lowPercent);
    m_highPercent->setValue(state.choice.highPercent);
    const bool isPercentile = state.choice.mode == RangeMode::Automatic && !state.isColour;
    m_lowPercent->setEnabled(isPercentile);
    m_highPercent->setEnabled(isPercentile);
    const double span = state.axis.high - state.axis.low;
    const int decimals = span >= 200 ? 0 : std::clamp(static_cast<int>(3 - std::floor(std::log10(span))), 0, 12);
    for (const auto& [box, value] : {std::pair(m_black, state.range.low), std::pair(m_white, state.range.high)})
    {
        box->setDecimals(decimals);
        box->setSingleStep(span / 100);
        box->setValue(value);
        box->setEnabled(!state.counts.empty());
    }
    m_gamma->setValue(state.choice.gamma);
    m_colours->setCurrentIndex(m_colours->findText(QString::fromStdString(state.choice.colours)));
    m_colours->setEnabled(!state.isColour);
    m_marks->setChecked(state.choice.marksClipping);
    m_facts->setText(state.counts.empty() ? QString()
                                          : Texts::tr("Values %1 to %2, mean %3")
                                                .arg(state.minimum, 0, 'g', 6)
                                                .arg(state.maximum, 0, 'g', 6)
                                                .arg(state.mean, 0, 'g', 6));
    m_isShowing = false;
}

void DisplayPanel::Changed()
{
    if (m_isShowing)
    {
        return;
    }
    m_choice.mode = static_cast<RangeMode>(m_mode->currentData().toInt());
    if (m_choice.mode == RangeMode::Manual)
    {
        m_choice.manual = {m_black->value(), m_white->value()};
    }
    m_choice.lowPercent = m_lowPercent->value();
    m_choice.highPercent = m_highPercent->value();
    m_choice.gamma = m_gamma->value();
    m_choice.colours = m_colours->currentText().toStdString();
    m_choice.marksClipping = m_marks->isChecked();
    chosen.Emit(m_choice);
}

void DisplayPanel::RangeChanged(Imaging::ValueRange range)
{
    m_choice.mode = RangeMode::Manual;
    m_choice.manual = range;
    chosen.Emit(m_choice);
}

} // namespace Ardo::Kiln::Viewer
