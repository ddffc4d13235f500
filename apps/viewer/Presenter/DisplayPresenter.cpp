#include "apps/viewer/Presenter/DisplayPresenter.h"

#include "Ardo/Kiln/Profiling/Stage.h"

#include <algorithm>
#include <utility>

namespace Ardo::Kiln::Viewer
{

void DisplayPresenter::ShowValues(Imaging::PixelKind kind, std::shared_ptr<const Imaging::Histogram> histogram)
{
    // A range that was set by hand belongs to the values of one kind.
    if (m_histogram != nullptr && kind != m_kind && m_choice.mode == RangeMode::Manual)
    {
        m_choice.mode = RangeMode::Automatic;
    }
    m_kind = kind;
    m_histogram = std::move(histogram);
    states.Send(State());
}

void DisplayPresenter::ShowNothing()
{
    m_histogram.reset();
    states.Send(State());
}

void DisplayPresenter::Choose(const DisplayChoice& choice)
{
    m_choice = choice;
    m_choice.lowPercent = std::clamp(choice.lowPercent, 0.0, 100.0);
    m_choice.highPercent = std::clamp(choice.highPercent, m_choice.lowPercent, 100.0);
    m_choice.gamma = std::clamp(choice.gamma, 0.1, 10.0);
    states.Send(State());
}

DisplayState DisplayPresenter::State() const
{
    const Profiling::Stage stage("decide about display");
    DisplayState state;
    state.choice = m_choice;
    state.isColour = IsColour(m_kind);
    if (m_histogram != nullptr)
    {
        state.range = RangeOf(m_choice, m_kind, *m_histogram);
        state.axis = AxisOf(m_kind, *m_histogram, state.range);
        state.counts = m_histogram->Counts(PartCount, state.axis);
        state.minimum = m_histogram->Minimum();
        state.maximum = m_histogram->Maximum();
        state.mean = m_histogram->Mean();
    }
    state.settings = SettingsOf(m_choice, state.range);
    return state;
}

} // namespace Ardo::Kiln::Viewer
