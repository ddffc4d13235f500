#pragma once

#include "apps/viewer/Model/DisplayChoice.h"
#include "Ardo/Kiln/Threading/Sender.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace Ardo::Kiln::Viewer
{

/// How an image is displayed, and the diagram of its values.
struct DisplayState
{
    DisplayChoice choice;
    Imaging::DisplaySettings settings;
    Imaging::ValueRange range;         ///< From black to white.
    Imaging::ValueRange axis;          ///< Of the diagram.
    std::vector<std::uint64_t> counts; ///< Of equal parts of the axis; empty without an image.
    double minimum = 0.0;              ///< Of all samples.
    double maximum = 0.0;              ///< Of all samples.
    double mean = 0.0;                 ///< Of all samples.
    bool isColour = false;             ///< The table of colours does not apply.
};

/// Decides from the choices of a person and the values of the image how the image is displayed. Belongs to one thread.
class DisplayPresenter
{
public:
    /// Parts of the axis that are counted.
    static constexpr std::size_t PartCount = 256;

    explicit DisplayPresenter(const DisplayChoice& choice) { m_state.choice = choice; }

    Threading::Sender<DisplayState> states;

    /// There is another image, or its values have changed.
    void ShowValues(Imaging::PixelKind kind, std::shared_ptr<const Imaging::Histogram> histogram);

    /// There is no image.
    void ShowNothing();

    /// A person has chosen.
    void Choose(const DisplayChoice& choice);

    /// The state of the present image.
    const DisplayState& State() const noexcept { return m_state; }

private:
    void ShowHistogram();
    void Decide();

    DisplayState m_state;
    Imaging::PixelKind m_kind = Imaging::PixelKind::UInt8;
    Imaging::ValueRange m_nearlyAll;                       ///< What nearly all values use.
    std::shared_ptr<const Imaging::Histogram> m_histogram; ///< Null without an image.
};

} // namespace Ardo::Kiln::Viewer
