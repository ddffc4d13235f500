#include "apps/viewer/View/ProfilePanel.h"

#include "apps/viewer/Model/Texts.h"
#include "apps/viewer/View/PlotView.h"

#include <QDoubleSpinBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace Ardo::Kiln::Viewer
{

ProfilePanel::ProfilePanel(QWidget* parent)
    : QWidget(parent),
      m_length(new QLabel),
      m_export(new QPushButton(Texts::tr("E&xport Profile..."))),
      m_plot(new PlotView)
{
    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(m_plot, 1);
    auto* const row = new QHBoxLayout;
    const std::array names = {Texts::tr("Start x"), Texts::tr("Start y"), Texts::tr("End x"), Texts::tr("End y")};
    const std::array<QString, 4> labels = {Texts::tr("&From"), QString(), Texts::tr("&to"), QString()};
    for (std::size_t i = 0; i < m_ends.size(); ++i)
    {
        m_ends[i] = new QDoubleSpinBox;
        m_ends[i]->setDecimals(1);
        m_ends[i]->setKeyboardTracking(false);
        m_ends[i]->setAccessibleName(names[i]);
        m_ends[i]->setToolTip(Texts::tr("%1, in pixels of the image").arg(names[i]));
        if (!labels[i].isEmpty())
        {
            auto* const label = new QLabel(labels[i]);
            label->setBuddy(m_ends[i]);
            row->addWidget(label);
        }
        row->addWidget(m_ends[i]);
        connect(m_ends[i], qOverload<double>(&QDoubleSpinBox::valueChanged), this,
                [this]
                {
                    if (!m_isShowing)
                    {
                        lineTyped.Emit(
                            QLineF(m_ends[0]->value(), m_ends[1]->value(), m_ends[2]->value(), m_ends[3]->value()));
                    }
                });
    }
    m_length->setAccessibleName(Texts::tr("Length"));
    m_length->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    row->addWidget(m_length, 1);
    m_export->setToolTip(Texts::tr("Writes the values along the line to a text file for spreadsheets"));
    row->addWidget(m_export);
    layout->addLayout(row);
    connect(m_export, &QPushButton::clicked, this, [this] { exportRequested.Emit(); });
    Clear({});
}

void ProfilePanel::Show(const QLineF& line, const QString& length, const ImageIO::Plot& plot)
{
    m_isShowing = true;
    const std::array ends = {line.x1(), line.y1(), line.x2(), line.y2()};
    for (std::size_t i = 0; i < m_ends.size(); ++i)
    {
        m_ends[i]->setValue(ends[i]);
    }
    m_isShowing = false;
    m_length->setText(length);
    m_plot->Show(plot);
    m_export->setEnabled(true);
}

void ProfilePanel::Clear(const QSizeF& image)
{
    m_isShowing = true;
    for (std::size_t i = 0; i < m_ends.size(); ++i)
    {
        m_ends[i]->setRange(0, i % 2 == 0 ? image.width() : image.height());
        m_ends[i]->setValue(0);
        m_ends[i]->setEnabled(!image.isEmpty());
    }
    m_isShowing = false;
    m_length->clear();
    m_plot->Show({});
    m_export->setEnabled(false);
}

const ImageIO::Plot& ProfilePanel::Plot() const
{
    return m_plot->Plot();
}

} // namespace Ardo::Kiln::Viewer
