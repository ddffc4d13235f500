#pragma once

#include "apps/viewer/Application.h"

#include <memory>

namespace Ardo::Kiln::Viewer
{

/// The image of a scan that runs, as far as it was delivered. Belongs to the main thread.
struct Application::Live
{
    /// \param lines the first ones of the scan; they are not added.
    explicit Live(const ScanLines& lines);

    /// Takes up lines of the detector.
    void Add(const ScanLines& lines);

    std::shared_ptr<ImagePyramid> pyramid;
    Calibration calibration;
    std::shared_ptr<Imaging::Histogram> before;  ///< Of the complete frame before the present one; null in the first.
    std::shared_ptr<Imaging::Histogram> present; ///< Of the lines of the present frame; null before the first line.
};

} // namespace Ardo::Kiln::Viewer
