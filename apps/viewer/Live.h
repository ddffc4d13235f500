#pragma once

#include "apps/viewer/Application.h"
#include "apps/viewer/Model/ImagePyramid.h"

#include <memory>

namespace Ardo::Kiln::Viewer
{

/// The image of a scan that runs, as far as it was delivered. Belongs to the main thread.
struct Application::Live
{
    explicit Live(const ScanSettings& settings)
        : pyramid(std::make_shared<ImagePyramid>(Imaging::size_2d{settings.side, settings.side},
                                                 Imaging::PixelKind::UInt16)),
          histogram(std::make_shared<Imaging::Histogram>(Imaging::PixelKind::UInt16))
    {
    }

    std::shared_ptr<ImagePyramid> pyramid;
    std::shared_ptr<Imaging::Histogram> histogram; ///< Of the lines of the present frame, or of the one before.
    std::shared_ptr<Imaging::Histogram> next;      ///< Of the present frame while the one before is shown.
    std::uint32_t frame = 0;
};

} // namespace Ardo::Kiln::Viewer
