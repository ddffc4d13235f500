#pragma once

#include "apps/viewer/Model/Progress.h"
#include "Ardo/Imaging/const_raw_image.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Ardo::Kiln::Viewer
{

/// An image and smaller copies of it, each of half the size of the one before, rounded up. A view that shows the whole
/// of a large image maps the copy that has about as many pixels as the screen, and so maps only what is visible. The
/// copies take a third of the memory of the image.
///
/// Thread-safety: as that of a container.
class ImagePyramid
{
public:
    /// One of the copies; level 0 is the image itself. A pixel of level n is as large as 2^n of the image.
    struct Level
    {
        Imaging::size_2d size;
        std::size_t stride = 0;            ///< Bytes from one row to the next.
        const unsigned char* pixels;       ///< The first row. Owned by the pyramid.
        std::shared_ptr<const void> owner; ///< Of the pixels.
        unsigned char* changeable;         ///< The same pixels; null if they belong to an image.

        const unsigned char* Row(std::uint32_t y) const noexcept { return pixels + stride * y; }
    };

    /// Makes the copies of \p image, whose pixels are shared.
    /// \param progress called between some rows, on this thread.
    /// \throws Cancelled, std::bad_alloc.
    explicit ImagePyramid(const Imaging::const_raw_image& image, const Progress& progress);

    /// All samples are 0; SetRows() fills them in.
    /// \throws std::bad_alloc.
    ImagePyramid(Imaging::size_2d size, Imaging::PixelKind kind);

    Imaging::PixelKind Kind() const noexcept { return m_kind; }
    Imaging::size_2d Size() const noexcept { return m_levels.front().size; }

    /// The image itself; its pixels belong to the pyramid.
    Imaging::const_raw_image Image() const;

    /// The levels, the image first. The last one has at most 256 pixels on its longer side.
    const std::vector<Level>& Levels() const noexcept { return m_levels; }

    /// The smallest level whose pixels are at most as large as a pixel of the screen.
    /// \param zoom pixels of the screen for a pixel of the image.
    std::size_t LevelFor(double zoom) const noexcept;

    /// Replaces whole rows in all levels. For a pyramid without an image only.
    /// \param y    the first row.
    /// \param rows of the same width and kind; they lie within the image.
    void SetRows(std::uint32_t y, const Imaging::const_raw_image& rows);

private:
    void AddLevels();
    void UpdateLevels(std::uint32_t begin, std::uint32_t end);

    Imaging::PixelKind m_kind;
    std::vector<Level> m_levels; ///< Never empty.
};

} // namespace Ardo::Kiln::Viewer
