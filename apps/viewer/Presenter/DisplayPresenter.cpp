#include "apps/viewer/Presenter/DisplayPresenter.h"

#include "Ardo/Kiln/Profiling/Stage.h"

#include <algorithm>
#include <utility>

namespace Ardo::Kiln::Viewer
{

void DisplayPresenter::ShowValues(Imaging::PixelKind kind, std::shared_ptr<const Imaging::Histogram> histogram)
{
    // A range that was set by hand belongs to the values of one kind.
    if (m_histogram != nullptr && kind != m_kind && m_state.choice.mode == RangeMode::Manual)
    {
        m_state.choice.mode = RangeMode::Automatic;
    }
    m_kind = kind;
    m_histogram = std::move(histogram);
    ShowHistogram();
}

void DisplayPresenter::ShowNothing()
{
    m_histogram.reset();
    ShowHistogram();
}

void DisplayPresenter::Choose(const DisplayChoice& choice)
{
    m_state.choice = choice;
    m_state.choice.lowPercent = std::clamp(choice.lowPercent, 0.0, 100.0);
    m_state.choice.highPercent = std::clamp(choice.highPercent, m_state.choice.lowPercent, 100.0);
    m_state.choice.gamma = std::clamp(choice.gamma, 0.1, 10.0);
    Decide();
}

void DisplayPresenter::ShowHistogram()
{
    DisplayState state;
    state.choice = m_state.choice;
    state.isColour = IsColour(m_kind);
    if (m_histogram != nullptr)
    {
        m_nearlyAll = NearlyAllOf(m_kind, *m_histogram);
        state.minimum = m_histogram->Minimum();
        state.maximum = m_histogram->Maximum();
        state.mean = m_histogram->Mean();
    }
    m_state = std::move(state);
    Decide();
}

/// A range that is dragged costs no look at the histogram, which has a million counters for floats.
void DisplayPresenter::Decide()
{
    const Profiling::Stage stage("decide about display");
    if (m_histogram != nullptr)
    {
        m_state.range = RangeOf(m_state.choice, m_kind, *m_histogram);
        const Imaging::ValueRange axis = AxisOf(m_nearlyAll, m_state.range);
        if (m_state.counts.empty() || axis != m_state.axis)
        {
            m_state.axis = axis;
            m_state.counts = m_histogram->Counts(PartCount, axis);
        }
    }
    m_state.settings = SettingsOf(m_state.choice, m_state.range);
    states.Send(m_state);
}

} // namespace Ardo::Kiln::Viewer
