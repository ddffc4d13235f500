#pragma once

#include "Ardo/Imaging/const_raw_image.h"
#include "Ardo/Imaging/DisplayMapping.h"
#include "Ardo/Imaging/rectangle.h"
#include "Ardo/Imaging/size_2d.h"
#include "Ardo/KilnExport.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Ardo::Imaging
{

/// The pixels that a screen shows of an image: all of them at once, a part that has changed, or line by line as a
/// detector delivers them.
///
///     DisplayBuffer buffer(image.Size(), DisplayFormat::Rgb32);
///     buffer.Update(image, DisplayMapping(image.Kind(), settings));
///     const QImage shown(buffer.Pixels(), width, height, int(buffer.Stride()), QImage::Format_RGB32); // no copy
///
/// Thread-safety: as that of a container. Lines that do not overlap may be updated by several threads at once.
class KILN_EXPORT DisplayBuffer
{
public:
    /// All pixels are black.
    /// \param size neither side is 0.
    /// \throws std::invalid_argument if \p size is empty or the number of bytes does not fit std::size_t.
    /// \throws std::bad_alloc or std::length_error if there is not enough memory.
    DisplayBuffer(size_2d size, DisplayFormat format);

    /// In pixels.
    [[nodiscard]] size_2d Size() const noexcept { return m_size; }

    /// What one pixel of the buffer is.
    [[nodiscard]] DisplayFormat Format() const noexcept { return m_format; }

    /// Bytes from one row to the next; a multiple of 4.
    [[nodiscard]] std::size_t Stride() const noexcept { return m_stride; }

    /// The first byte of the first row. It stays where it is as long as this object, also when the pixels change.
    [[nodiscard]] const std::uint8_t* Pixels() const noexcept;

    /// The first byte of row \p y, which is below the height.
    [[nodiscard]] const std::uint8_t* Row(std::uint32_t y) const noexcept { return Pixels() + m_stride * y; }

    /// Shows \p image.
    /// \throws std::invalid_argument if its size is not that of the buffer, or \p mapping is for another kind of pixels
    ///         or another format. The buffer is unchanged then.
    void Update(const const_raw_image& image, const DisplayMapping& mapping);

    /// Shows the \p part of \p image that has changed.
    /// \throws std::invalid_argument as above, or if \p part is not within the image. An empty part is nothing to do.
    void Update(const const_raw_image& image, const rectangle& part, const DisplayMapping& mapping);

    /// Shows a line, or a part of it.
    /// \param y      the row, below the height.
    /// \param pixels \p count pixels of the kind of \p mapping; aligned as their samples are. Not null if \p count is
    ///               not 0.
    /// \param x      the column of the first one; \p x + \p count is at most the width.
    /// \throws std::invalid_argument if \p mapping is for another format, or a position is outside.
    void UpdateLine(std::uint32_t y, const void* pixels, std::size_t count, const DisplayMapping& mapping,
                    std::uint32_t x = 0);

private:
    void Check(const const_raw_image& image, const DisplayMapping& mapping) const;
    std::uint8_t* At(std::uint32_t x, std::uint32_t y) noexcept;

    size_2d m_size;
    DisplayFormat m_format;
    std::size_t m_stride = 0;
    std::vector<std::uint32_t> m_pixels;
};

} // namespace Ardo::Imaging
