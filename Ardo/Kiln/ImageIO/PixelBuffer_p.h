#pragma once

#include <cstddef>

namespace Ardo::Kiln::ImageIO
{

/// Room for the pixels of an image, kept for the next image of the same size. Platform/Pages.h gives the reason why it
/// is not a vector. One thread at a time may use it.
class PixelBuffer
{
public:
    PixelBuffer() = default;
    ~PixelBuffer();
    PixelBuffer(const PixelBuffer&) = delete;
    PixelBuffer& operator=(const PixelBuffer&) = delete;

    /// Allocates \p size bytes, whose values are undefined. Never holds two buffers at once, nor a page more than is
    /// needed.
    /// \throws std::bad_alloc; the buffer is empty then.
    void Resize(std::size_t size);

    /// Null for an empty buffer; else at a multiple of 16. Valid until the size changes.
    unsigned char* Data() const noexcept { return m_data; }

    std::size_t Size() const noexcept { return m_size; }

private:
    bool IsMapped() const noexcept;

    unsigned char* m_data = nullptr;
    std::size_t m_size = 0;
};

} // namespace Ardo::Kiln::ImageIO
