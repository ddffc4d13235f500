#pragma once

#include "Ardo/Imaging/PixelKind.h"
#include "Ardo/Imaging/size_2d.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <utility>

namespace Ardo::Imaging
{

/// An immutable image: its pixels, their size and their kind.
///
/// Rows run from top to bottom, the pixels of a row from left to right. A row begins Stride() bytes behind the row
/// above it.
/// Ownership: the pixels are shared. They live as long as any copy of this object, or any pointer taken with Pixels().
/// Thread-safety: any number of threads may read the same image, and any thread may copy and destroy the object.
///
///     const_raw_image image(pixels, {width, height}, PixelKind::UInt16);
///     const auto* row = static_cast<const std::uint16_t*>(image.Row(y));
class const_raw_image
{
public:
    /// \param pixels the first byte of the first row; not null. At least stride x (height - 1) + row size bytes, which
    ///        nobody may change as long as they live.
    /// \param size   in pixels; neither side is 0.
    /// \param stride bytes from one row to the next, at least the row size; 0 means the row size.
    /// \throws std::invalid_argument if \p pixels is null, a side or \p stride is out of range, or the number of bytes
    ///         does not fit std::size_t.
    const_raw_image(std::shared_ptr<const void> pixels, size_2d size, PixelKind kind, std::size_t stride = 0)
        : m_pixels(std::move(pixels)), m_size(size), m_kind(kind), m_stride(stride)
    {
        if (m_pixels == nullptr || size.width == 0 || size.height == 0)
        {
            throw std::invalid_argument("const_raw_image: no pixels");
        }
        if (m_stride == 0)
        {
            m_stride = RowSize();
        }
        if (m_stride < RowSize() || m_stride > std::numeric_limits<std::size_t>::max() / size.height)
        {
            throw std::invalid_argument("const_raw_image: stride out of range");
        }
    }

    /// In pixels; neither side is 0.
    [[nodiscard]] size_2d Size() const noexcept { return m_size; }

    /// The samples of one pixel.
    [[nodiscard]] PixelKind Kind() const noexcept { return m_kind; }

    /// Bytes from the first pixel of a row to the first pixel of the next.
    [[nodiscard]] std::size_t Stride() const noexcept { return m_stride; }

    /// Bytes of the pixels of one row, without padding.
    [[nodiscard]] std::size_t RowSize() const noexcept { return BytesPerPixel(m_kind) * m_size.width; }

    /// The first byte of row \p y, which is below the height.
    [[nodiscard]] const void* Row(std::uint32_t y) const noexcept
    {
        return static_cast<const unsigned char*>(m_pixels.get()) + m_stride * y;
    }

    /// The first byte of the first row. A copy of the pointer shares the ownership of the pixels.
    [[nodiscard]] const std::shared_ptr<const void>& Pixels() const noexcept { return m_pixels; }

private:
    std::shared_ptr<const void> m_pixels;
    size_2d m_size;
    PixelKind m_kind;
    std::size_t m_stride;
};

} // namespace Ardo::Imaging
